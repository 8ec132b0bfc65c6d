// The sample unit, the sample count and the runs of samples of one duration.
#include "quicktime/sample_layout_fixture.h"

using namespace kvx_test;

namespace {

class SampleDurations : public SampleLayout {
  protected:
    long SetDurations(const std::vector<SampleRun>& durations) {
        TrackRecipe recipe;
        recipe.durations = durations;
        recipe.constantSize = 10;
        recipe.chunkRuns = {{1, 1000}};
        recipe.chunkOffsets = {1000};
        return Set(recipe);
    }
    using Rows = std::vector<Duration>;
};

TEST_F(SampleDurations, OneEntryIsOneRun) {
    EXPECT_EQ(SetDurations({{240, 1001}}), 0);
    EXPECT_EQ(Durations(), Rows({{0, 0, 1001}}));
    EXPECT_EQ(mTrack.mSampleDuration, 1001);
    EXPECT_EQ(mTrack.mSampleCount, 240);
}

TEST_F(SampleDurations, EqualEntriesAreNotMerged) {
    EXPECT_EQ(SetDurations({{2, 1000}, {3, 1000}}), 0);
    EXPECT_EQ(Durations(), Rows({{0, 0, 1000}, {2000, 2, 1000}}));
    EXPECT_EQ(mTrack.mSampleCount, 5);
}

TEST_F(SampleDurations, ShortLastSampleIsNotTheUnit) {
    EXPECT_EQ(SetDurations({{100, 1001}, {1, 500}}), 0);
    EXPECT_EQ(mTrack.mSampleDuration, 1001);
    EXPECT_EQ(Durations(), Rows({{0, 0, 1001}, {100100, 100, 500}}));
}

TEST_F(SampleDurations, FirstEntryAlwaysSetsTheUnit) {
    EXPECT_EQ(SetDurations({{1, 500}, {100, 1001}}), 0);
    EXPECT_EQ(mTrack.mSampleDuration, 500);
}

TEST_F(SampleDurations, ShortLastSamplesAreTheUnitIfThereAreTwo) {
    EXPECT_EQ(SetDurations({{100, 1001}, {2, 500}}), 0);
    EXPECT_EQ(mTrack.mSampleDuration, 500);
}

TEST_F(SampleDurations, LongerEntriesDoNotRaiseTheUnit) {
    EXPECT_EQ(SetDurations({{10, 1000}, {10, 2000}, {10, 1500}}), 0);
    EXPECT_EQ(mTrack.mSampleDuration, 1000);
}

TEST_F(SampleDurations, EntryOfNoSamplesIsReplacedByTheNext) {
    EXPECT_EQ(SetDurations({{2, 1000}, {0, 300}, {3, 700}}), 0);
    EXPECT_EQ(Durations(), Rows({{0, 0, 1000}, {2000, 2, 700}}));
    // It has a first sample in front of the last one all the same.
    EXPECT_EQ(mTrack.mSampleDuration, 300);
}

TEST_F(SampleDurations, EmptyTableHasNoSamples) {
    EXPECT_EQ(SetDurations({}), 0);
    EXPECT_EQ(mTrack.mSampleCount, 0);
    EXPECT_EQ(mTrack.mSampleDuration, 0);
    EXPECT_TRUE(Durations().empty());
}

TEST_F(SampleDurations, CountsAndDurationsAreSigned) {
    EXPECT_EQ(SetDurations({{10, 1000}, {-4, 500}, {1, -20}}), 0);
    EXPECT_EQ(mTrack.mSampleCount, 7);
    EXPECT_EQ(Durations(), Rows({{0, 0, 1000}, {8000, 6, -20}, {10000, 10, 500}}));
    // 500 begins at sample 10 of 7, -20 at the last one.
    EXPECT_EQ(mTrack.mSampleDuration, 1000);
}

TEST_F(SampleDurations, TimesNeedSixtyFourBits) {
    EXPECT_EQ(SetDurations({{0x7FFFFFFF, 0x7FFFFFFF}, {1, 1}}), 0);
    EXPECT_EQ(Durations(), Rows({{0, 0, 0x7FFFFFFF}, {4611686014132420609, 0x7FFFFFFF, 1}}));
    EXPECT_EQ(mTrack.mSampleCount, 0x80000000LL);
}

}  // namespace
