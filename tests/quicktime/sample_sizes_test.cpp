// Constant and varying sample sizes.
#include "quicktime/sample_layout_fixture.h"

using namespace kvx_test;

namespace {

class SampleSizes : public SampleLayout {
  protected:
    SampleSizes() {
        mRecipe.durations = {{6, 1000}};
        mRecipe.chunkRuns = {{1, 3}};
        mRecipe.chunkOffsets = {1000, 5000};
    }
    using Rows = std::vector<Size>;

    TrackRecipe mRecipe;
};

TEST_F(SampleSizes, ConstantSizeIsOneRecord) {
    mRecipe.constantSize = 77;
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 77, 1000}}));
    EXPECT_EQ(mTrack.mFixedSampleSize, 77u);
    EXPECT_EQ(mTrack.mMaxSampleSize, 77u);
}

TEST_F(SampleSizes, ConstantSizeDoesNotNeedTheCount) {
    mRecipe.constantSize = 77;
    mRecipe.sizeCount = 0;
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 77, 1000}}));
}

TEST_F(SampleSizes, VaryingSizesAreRuns) {
    mRecipe.sizes = {10, 10, 30, 30, 20, 10};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 10, 1000}, {2, 30, 1020}, {4, 20, 5030}, {5, 10, 5050}}));
    EXPECT_EQ(mTrack.mFixedSampleSize, 0u);
    EXPECT_EQ(mTrack.mMaxSampleSize, 30u);
}

TEST_F(SampleSizes, EqualSizesInTheTableAreOneRun) {
    mRecipe.sizes = {10, 10, 10, 10, 10, 10};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 10, 1000}}));
    EXPECT_EQ(mTrack.mFixedSampleSize, 0u);
}

TEST_F(SampleSizes, OnlySampleIsAConstantSize) {
    mRecipe.durations = {{1, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    mRecipe.chunkOffsets = {1000};
    mRecipe.sizes = {55};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mFixedSampleSize, 55u);
    EXPECT_EQ(Sizes(), Rows({{0, 55, 1000}}));
}

TEST_F(SampleSizes, OnlySampleOfNoSizeIsRefused) {
    mRecipe.durations = {{1, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    mRecipe.chunkOffsets = {1000};
    mRecipe.sizes = {0};
    EXPECT_EQ(Set(mRecipe), 22);
    EXPECT_EQ(mLog.Text(), "SetSampleLayout: Got invalid first size of 0\n");
}

TEST_F(SampleSizes, LargestSizeIsUnsigned) {
    mRecipe.sizes = {10, 10, 0xFFFFFFFF, 10, 10, 10};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mMaxSampleSize, 0xFFFFFFFFu);
    EXPECT_EQ(Sizes(), Rows({{0, 10, 1000}, {2, 0xFFFFFFFF, 1020}, {3, 10, 5000}}));
}

TEST_F(SampleSizes, SizeOfTheDescriptionWinsOverTheConstant) {
    mTrack.mFixedSampleSize = 4;
    mRecipe.constantSize = 1;
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mFixedSampleSize, 4u);
    EXPECT_EQ(Sizes(), Rows({{0, 4, 1000}}));
    EXPECT_EQ(mTrack.mMaxSampleSize, 4u);
}

TEST_F(SampleSizes, SizeOfTheDescriptionWinsOverTheTable) {
    mTrack.mFixedSampleSize = 4;
    mRecipe.sizes = {10, 0, 30, 30, 20, 10};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 4, 1000}}));
    EXPECT_EQ(mTrack.mMaxSampleSize, 4u);
}

// The table is not read, so that any count will do, at once.
TEST_F(SampleSizes, SizeOfTheDescriptionNeedsNoTable) {
    mTrack.mFixedSampleSize = 4;
    mRecipe.sizeCount = 0x7FFFFFFF;
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 4, 1000}}));
}

TEST_F(SampleSizes, SizeOfTheDescriptionWithoutSamplesHasNoRecord) {
    mTrack.mFixedSampleSize = 4;
    for (const int64_t count : {0, -1}) {
        mRecipe.sizeCount = count;
        EXPECT_EQ(Set(mRecipe), 0);
        EXPECT_EQ(Sizes(), Rows());
        EXPECT_EQ(mTrack.mMaxSampleSize, 0u);
    }
}

TEST_F(SampleSizes, SampleCountDoesNotComeFromTheSizes) {
    mRecipe.durations = {{4, 1000}};
    mRecipe.sizes = {10, 10, 10, 10, 10, 10, 10, 20};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mSampleCount, 4);
    EXPECT_EQ(Sizes(), Rows({{0, 10, 1000}, {7, 20, 5040}}));
}

TEST_F(SampleSizes, WithoutChunksOffsetsBeginAtZero) {
    mRecipe.sizes = {10, 20, 20, 20, 20, 20};
    mRecipe.chunkRuns = {};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows({{0, 10, 0}, {1, 20, 10}}));
}

TEST_F(SampleSizes, EmptyTableHasNoRecords) {
    mRecipe.durations = {};
    mRecipe.chunkRuns = {};
    mRecipe.chunkOffsets = {};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Sizes(), Rows());
    EXPECT_EQ(mTrack.mMaxSampleSize, 0u);
}

}  // namespace
