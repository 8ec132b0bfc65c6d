// Lookups at positions that no caller should ask for, on tables that no writer should have made.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "support/loaded_track.h"
#include "support/log_capture.h"

using namespace kvx_test;
using KVX::QT::Track;

namespace {

constexpr long long kFarthest = std::numeric_limits<long long>::max();
constexpr long long kLowest = std::numeric_limits<long long>::min();

// Ten samples of a thousand units in two scattered chunks, with everything a track can have.
TrackRecipe FullTrack() {
    TrackRecipe track;
    track.mediaTimeScale = 24000;
    track.durations = {{6, 1000}, {4, 2000}};
    track.sizes = {10, 10, 20, 20, 30, 30, 30, 40, 40, 50};
    track.chunkRuns = {{1, 5}};
    track.chunkOffsets = {1000, 5000};
    track.displayOffsets = {{1, 0}, {1, 2000}, {2, -1000}, {6, 0}};
    track.keyFrames = {3, 7};
    track.headerDuration = 350;
    return track;
}

MovieRecipe MovieWith(const TrackRecipe& track) {
    MovieRecipe movie;
    movie.tracks = {track};
    return movie;
}

std::vector<long long> Positions(const Track& track) {
    const long long last = track.mSampleCount - 1;
    return {kLowest,   kLowest + 1,   -(1LL << 32), -2,        -1,        0,
            1,         last,          last + 1,     1LL << 31, 1LL << 32, 1LL << 53,
            1LL << 62, kFarthest - 1, kFarthest};
}

// Calls every lookup everywhere. What is held here holds for any tables at all: answers come from
// inside the tables.
void VisitEverywhere(Track& track) {
    LogCapture quiet;
    for (const long long position : Positions(track)) {
        SCOPED_TRACE("position " + std::to_string(position));
        const unsigned int size = track.GetSampleSize(position);
        EXPECT_TRUE(size == 0 ||
                    std::any_of(track.mSizeOffsets.begin(), track.mSizeOffsets.end(),
                                [&](const auto& run) { return run.second->size == size; }));
        track.GetSampleOffset(position);
        track.TrackSampleToMediaSample(position);
        track.TrackSampleToContiguousSampleCount(position);
        long long out = 0;
        track.TrackTimeToMediaTime(position, &out);
        track.TrackTimeToMediaTime(position, nullptr);
        track.MediaSampleToFileOffset(position, &out);
        track.MediaSampleToFileOffset(position, nullptr);
        track.MediaTimeToMediaSample(position, true);
        track.MediaTimeToMediaSample(position, false);
        const long long next = track.GetNextKeyFrame(position);
        const long long preceding = track.GetPrecedingKeyFrame(position);
        if (std::is_sorted(track.mKeyFrames.begin(), track.mKeyFrames.end())) {
            EXPECT_TRUE(next == -1 || next > position);
            EXPECT_TRUE(preceding == -1 || preceding <= position);
        }
        track.DecodeSampleToDisplaySample(position);
        EXPECT_GE(track.DisplaySampleToDecodeSample(position), -1);
    }
}

TEST(MappingEdge, TrackWithoutTablesAnswersNothing) {
    Track track;
    for (const long long position : Positions(track)) {
        SCOPED_TRACE(position);
        EXPECT_EQ(track.GetSampleSize(position), 0u);
        EXPECT_EQ(track.GetSampleOffset(position), 0);
        EXPECT_EQ(track.TrackSampleToMediaSample(position), 0);
        EXPECT_EQ(track.TrackSampleToContiguousSampleCount(position), 0);
        long long contiguous = 1;
        EXPECT_EQ(track.MediaSampleToFileOffset(position, &contiguous), 0);
        EXPECT_EQ(contiguous, 0);
        EXPECT_EQ(track.GetNextKeyFrame(position), -1);
        EXPECT_EQ(track.GetPrecedingKeyFrame(position), -1);
        EXPECT_EQ(track.DecodeSampleToDisplaySample(position), position);
    }
    VisitEverywhere(track);
}

TEST(MappingEdge, PositionsBeyondTheEndAreTheLastSample) {
    LoadedTrack track(MovieWith(FullTrack()));
    ASSERT_EQ(track.Status(), 0);
    for (const long long position : {14LL, 15LL, 1LL << 31, 1LL << 40}) {
        SCOPED_TRACE(position);
        EXPECT_EQ(track->TrackSampleToMediaSample(position), 9);
        EXPECT_EQ(track->GetSampleOffset(position), 5000 + 30 + 30 + 40 + 40);
        EXPECT_EQ(track->GetSampleSize(position), 50u);
    }
    VisitEverywhere(*track);
}

// A track time before the timeline is a media time before the media.
TEST(MappingEdge, NegativePositionsAreTheFirstSample) {
    LoadedTrack track(MovieWith(FullTrack()));
    ASSERT_EQ(track.Status(), 0);
    for (const long long position : {-1LL, -2LL, -(1LL << 32)}) {
        SCOPED_TRACE(position);
        EXPECT_EQ(track->TrackSampleToMediaSample(position), 0);
        EXPECT_EQ(track->GetSampleOffset(position), 1000);
        EXPECT_EQ(track->GetSampleSize(position), 10u);
        EXPECT_EQ(track->MediaTimeToMediaSample(position, true), 0);
        EXPECT_EQ(track->MediaTimeToMediaSample(position, false), 0);
    }
}

// An edit that other readers take for a gap begins one unit before the media here.
TEST(MappingEdge, EmptyEditBeginsAtTheFirstSample) {
    TrackRecipe recipe = FullTrack();
    recipe.edits = {{100, -1}, {250, 0}};
    LoadedTrack track(MovieWith(recipe));
    ASSERT_EQ(track.Status(), 0);
    EXPECT_EQ(track->TrackTimeToMediaTime(0, nullptr), -1);
    EXPECT_EQ(track->GetSampleOffset(0), 1000);
    EXPECT_EQ(track->GetSampleSize(0), 10u);
    // Track time 3000 is media time 2999.
    EXPECT_EQ(track->TrackSampleToMediaSample(3), 2);
    // The second edit begins at 100 of 600 in a second of 24000.
    EXPECT_EQ(track->TrackTimeToMediaTime(4000, nullptr), 0);
    VisitEverywhere(*track);
}

TEST(MappingEdge, NothingPrecedesTheFirstKeyFrame) {
    LoadedTrack track(MovieWith(FullTrack()));
    ASSERT_EQ(track.Status(), 0);
    EXPECT_EQ(track->GetPrecedingKeyFrame(kLowest), -1);
    EXPECT_EQ(track->GetPrecedingKeyFrame(1), -1);
    EXPECT_EQ(track->GetPrecedingKeyFrame(2), 2);
    EXPECT_EQ(track->GetPrecedingKeyFrame(kFarthest), 6);
    EXPECT_EQ(track->GetNextKeyFrame(kLowest), 2);
    EXPECT_EQ(track->GetNextKeyFrame(2), 6);
    EXPECT_EQ(track->GetNextKeyFrame(6), -1);
    EXPECT_EQ(track->GetNextKeyFrame(kFarthest), -1);
}

TEST(MappingEdge, NegativeDisplaySamplesHaveNoDecodeSample) {
    LoadedTrack track(MovieWith(FullTrack()));
    ASSERT_EQ(track.Status(), 0);
    LogCapture log;
    EXPECT_EQ(track->DisplaySampleToDecodeSample(-1), -1);
    EXPECT_EQ(
        log.Text(),
        "DisplaySampleToDecodeSample: Failed to locate decode sample for display sample -1\n");
}

TEST(MappingEdge, RunsWithoutDurationStayOnTheirFirstSample) {
    TrackRecipe recipe = FullTrack();
    recipe.durations = {{3, 1000}, {7, 0}};
    LoadedTrack late(MovieWith(recipe));
    ASSERT_EQ(late.Status(), 0);
    EXPECT_EQ(late->mSampleDuration, 0);
    EXPECT_EQ(late->MediaTimeToMediaSample(2999, false), 2);
    EXPECT_EQ(late->MediaTimeToMediaSample(3000, false), 3);
    EXPECT_EQ(late->MediaTimeToMediaSample(1LL << 40, false), 3);
    EXPECT_EQ(late->TrackSampleToMediaSample(1LL << 40), 0);
    VisitEverywhere(*late);

    recipe.durations = {{10, 0}};
    LoadedTrack all(MovieWith(recipe));
    ASSERT_EQ(all.Status(), 0);
    EXPECT_EQ(all->MediaTimeToMediaSample(5, false), 0);
    EXPECT_EQ(all->GetSampleOffset(9), 1000);
    VisitEverywhere(*all);
}

TEST(MappingEdge, ScalesOfNothingFailTheTrack) {
    MovieRecipe recipe = MovieWith(FullTrack());
    recipe.timeScale = 0;
    LogCapture log;
    EXPECT_EQ(LoadedTrack(recipe).Status(), 22);
    recipe.timeScale = 600;
    recipe.tracks[0].mediaTimeScale = 0;
    EXPECT_EQ(LoadedTrack(recipe).Status(), 22);
    recipe.tracks[0].edits = {{100, 0}};
    EXPECT_EQ(LoadedTrack(recipe).Status(), 22);
    EXPECT_NE(log.Raw(), "");
}

TEST(MappingEdge, TracksWithoutLocatedSamplesAreSafe) {
    const auto visit = [](const char* what, const TrackRecipe& recipe) {
        SCOPED_TRACE(what);
        LoadedTrack track(MovieWith(recipe));
        ASSERT_EQ(track.Status(), 0);
        EXPECT_EQ(track->GetSampleOffset(0), 0);
        EXPECT_EQ(track->GetSampleOffset(5), 0);
        VisitEverywhere(*track);
    };
    TrackRecipe noChunkRuns = FullTrack();
    noChunkRuns.chunkRuns = {};
    noChunkRuns.constantSize = 10;
    visit("no sample to chunk entry", noChunkRuns);

    TrackRecipe noChunks = FullTrack();
    noChunks.chunkOffsets = {};
    noChunks.constantSize = 10;
    visit("no chunk", noChunks);

    TrackRecipe nothing = FullTrack();
    nothing.durations = {};
    nothing.sizes = {};
    nothing.chunkRuns = {};
    nothing.chunkOffsets = {};
    nothing.displayOffsets = {};
    nothing.keyFrames = {};
    visit("no entry at all", nothing);
}

TEST(MappingEdge, TracksWithoutTimesAreSafe) {
    TrackRecipe recipe = FullTrack();
    recipe.durations = {};
    LoadedTrack track(MovieWith(recipe));
    ASSERT_EQ(track.Status(), 0);
    EXPECT_EQ(track->mSampleCount, 0);
    EXPECT_EQ(track->TrackSampleToContiguousSampleCount(0), 0);
    VisitEverywhere(*track);
}

struct HostileCase {
    const char* what;
    void (*bend)(MovieRecipe& movie, TrackRecipe& track);
};

void PrintTo(const HostileCase& test, std::ostream* out) {
    *out << test.what;
}

class MappingEdgeHostile : public testing::TestWithParam<HostileCase> {};

// Numbers at the ends of their fields. Whether such a track is refused is its tables' affair; what
// is accepted answers everywhere.
TEST_P(MappingEdgeHostile, AnswersOrIsRefused) {
    MovieRecipe recipe = MovieWith(FullTrack());
    GetParam().bend(recipe, recipe.tracks[0]);
    LogCapture log;
    LoadedTrack track(recipe);
    EXPECT_TRUE(track.Status() == 0 || track.Status() == 22) << track.Status();
    EXPECT_EQ(track.Status() != 0, !log.Raw().empty()) << log.Raw();
    VisitEverywhere(*track);
}

constexpr int64_t kHigh = 0x7FFFFFFF;
constexpr int64_t kLow = -0x7FFFFFFF - 1;

const HostileCase kHostileCases[] = {
    {"NegativeMovieScale", [](MovieRecipe& movie, TrackRecipe&) { movie.timeScale = -600; }},
    {"NegativeMediaScale", [](MovieRecipe&, TrackRecipe& track) { track.mediaTimeScale = -1; }},
    {"LowestScales",
     [](MovieRecipe& movie, TrackRecipe& track) {
         movie.timeScale = kLow;
         track.mediaTimeScale = kLow;
     }},
    {"ScaleOfMinusOne",
     [](MovieRecipe& movie, TrackRecipe& track) {
         movie.timeScale = -1;
         track.mediaTimeScale = kLow;
         track.edits = {{kLow, 0}, {kLow, 0}, {kLow, 0}};
     }},
    {"NegativeTrackDuration", [](MovieRecipe&, TrackRecipe& track) { track.headerDuration = -1; }},
    {"LongTrackDuration",
     [](MovieRecipe& movie, TrackRecipe& track) {
         movie.timeScale = 1;
         track.mediaTimeScale = kHigh;
         track.headerDuration = kHigh;
     }},
    {"LongEdits",
     [](MovieRecipe& movie, TrackRecipe& track) {
         movie.timeScale = 1;
         track.mediaTimeScale = kHigh;
         track.edits = {{kHigh, kHigh}, {kHigh, kHigh}, {kHigh, kHigh}, {kHigh, 0}};
     }},
    {"BackwardEdits",
     [](MovieRecipe&, TrackRecipe& track) {
         track.edits = {{100, 0}, {-200, 1000}, {50, 2000}, {0, 3000}};
     }},
    {"FastEdit",
     [](MovieRecipe&, TrackRecipe& track) {
         track.edits = {{kHigh, kHigh, 0xFFFFFFFF}};
     }},
    {"StandingEdit",
     [](MovieRecipe&, TrackRecipe& track) {
         track.edits = {{350, 3000, 0}};
     }},
    {"EditsOfNothing",
     [](MovieRecipe&, TrackRecipe& track) {
         track.edits = {{0, 0}, {0, -1}, {0, kLow}};
     }},
    {"NegativeSampleCounts",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{-5, 1000}};
     }},
    {"CountsThatCancel",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{10, 1000}, {-10, 1000}, {10, 1000}, {-5, 500}};
     }},
    {"NegativeDurations",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{5, -1000}, {5, 1000}};
     }},
    {"DurationOfMinusOne",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{10, -1}};
     }},
    {"LongestDurations",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{kHigh, kHigh}, {kHigh, kHigh}, {kHigh, kHigh}, {kLow, kHigh}};
     }},
    {"LowestDurations",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{kHigh, kLow}, {kHigh, kLow}, {kHigh, kLow}, {kLow, kLow}};
     }},
    {"ManySamplesOfOneUnit",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{kHigh, 1}};
     }},
    {"ChunkOffsetOfNothing", [](MovieRecipe&, TrackRecipe& track) { track.chunkOffsets = {0}; }},
    {"NegativeChunkOffset",
     [](MovieRecipe&, TrackRecipe& track) {
         track.wideChunkOffsets = true;
         track.chunkOffsets = {0x8000000000000000};
     }},
    {"FarthestChunkOffset",
     [](MovieRecipe&, TrackRecipe& track) {
         track.wideChunkOffsets = true;
         track.chunkOffsets = {0x7FFFFFFFFFFFFFFF, 0x7FFFFFFFFFFFFFFF};
     }},
    {"FarthestChunkOffsetOfOneSize",
     [](MovieRecipe&, TrackRecipe& track) {
         track.wideChunkOffsets = true;
         track.chunkOffsets = {0x7FFFFFFFFFFFFFFF, 0x7FFFFFFFFFFFFFFF};
         track.constantSize = 0xFFFFFFFF;
     }},
    {"ChunksFromNothing",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{0, 5}};
     }},
    {"ChunksFromBefore",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{kLow, 5}};
         track.constantSize = 1;
     }},
    {"ChunksBackward",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{2, 1}, {1, 1}, {2, 1}, {1, 1}};
     }},
    {"ChunksBeyondTheTable",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{1, 1}, {kHigh, 5}};
     }},
    {"ChunksOfNothing",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{1, 0}};
     }},
    {"ChunksOfLessThanNothing",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{1, kLow}};
     }},
    {"ChunksOfLessThanNothingOfOneSize",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{1, kLow}};
         track.constantSize = 0xFFFFFFFF;
     }},
    {"LongestChunks",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{1, kHigh}};
     }},
    {"LongestChunksOfOneSize",
     [](MovieRecipe&, TrackRecipe& track) {
         track.chunkRuns = {{1, kHigh}};
         track.constantSize = 0xFFFFFFFF;
     }},
    {"SizeOfNothing", [](MovieRecipe&, TrackRecipe& track) { track.sizes[4] = 0; }},
    {"LargestSizes", [](MovieRecipe&, TrackRecipe& track) { track.sizes[4] = 0xFFFFFFFF; }},
    {"FewerSizesThanSamples", [](MovieRecipe&, TrackRecipe& track) { track.sizes.resize(5); }},
    {"MoreSizesThanSamples", [](MovieRecipe&, TrackRecipe& track) { track.sizes.resize(50, 7); }},
    {"NegativeSizeCount", [](MovieRecipe&, TrackRecipe& track) { track.sizeCount = kLow; }},
    {"HighestDisplayOffsets",
     [](MovieRecipe&, TrackRecipe& track) {
         track.displayOffsets = {{5, kHigh}, {5, kLow}};
     }},
    {"HighestDisplayOffsetsOfOneUnit",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{10, 1}};
         track.displayOffsets = {{5, kHigh}, {5, kLow}};
     }},
    {"DisplayOffsetsByMinusOne",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{10, -1}};
         track.displayOffsets = {{5, kHigh}, {5, kLow}};
     }},
    {"DisplayOffsetsWithoutUnit",
     [](MovieRecipe&, TrackRecipe& track) {
         track.durations = {{10, 0}};
         track.displayOffsets = {{5, kHigh}, {5, kLow}};
     }},
    {"NegativeDisplayCounts",
     [](MovieRecipe&, TrackRecipe& track) {
         track.displayOffsets = {{-5, 1000}, {kHigh, 2000}, {kHigh, -2000}};
     }},
    {"KeyFramesBackward",
     [](MovieRecipe&, TrackRecipe& track) {
         track.keyFrames = {7, 3, 0, kLow, kHigh};
     }},
};

INSTANTIATE_TEST_SUITE_P(Tables, MappingEdgeHostile, testing::ValuesIn(kHostileCases),
                         [](const auto& info) { return info.param.what; });

}  // namespace
