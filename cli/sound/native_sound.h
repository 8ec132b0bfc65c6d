#pragma once

#include <memory>
#include <vector>

#include "cli/movie/time_limit.h"
#include "cli/sound/sound_source.h"
#include "inspect/report.h"

namespace kvx_cli {

// A sound track's own values, without loss: all samples of its media in order, edits aside. What
// a WAV file does differently is converted: the byte order, the sign of 8-bit samples, the order of
// the channels of 5.1.
class NativeSound : public SoundSource {
  public:
    // Null on failure; `problem` then says why. `limit` must outlive it. `report` must contain
    // `track`, whose tables can be walked.
    static std::unique_ptr<NativeSound> Create(std::shared_ptr<const kvx_inspect::Report> report,
                                               const kvx_inspect::TrackFacts& track,
                                               TimeLimit& limit, Problem& problem);
    ~NativeSound() override;

    const WavFormat& Format() const override { return mFormat; }
    uint64_t Frames() const override { return mFrames; }
    size_t ReadBlock(std::vector<uint8_t>& block) override;
    const Problem& GetProblem() const override { return mProblem; }
    bool HasTimedOut() const override { return mHasTimedOut; }

    // Of the samples in the tables, those after the end of the file, which are not delivered.
    uint64_t MissingFrames() const { return mMissing; }

  private:
    struct Media;

    NativeSound(std::shared_ptr<Media> media, const kvx_inspect::TrackFacts& track,
                TimeLimit& limit);

    std::shared_ptr<Media> mMedia;
    TimeLimit& mLimit;
    WavFormat mFormat;
    kvx_inspect::SampleForm mForm;
    const int* mOrder = nullptr;  // of a WAV file's channels, where each is in the file's
    uint64_t mFrames = 0;
    uint64_t mMissing = 0;
    uint64_t mDone = 0;
    std::vector<uint8_t> mUnordered;
    Problem mProblem;
    bool mHasTimedOut = false;
};

// The samples at `rate` from midnight to the first of the media, by the start timecode. None
// without a timecode.
std::optional<uint64_t> NativeTimeReference(const kvx_inspect::Report& report,
                                            const kvx_inspect::TrackFacts& track);

}  // namespace kvx_cli
