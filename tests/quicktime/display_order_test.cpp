// Display offsets, key frames, and the way between decode order and display order.
#include "quicktime/sample_layout_fixture.h"

using namespace kvx_test;

namespace {

class DisplayOrder : public SampleLayout {
  protected:
    DisplayOrder() {
        mRecipe.durations = {{7, 1000}};
        mRecipe.constantSize = 10;
        mRecipe.chunkRuns = {{1, 7}};
        mRecipe.chunkOffsets = {1000};
    }

    TrackRecipe mRecipe;
};

TEST_F(DisplayOrder, WithoutOffsetsIsDecodeOrder) {
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_TRUE(mTrack.mDisplayOffsets.empty());
    EXPECT_EQ(mTrack.mMaxDisplayOffset, 0);
    EXPECT_EQ(mTrack.mMinDisplayOffset, 0);
    for (const long long sample : {0LL, 3LL, 6LL, 1000LL}) {
        EXPECT_EQ(mTrack.DecodeSampleToDisplaySample(sample), sample);
        EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(sample), sample);
    }
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(DisplayOrder, OffsetsAreKeptEntryByEntry) {
    mRecipe.displayOffsets = {{1, 1000}, {1, 3000}, {2, 3000}, {3, -2000}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(Rows(mTrack.mDisplayOffsets), Pairs({{0, 1000}, {1, 3000}, {2, 3000}, {4, -2000}}));
    EXPECT_EQ(mTrack.mMaxDisplayOffset, 3000);
    EXPECT_EQ(mTrack.mMinDisplayOffset, -2000);
}

TEST_F(DisplayOrder, BoundsIncludeZero) {
    mRecipe.displayOffsets = {{7, 2000}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mMaxDisplayOffset, 2000);
    EXPECT_EQ(mTrack.mMinDisplayOffset, 0);
    mRecipe.displayOffsets = {{7, -2000}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mMaxDisplayOffset, 0);
    EXPECT_EQ(mTrack.mMinDisplayOffset, -2000);
}

TEST_F(DisplayOrder, TableOfNoEntriesIsNone) {
    mRecipe.displayOffsets = {{7, 2000}};
    for (const int count : {0, -1}) {
        EXPECT_EQ(Set(mRecipe, [&](AtomNode& stbl) { stbl.At("ctts").SetEntryCount(count); }), 0);
        EXPECT_TRUE(mTrack.mDisplayOffsets.empty());
        EXPECT_EQ(mTrack.mMaxDisplayOffset, 0);
    }
}

// I P B B P B B: decoded in this order, displayed as I B B P B B P.
TEST_F(DisplayOrder, ReordersBothWays) {
    mRecipe.displayOffsets = {{1, 0}, {1, 2000}, {2, -1000}, {1, 2000}, {2, -1000}};
    EXPECT_EQ(Set(mRecipe), 0);
    const long long display[] = {0, 3, 1, 2, 6, 4, 5};
    for (long long decode = 0; decode < 7; ++decode) {
        EXPECT_EQ(mTrack.DecodeSampleToDisplaySample(decode), display[decode]);
        EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(display[decode]), decode);
    }
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(DisplayOrder, OffsetsCountInWholeSamples) {
    mRecipe.displayOffsets = {{1, 1999}, {1, -1999}, {5, 0}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DecodeSampleToDisplaySample(0), 1);
    EXPECT_EQ(mTrack.DecodeSampleToDisplaySample(1), 0);
}

TEST_F(DisplayOrder, FirstCandidateWins) {
    // Samples 0 and 2 are both displayed as 2.
    mRecipe.displayOffsets = {{1, 2000}, {1, 0}, {5, 0}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(2), 0);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(1), 1);
}

TEST_F(DisplayOrder, SampleThatIsNeverDisplayedIsLogged) {
    mRecipe.displayOffsets = {{7, 1000}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(0), -1);
    EXPECT_EQ(mLog.Text(),
              "DisplaySampleToDecodeSample: Failed to locate decode sample for display sample 0\n");
}

TEST_F(DisplayOrder, NegativeCandidatesDoNotMatch) {
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(-1), -1);
    mRecipe.displayOffsets = {{7, 1000}};
    EXPECT_EQ(Set(mRecipe), 0);
    // Sample -1 would be displayed as 0.
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(0), -1);
}

TEST_F(DisplayOrder, LastRunGoesOnBeyondTheEnd) {
    mRecipe.displayOffsets = {{6, 0}, {1, 1000}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DecodeSampleToDisplaySample(1000), 1001);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(1001), 1000);
}

// Four thousand million candidates, in no time.
TEST_F(DisplayOrder, WidestReorderingIsSearchedAtOnce) {
    mRecipe.durations = {{7, 1}};
    mRecipe.displayOffsets = {{3, 0x7FFFFFFF}, {3, -0x7FFFFFFF}, {1, 0}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(2 + 0x7FFFFFFFLL), 2);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(4 - 0x7FFFFFFFLL), 4);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(5), -1);
}

TEST_F(DisplayOrder, WithoutASampleDurationOffsetsCountForNothing) {
    mRecipe.durations = {{7, 0}};
    mRecipe.displayOffsets = {{7, 1000}};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.DecodeSampleToDisplaySample(3), 3);
    EXPECT_EQ(mTrack.DisplaySampleToDecodeSample(3), 3);
}

TEST_F(DisplayOrder, KeyFramesCountFromZero) {
    mRecipe.keyFrames = {1, 4, 7};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mKeyFrames, std::vector<long long>({0, 3, 6}));
}

TEST_F(DisplayOrder, KeyFramesStayInFileOrder) {
    mRecipe.keyFrames = {4, 1, 0xFFFFFFFF};
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_EQ(mTrack.mKeyFrames, std::vector<long long>({3, 0, 0xFFFFFFFE}));
}

TEST_F(DisplayOrder, KeyFramesAroundASample) {
    mRecipe.keyFrames = {2, 4, 7};
    EXPECT_EQ(Set(mRecipe), 0);
    const long long none = -1;
    const long long next[] = {1, 3, 3, 6, 6, 6, none};
    const long long preceding[] = {none, 1, 1, 3, 3, 3, 6};
    for (long long sample = 0; sample < 7; ++sample) {
        EXPECT_EQ(mTrack.GetNextKeyFrame(sample), next[sample]) << sample;
        EXPECT_EQ(mTrack.GetPrecedingKeyFrame(sample), preceding[sample]) << sample;
    }
    EXPECT_EQ(mTrack.GetNextKeyFrame(-1), 1);
    EXPECT_EQ(mTrack.GetPrecedingKeyFrame(-1), none);
    EXPECT_EQ(mTrack.GetPrecedingKeyFrame(1000), 6);
}

TEST_F(DisplayOrder, WithoutATableEverySampleIsAKeyFrame) {
    EXPECT_EQ(Set(mRecipe), 0);
    EXPECT_TRUE(mTrack.mKeyFrames.empty());
    EXPECT_EQ(mTrack.GetNextKeyFrame(0), -1);
    EXPECT_EQ(mTrack.GetPrecedingKeyFrame(3), -1);
}

}  // namespace
