// The lookups and fields of tracks with random tables against the same tracks told sample by
// sample.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/loaded_track.h"
#include "support/log_capture.h"
#include "support/naive_track.h"
#include "support/random_recipe.h"

using namespace kvx_test;
using KVX::QT::Track;

namespace {

constexpr uint64_t kMovies = 2500;

// Calls `check` with each random movie's track, as the reader has it and as told sample by sample.
void ForEachRandomTrack(
    const std::function<void(Track&, const NaiveTrack&, const TrackRecipe&, Random&)>& check) {
    for (uint64_t seed = 1; seed <= kMovies && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const MovieRecipe recipe = RandomMovie(random);
        LoadedTrack track(recipe);
        ASSERT_EQ(track.Status(), 0);
        check(*track, NaiveTrack(recipe.tracks[0], recipe.timeScale), recipe.tracks[0], random);
    }
}

// Track samples inside, at the edges and far beyond the end of the longer of timeline and media.
std::set<int64_t> Positions(const NaiveTrack& naive, Random& random) {
    std::set<int64_t> positions;
    for (int64_t sample = 0; sample <= naive.SampleCount() + 2; ++sample) {
        positions.insert(sample);
    }
    for (const NaiveTrack::Edit& edit : naive.mEdits) {
        for (int64_t around = -1; around <= 1; ++around) {
            positions.insert(std::max<int64_t>(0, edit.end / naive.mSampleDuration + around));
        }
    }
    positions.insert(random.Pick(0, 1000));
    positions.insert(random.Pick(0, 10000000));
    return positions;
}

TEST(MappingProperty, PlacesOfSamplesAgree) {
    ForEachRandomTrack(
        [](Track& track, const NaiveTrack& naive, const TrackRecipe&, Random& random) {
            for (const int64_t position : Positions(naive, random)) {
                SCOPED_TRACE("track sample " + std::to_string(position));
                const NaiveTrack::Sample& expected = naive.SampleAt(position);
                ASSERT_EQ(track.TrackSampleToMediaSample(position),
                          naive.TrackSampleToMediaSample(position));
                ASSERT_EQ(track.GetSampleSize(position), expected.size);
                ASSERT_EQ(track.GetSampleOffset(position), expected.offset);
                ASSERT_EQ(track.TrackSampleToContiguousSampleCount(position),
                          naive.ContiguousSamples(position));
            }
            for (int64_t sample = 0; sample < naive.SampleCount(); ++sample) {
                SCOPED_TRACE("media sample " + std::to_string(sample));
                long long contiguous = 0;
                const int64_t offset = naive.mSamples[static_cast<size_t>(sample)].offset;
                ASSERT_EQ(track.MediaSampleToFileOffset(sample, &contiguous), offset);
                ASSERT_EQ(contiguous, naive.SamplesToBreak(sample));
                ASSERT_EQ(track.MediaSampleToFileOffset(sample, nullptr), offset);
            }
        });
}

TEST(MappingProperty, TimesAgree) {
    ForEachRandomTrack(
        [](Track& track, const NaiveTrack& naive, const TrackRecipe&, Random& random) {
            std::set<int64_t> trackTimes = {random.Pick(0, 2 * naive.mTrackDuration + 1)};
            for (const NaiveTrack::Edit& edit : naive.mEdits) {
                trackTimes.insert({edit.start, edit.start + 1, edit.end, edit.end + 1});
                trackTimes.insert(random.Pick(edit.start, edit.end));
            }
            for (const int64_t trackTime : trackTimes) {
                SCOPED_TRACE("track time " + std::to_string(trackTime));
                long long remaining = 0;
                const int64_t mediaTime = naive.TrackTimeToMediaTime(trackTime);
                ASSERT_EQ(track.TrackTimeToMediaTime(trackTime, &remaining), mediaTime);
                ASSERT_EQ(remaining, naive.RemainingInEdit(trackTime));
                ASSERT_EQ(track.TrackTimeToMediaTime(trackTime, nullptr), mediaTime);
            }

            std::set<int64_t> mediaTimes = {random.Pick(0, 1 << 30)};
            for (const NaiveTrack::Sample& sample : naive.mSamples) {
                const int64_t end = sample.time + sample.duration;
                mediaTimes.insert({sample.time, end - 1, end, random.Pick(sample.time, end)});
            }
            for (const int64_t mediaTime : mediaTimes) {
                SCOPED_TRACE("media time " + std::to_string(mediaTime));
                const int64_t sample = naive.MediaTimeToMediaSample(mediaTime);
                ASSERT_EQ(track.MediaTimeToMediaSample(mediaTime, false), sample);
                ASSERT_EQ(track.MediaTimeToMediaSample(mediaTime, true),
                          std::min(sample, naive.SampleCount() - 1));
            }
        });
}

TEST(MappingProperty, OrdersOfSamplesAgree) {
    ForEachRandomTrack([](Track& track, const NaiveTrack& naive, const TrackRecipe&, Random&) {
        LogCapture log;
        int64_t misses = 0;
        for (int64_t sample = 0; sample <= naive.SampleCount() + 2; ++sample) {
            SCOPED_TRACE("sample " + std::to_string(sample));
            ASSERT_EQ(track.GetNextKeyFrame(sample), naive.NextKeyFrame(sample));
            ASSERT_EQ(track.GetPrecedingKeyFrame(sample), naive.PrecedingKeyFrame(sample));
            ASSERT_EQ(track.DecodeSampleToDisplaySample(sample), naive.DecodeToDisplay(sample));
            const int64_t decodeSample = naive.DisplayToDecode(sample);
            ASSERT_EQ(track.DisplaySampleToDecodeSample(sample), decodeSample);
            misses += decodeSample == -1;
        }
        const std::string text = log.Raw();
        ASSERT_EQ(std::count(text.begin(), text.end(), '\n'), misses) << text;
    });
}

TEST(MappingProperty, FieldsAgree) {
    ForEachRandomTrack(
        [](Track& track, const NaiveTrack& naive, const TrackRecipe& recipe, Random&) {
            ASSERT_EQ(track.mSampleCount, naive.SampleCount());
            ASSERT_EQ(track.mSampleDuration, naive.mSampleDuration);
            ASSERT_EQ(track.mTrackDuration, naive.mTrackDuration);
            ASSERT_EQ(track.mMaxDisplayOffset, naive.mMaxDisplayOffset);
            ASSERT_EQ(track.mMinDisplayOffset, naive.mMinDisplayOffset);
            ASSERT_EQ(track.mMaxSampleSize, naive.LargestSize());
            ASSERT_EQ(track.mKeyFrames,
                      std::vector<long long>(naive.mKeyFrames.begin(), naive.mKeyFrames.end()));
            const uint32_t onlyTableSize = recipe.sizes.size() == 1 ? recipe.sizes[0] : 0;
            ASSERT_EQ(track.mFixedSampleSize, recipe.frameSize ? *recipe.frameSize
                                              : recipe.constantSize
                                                  ? static_cast<uint32_t>(recipe.constantSize)
                                                  : onlyTableSize);
        });
}

// The tables hold runs: what keeps the memory of a long contiguous track small.
TEST(MappingProperty, TablesHoldRuns) {
    ForEachRandomTrack([](Track& track, const NaiveTrack& naive, const TrackRecipe&, Random&) {
        std::map<long long, long long> chunkRuns;
        std::map<long long, unsigned int> sizeRuns;
        for (int64_t i = 0; i < naive.SampleCount(); ++i) {
            const NaiveTrack::Sample& sample = naive.mSamples[static_cast<size_t>(i)];
            if (sample.opensRun) {
                chunkRuns[i] = sample.offset;
            }
            if (i == 0 || sample.size != naive.mSamples[static_cast<size_t>(i - 1)].size) {
                sizeRuns[i] = static_cast<unsigned int>(sample.size);
            }
        }
        ASSERT_EQ(track.mChunkOffsets, chunkRuns);
        ASSERT_EQ(track.mSizeOffsets.size(), sizeRuns.size());
        for (const auto& [first, run] : track.mSizeOffsets) {
            ASSERT_EQ(sizeRuns.count(first), 1u);
            ASSERT_EQ(run->size, sizeRuns[first]);
            ASSERT_EQ(run->offset, naive.mSamples[static_cast<size_t>(first)].offset);
        }
    });
}

}  // namespace
