// The slow tracks themselves, on examples worked out by hand.
#include "support/naive_track.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/random_recipe.h"

using namespace kvx_test;

namespace {

TrackRecipe FiveSamples(uint64_t secondChunk) {
    TrackRecipe track;
    track.durations = {{5, 10}};
    track.chunkRuns = {{1, 3}, {2, 2}};
    track.sizes = {100, 100, 50, 50, 50};
    track.chunkOffsets = {1000, secondChunk};
    return track;
}

TEST(NaiveTrack, ChunksBackToBackAreOneRun) {
    const NaiveTrack track(FiveSamples(1250), 600);
    EXPECT_EQ(track.SampleAt(3).offset, 1250);
    EXPECT_EQ(track.SampleAt(4).offset, 1300);
    EXPECT_EQ(track.SamplesToBreak(0), 5);
    EXPECT_EQ(track.SamplesToBreak(4), 1);
}

TEST(NaiveTrack, ScatteredChunksAreTwo) {
    const NaiveTrack track(FiveSamples(9000), 600);
    EXPECT_EQ(track.SampleAt(2).offset, 1200);
    EXPECT_EQ(track.SampleAt(4).offset, 9050);
    EXPECT_EQ(track.SamplesToBreak(0), 3);
    EXPECT_EQ(track.SamplesToBreak(3), 2);
    EXPECT_EQ(track.LargestSize(), 100u);
}

// Two seconds of a 24 frame movie, from two seconds into its media on.
TEST(NaiveTrack, AnEditSkipsMedia) {
    TrackRecipe recipe;
    recipe.edits = {{1200, 48000}};
    recipe.durations = {{96, 1000}};
    recipe.constantSize = 7;
    recipe.PlaceSamples(100, 96);
    const NaiveTrack track(recipe, 600);
    EXPECT_EQ(track.mTrackDuration, 48000);
    EXPECT_EQ(track.TrackSampleToMediaSample(0), 48);
    EXPECT_EQ(track.TrackSampleToMediaSample(10), 58);
    EXPECT_EQ(track.ContiguousSamples(10), 38);
    EXPECT_EQ(track.TrackSampleToMediaSample(1000), 95);
}

TEST(NaiveTrack, UnitLeavesOutWhatBeginsAtTheLastSample) {
    const auto unit = [](std::vector<SampleRun> durations) {
        TrackRecipe recipe;
        recipe.durations = std::move(durations);
        recipe.constantSize = 1;
        recipe.PlaceSamples(100, 1000);
        return NaiveTrack(recipe, 600).mSampleDuration;
    };
    EXPECT_EQ(unit({{100, 1001}, {1, 500}}), 1001);
    EXPECT_EQ(unit({{1, 500}, {100, 1001}}), 500);
    EXPECT_EQ(unit({{100, 1001}, {2, 500}}), 500);
}

TEST(NaiveTrack, ReorderingGoesBothWays) {
    TrackRecipe recipe = FiveSamples(9000);
    recipe.displayOffsets = {{1, 0}, {1, 20}, {2, -10}, {1, 0}};
    const NaiveTrack track(recipe, 600);
    EXPECT_EQ(track.DecodeToDisplay(1), 3);
    EXPECT_EQ(track.DisplayToDecode(3), 1);
    EXPECT_EQ(track.DisplayToDecode(1), 2);
    EXPECT_EQ(track.DisplayToDecode(2), 3);
}

TEST(RandomMovie, IsWellFormedAndVaried) {
    int64_t edited = 0;
    int64_t scattered = 0;
    int64_t backward = 0;
    for (uint64_t seed = 1; seed <= 500; ++seed) {
        Random random(seed);
        const TrackRecipe recipe = RandomMovie(random).tracks[0];
        const NaiveTrack track(recipe, 600);
        std::vector<NaiveTrack::Sample> samples = track.mSamples;
        scattered += samples.size() > 1 && samples.back().opensRun;
        edited += !recipe.edits.empty();
        backward += samples.front().offset > samples.back().offset;
        std::sort(samples.begin(), samples.end(),
                  [](const auto& a, const auto& b) { return a.offset < b.offset; });
        int64_t end = 1;
        for (const NaiveTrack::Sample& sample : samples) {
            ASSERT_GE(sample.offset, end) << "seed " << seed;
            end = sample.offset + static_cast<int64_t>(sample.size);
        }
    }
    EXPECT_GT(edited, 100);
    EXPECT_GT(scattered, 100);
    EXPECT_GT(backward, 50);
}

}  // namespace
