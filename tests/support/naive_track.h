#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "support/movie_builder.h"

namespace kvx_test {

// A track told sample by sample, with every question answered by walking through the list. Slow and
// simple on purpose: what the run-length tables of the reader are measured against. Made from the
// recipe's numbers alone; nothing of it comes from the reader.
class NaiveTrack {
  public:
    struct Sample {
        int64_t time = 0;
        int64_t duration = 0;
        uint64_t size = 0;
        int64_t offset = 0;
        bool opensRun = false;  // does not begin where the sample before ends
        int64_t displayOffset = 0;
    };

    struct Edit {
        int64_t start = 0;  // track time
        int64_t end = 0;
        int64_t mediaTime = 0;
        double rate = 1.0;
    };

    // The recipe's track must be well formed.
    NaiveTrack(const TrackRecipe& recipe, int64_t movieTimeScale);

    int64_t SampleCount() const { return static_cast<int64_t>(mSamples.size()); }
    uint64_t LargestSize() const;

    // The lookups. Track samples, track times, media times and media samples are not negative
    // unless it is said.
    int64_t TrackTimeToMediaTime(int64_t trackTime) const;
    int64_t RemainingInEdit(int64_t trackTime) const;
    // Negative media times lie in the first sample.
    int64_t MediaTimeToMediaSample(int64_t mediaTime) const;
    int64_t TrackSampleToMediaSample(int64_t trackSample) const;
    const Sample& SampleAt(int64_t trackSample) const;
    int64_t SamplesToBreak(int64_t mediaSample) const;
    int64_t ContiguousSamples(int64_t trackSample) const;
    int64_t NextKeyFrame(int64_t mediaSample) const;
    int64_t PrecedingKeyFrame(int64_t mediaSample) const;
    int64_t DecodeToDisplay(int64_t decodeSample) const;
    int64_t DisplayToDecode(int64_t displaySample) const;

    std::vector<Sample> mSamples;
    std::vector<Edit> mEdits;
    std::vector<int64_t> mKeyFrames;  // from 0
    bool mReorders = false;           // has display offsets at all
    int64_t mSampleDuration = 0;
    int64_t mTrackDuration = 0;
    int64_t mMaxDisplayOffset = 0;
    int64_t mMinDisplayOffset = 0;

  private:
    void ExpandTimes(const TrackRecipe& recipe);
    void ExpandPlaces(const TrackRecipe& recipe);
    void ExpandDisplayOffsets(const TrackRecipe& recipe);
    void ExpandEdits(const TrackRecipe& recipe, int64_t movieTimeScale);
    const Edit& EditAt(int64_t trackTime) const;

    // What holds after the last sample, where the last run goes on without end.
    int64_t mDurationBehindEnd = 0;
    int64_t mDisplayOffsetBehindEnd = 0;
};

}  // namespace kvx_test
