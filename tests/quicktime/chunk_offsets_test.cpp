// Chunks that lie back to back become one run.
#include "quicktime/sample_layout_fixture.h"

using namespace kvx_test;

namespace {

class ChunkOffsets : public SampleLayout {
  protected:
    ChunkOffsets() {
        mRecipe.durations = {{100, 1000}};
        mRecipe.constantSize = 10;
    }

    Pairs Runs() {
        EXPECT_EQ(Set(mRecipe), 0);
        EXPECT_EQ(mLog.Raw(), "");
        return Rows(mTrack.mChunkOffsets);
    }

    TrackRecipe mRecipe;
};

TEST_F(ChunkOffsets, OneRunOfManyChunks) {
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {1000, 1050, 1100, 1150};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}}));
}

TEST_F(ChunkOffsets, EveryGapBeginsARun) {
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {1000, 1051, 1101, 900};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}, {5, 1051}, {15, 900}}));
}

TEST_F(ChunkOffsets, ChunksOfDifferentLengths) {
    mRecipe.chunkRuns = {{1, 5}, {3, 2}, {4, 7}};
    mRecipe.chunkOffsets = {1000, 1050, 1100, 1120, 1190};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}}));
    mRecipe.chunkOffsets = {1000, 1050, 1100, 2000, 2070};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}, {12, 2000}}));
}

TEST_F(ChunkOffsets, LastEntryReachesToTheLastChunk) {
    mRecipe.chunkRuns = {{1, 1}, {2, 3}};
    mRecipe.chunkOffsets = {100, 200, 300, 400};
    EXPECT_EQ(Runs(), Pairs({{0, 100}, {1, 200}, {4, 300}, {7, 400}}));
}

TEST_F(ChunkOffsets, TableBeginsAtItsFirstChunk) {
    mRecipe.chunkRuns = {{3, 2}};
    mRecipe.chunkOffsets = {100, 200, 300, 400};
    EXPECT_EQ(Runs(), Pairs({{0, 300}, {2, 400}}));
}

TEST_F(ChunkOffsets, EntryThatIsNeverReachedDoesNotEndTheOneBefore) {
    mRecipe.chunkRuns = {{1, 2}, {9, 5}};
    mRecipe.chunkOffsets = {100, 200, 300};
    EXPECT_EQ(Runs(), Pairs({{0, 100}, {2, 200}, {4, 300}}));
}

TEST_F(ChunkOffsets, EntriesOutOfOrderRunToTheEndOfTheTable) {
    mRecipe.chunkRuns = {{2, 1}, {1, 2}};
    mRecipe.chunkOffsets = {100, 200, 300};
    EXPECT_EQ(Runs(), Pairs({{0, 200}, {1, 300}, {2, 100}, {4, 200}, {6, 300}}));
}

TEST_F(ChunkOffsets, TableThatGoesOverItsChunksAgainAndAgainIsRefused) {
    mRecipe.chunkRuns = {{2, 1}, {1, 1}, {2, 1}, {1, 1}, {2, 1}, {1, 1}, {2, 1}, {1, 1}};
    mRecipe.chunkOffsets = {100, 200, 300};
    EXPECT_EQ(Set(mRecipe), 22);
    EXPECT_EQ(mLog.Text(), "SetSampleLayout: Invalid sample to chunk table at chunk 2\n");
}

// A thousand million visits, if they were made.
TEST_F(ChunkOffsets, LoopsAreRefusedEarly) {
    for (int i = 0; i < 100000; ++i) {
        mRecipe.chunkRuns.push_back({i % 2 == 0 ? 2 : 1, 1});
    }
    for (uint64_t i = 0; i < 20000; ++i) {
        mRecipe.chunkOffsets.push_back(1000 * (i + 1));
    }
    EXPECT_EQ(Set(mRecipe), 22);
    EXPECT_LE(mTrack.mChunkOffsets.size(), 40000u);
}

TEST_F(ChunkOffsets, DescriptionIndexIsNotRead) {
    mRecipe.chunkRuns = {{1, 5, 1}, {2, 5, 99}};
    mRecipe.chunkOffsets = {1000, 1050};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}}));
}

TEST_F(ChunkOffsets, EmptyTablesLocateNothing) {
    mRecipe.chunkRuns = {};
    mRecipe.chunkOffsets = {1000};
    EXPECT_EQ(Runs(), Pairs());
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {};
    EXPECT_EQ(Runs(), Pairs());
}

TEST_F(ChunkOffsets, ChunkCountIsTheChunkTables) {
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {1000, 2000, 3000};
    EXPECT_EQ(Set(mRecipe, [](AtomNode& stbl) { stbl.At("stco").SetEntryCount(2); }), 0);
    EXPECT_EQ(Rows(mTrack.mChunkOffsets), Pairs({{0, 1000}, {5, 2000}}));
    EXPECT_EQ(Set(mRecipe, [](AtomNode& stbl) { stbl.At("stco").SetEntryCount(-1); }), 0);
    EXPECT_EQ(Rows(mTrack.mChunkOffsets), Pairs());
}

TEST_F(ChunkOffsets, OffsetsOfThirtyTwoBitsAreUnsigned) {
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {0xFFFFFFF0};
    EXPECT_EQ(Runs(), Pairs({{0, 0xFFFFFFF0}}));
}

TEST_F(ChunkOffsets, OffsetsOfSixtyFourBits) {
    mRecipe.wideChunkOffsets = true;
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {0x123456789ABC, 0x123456789ABC + 50, 0x7FFFFFFFFFFFFFFF};
    EXPECT_EQ(Runs(), Pairs({{0, 0x123456789ABC}, {10, 0x7FFFFFFFFFFFFFFF}}));
}

TEST_F(ChunkOffsets, OffsetsBeyondSixtyThreeBitsAreRefused) {
    mRecipe.wideChunkOffsets = true;
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {1000, 0xFFFFFFFFFFFFFFFE};
    EXPECT_EQ(Set(mRecipe), 22);
    EXPECT_EQ(mLog.Text(), "SetSampleLayout: Got invalid offset of -2\n");
}

TEST_F(ChunkOffsets, WideOffsetOfZeroIsRefused) {
    mRecipe.wideChunkOffsets = true;
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {0};
    EXPECT_EQ(Set(mRecipe), 22);
    EXPECT_EQ(mLog.Text(), "SetSampleLayout: Got invalid offset of 0\n");
}

TEST_F(ChunkOffsets, ShortTableWinsOverTheWideOne) {
    mRecipe.chunkRuns = {{1, 5}};
    mRecipe.chunkOffsets = {1000};
    for (const bool wideFirst : {false, true}) {
        EXPECT_EQ(Set(mRecipe,
                      [&](AtomNode& stbl) {
                          auto& tables = stbl.children;
                          tables.insert(wideFirst ? tables.begin() : tables.end(),
                                        {"co64", big32(0) + big32(1) + big64(7777)});
                      }),
                  0);
        EXPECT_EQ(Rows(mTrack.mChunkOffsets), Pairs({{0, 1000}}));
    }
}

TEST_F(ChunkOffsets, ChunksOfNoSamplesTakeTheKeyOver) {
    mRecipe.chunkRuns = {{1, 0}, {3, 5}};
    mRecipe.chunkOffsets = {100, 200, 300, 350};
    EXPECT_EQ(Runs(), Pairs({{0, 300}}));
}

TEST_F(ChunkOffsets, NegativeSamplesPerChunkOfVaryingSizesCountAsNone) {
    mRecipe.constantSize = 0;
    mRecipe.sizes = {10, 20, 30};
    mRecipe.chunkRuns = {{1, -1}, {2, 3}};
    mRecipe.chunkOffsets = {100, 100, 200};
    mRecipe.sizes = {10, 20, 30, 1, 2, 3};
    EXPECT_EQ(Runs(), Pairs({{0, 100}, {3, 200}}));
}

TEST_F(ChunkOffsets, NegativeSamplesPerChunkOfOneSizeGoBackwards) {
    mRecipe.chunkRuns = {{1, 5}, {2, -2}, {3, 1}};
    mRecipe.chunkOffsets = {100, 200, 300};
    EXPECT_EQ(Runs(), Pairs({{0, 100}, {3, 300}, {5, 200}}));
}

TEST_F(ChunkOffsets, BytesOfAChunkAreThirtyTwoBits) {
    // 3 x 0x80000000 is 0x180000000, of which 0x80000000 counts.
    mRecipe.constantSize = 0x80000000;
    mRecipe.wideChunkOffsets = true;
    mRecipe.chunkRuns = {{1, 3}};
    mRecipe.chunkOffsets = {1000, 1000 + 0x80000000LL, 1000 + 0x200000000LL};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}, {6, 1000 + 0x200000000LL}}));
}

TEST_F(ChunkOffsets, BytesOfVaryingSamplesAreNotLimited) {
    mRecipe.constantSize = 0;
    mRecipe.sizes = {0x80000000, 0x80000001, 5, 5};
    mRecipe.wideChunkOffsets = true;
    mRecipe.chunkRuns = {{1, 2}};
    mRecipe.chunkOffsets = {1000, 1000 + 0x100000001LL};
    EXPECT_EQ(Runs(), Pairs({{0, 1000}}));
}

}  // namespace
