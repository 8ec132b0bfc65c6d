// Which tables a track needs, and what is refused.
#include "quicktime/sample_layout_fixture.h"

using namespace kvx_test;

namespace {

// Five samples in two chunks that lie back to back.
TrackRecipe FiveSamples() {
    TrackRecipe recipe;
    recipe.durations = {{5, 1000}};
    recipe.sizes = {100, 100, 50, 50, 50};
    recipe.chunkRuns = {{1, 3}, {2, 2}};
    recipe.chunkOffsets = {1000, 1250};
    return recipe;
}

TEST_F(SampleLayout, OfBackToBackChunksIsOneRun) {
    EXPECT_EQ(Set(FiveSamples()), 0);
    EXPECT_EQ(mTrack.mSampleCount, 5);
    EXPECT_EQ(Rows(mTrack.mChunkOffsets), Pairs({{0, 1000}}));
    EXPECT_EQ(Sizes(), std::vector<Size>({{0, 100, 1000}, {2, 50, 1200}}));
    EXPECT_EQ(mTrack.mMaxSampleSize, 100u);
    EXPECT_EQ(mTrack.mFixedSampleSize, 0u);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(SampleLayout, OfAChunkElsewhereKeepsTheSizeRun) {
    TrackRecipe recipe = FiveSamples();
    recipe.chunkOffsets[1] = 9000;
    EXPECT_EQ(Set(recipe), 0);
    EXPECT_EQ(Rows(mTrack.mChunkOffsets), Pairs({{0, 1000}, {3, 9000}}));
    EXPECT_EQ(Sizes(), std::vector<Size>({{0, 100, 1000}, {2, 50, 1200}}));
}

TEST_F(SampleLayout, CanBeSetAgain) {
    TrackRecipe recipe = FiveSamples();
    recipe.displayOffsets = {{5, 2000}};
    recipe.keyFrames = {1};
    EXPECT_EQ(Set(recipe), 0);
    recipe = FiveSamples();
    recipe.sizes = {10, 10, 10, 10, 10};
    recipe.durations = {{5, 2000}};
    EXPECT_EQ(Set(recipe), 0);
    EXPECT_EQ(Sizes(), std::vector<Size>({{0, 10, 1000}}));
    EXPECT_EQ(mTrack.mMaxSampleSize, 10u);
    EXPECT_EQ(mTrack.mSampleDuration, 2000);
    EXPECT_EQ(mTrack.mMaxDisplayOffset, 0);
    EXPECT_TRUE(mTrack.mDisplayOffsets.empty());
    EXPECT_TRUE(mTrack.mKeyFrames.empty());
}

struct LayoutFailure {
    const char* name;
    void (*change)(AtomNode& mdia);
    long status;
    const char* text;
};

void PrintTo(const LayoutFailure& test, std::ostream* out) {
    *out << test.name;
}

class SampleLayoutFails : public SampleLayout, public testing::WithParamInterface<LayoutFailure> {};

TEST_P(SampleLayoutFails, WithItsStatusAndLine) {
    TrackRecipe recipe = FiveSamples();
    recipe.displayOffsets = {{5, 0}};
    recipe.keyFrames = {1, 3};
    AtomNode trak = BuildTrak(recipe);
    GetParam().change(trak.At("mdia"));
    EXPECT_EQ(SetFromMedia(trak.At("mdia")), GetParam().status);
    EXPECT_EQ(mLog.Text(), std::string("SetSampleLayout: ") + GetParam().text);
}

const LayoutFailure kFailures[] = {
    {"NoMediaInformation", [](AtomNode& mdia) { mdia.Remove("minf"); }, 2,
     "Failed to find a media info atom\n"},
    {"NoSampleTable", [](AtomNode& mdia) { mdia.Remove("minf/stbl"); }, 2,
     "Failed to find a sample table atom\n"},
    {"NoDurations", [](AtomNode& mdia) { mdia.Remove("minf/stbl/stts"); }, 22,
     "Failed to find a time to sample number atom in track\n"},
    {"NoChunkRuns", [](AtomNode& mdia) { mdia.Remove("minf/stbl/stsc"); }, 22,
     "Failed to find a sample to chunk atom in track\n"},
    {"NoSizes", [](AtomNode& mdia) { mdia.Remove("minf/stbl/stsz"); }, 22,
     "Failed to find a sample size atom in track\n"},
    {"NoChunkOffsets", [](AtomNode& mdia) { mdia.Remove("minf/stbl/stco"); }, 22,
     "Failed to find a chunk offset atom in track\n"},
    {"NothingAtAll", [](AtomNode& mdia) { mdia.At("minf/stbl").children.clear(); }, 22,
     "Failed to find a time to sample number atom in track\n"},
    {"DurationsWithoutCount", [](AtomNode& mdia) { mdia.At("minf/stbl/stts").payload.resize(7); },
     22, "'stts' atom of 15 bytes does not hold 4 bytes at 12\n"},
    {"MoreDurationsThanHeld", [](AtomNode& mdia) { mdia.At("minf/stbl/stts").SetEntryCount(2); },
     22, "'stts' atom of 24 bytes does not hold 16 bytes at 16\n"},
    {"BillionsOfDurations",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stts").SetEntryCount(0x7FFFFFFF); }, 22,
     "'stts' atom of 24 bytes does not hold 17179869176 bytes at 16\n"},
    {"ChunkRunsWithoutCount", [](AtomNode& mdia) { mdia.At("minf/stbl/stsc").payload.resize(4); },
     22, "'stsc' atom of 12 bytes does not hold 4 bytes at 12\n"},
    {"MoreChunkRunsThanHeld", [](AtomNode& mdia) { mdia.At("minf/stbl/stsc").SetEntryCount(3); },
     22, "'stsc' atom of 40 bytes does not hold 36 bytes at 16\n"},
    {"SizesWithoutConstant", [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").payload.resize(4); },
     22, "'stsz' atom of 12 bytes does not hold 4 bytes at 12\n"},
    {"SizesWithoutCount", [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").payload.resize(8); }, 22,
     "'stsz' atom of 16 bytes does not hold 4 bytes at 16\n"},
    {"OnlySizeOutside",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").payload = big32(0) + big32(0) + big32(1); }, 22,
     "'stsz' atom of 20 bytes does not hold 4 bytes at 20\n"},
    {"FewerSizesThanChunksHold",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").payload.resize(12 + 4 * 4); }, 22,
     "'stsz' atom of 36 bytes does not hold 8 bytes at 32\n"},
    {"MoreSizesThanHeld", [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").Poke(16, big32(6)); }, 22,
     "'stsz' atom of 40 bytes does not hold 24 bytes at 20\n"},
    {"BillionsOfSizes",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").Poke(16, big32(0x7FFFFFFF)); }, 22,
     "'stsz' atom of 40 bytes does not hold 8589934588 bytes at 20\n"},
    {"BillionsOfSamplesInAChunk",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stsc").Poke(20, big32(0x7FFFFFFF)); }, 22,
     "'stsz' atom of 40 bytes does not hold 8589934588 bytes at 20\n"},
    {"ChunkOffsetsWithoutCount",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stco").payload.resize(6); }, 22,
     "'stco' atom of 14 bytes does not hold 4 bytes at 12\n"},
    {"BillionsOfChunks",
     [](AtomNode& mdia) { mdia.At("minf/stbl/stco").SetEntryCount(0x7FFFFFFF); }, 22,
     "'stco' atom of 24 bytes does not hold 4 bytes at 24\n"},
    {"ChunkOffsetOfZero", [](AtomNode& mdia) { mdia.At("minf/stbl/stco").Poke(20, big32(0)); }, 22,
     "Got invalid offset of 0\n"},
    {"ChunkBeforeTheFirst", [](AtomNode& mdia) { mdia.At("minf/stbl/stsc").Poke(16, big32(0)); },
     22, "Invalid sample to chunk table at chunk 0\n"},
    {"SizeOfZeroInTheTable", [](AtomNode& mdia) { mdia.At("minf/stbl/stsz").Poke(32, big32(0)); },
     22, "Got invalid first size of 0\n"},
    {"DisplayOffsetsWithoutCount",
     [](AtomNode& mdia) { mdia.At("minf/stbl/ctts").payload.resize(4); }, 22,
     "'ctts' atom of 12 bytes does not hold 4 bytes at 12\n"},
    {"MoreDisplayOffsetsThanHeld",
     [](AtomNode& mdia) { mdia.At("minf/stbl/ctts").SetEntryCount(2); }, 22,
     "'ctts' atom of 24 bytes does not hold 16 bytes at 16\n"},
    {"MoreKeyFramesThanHeld", [](AtomNode& mdia) { mdia.At("minf/stbl/stss").SetEntryCount(3); },
     22, "'stss' atom of 24 bytes does not hold 12 bytes at 16\n"},
};

INSTANTIATE_TEST_SUITE_P(Cases, SampleLayoutFails, testing::ValuesIn(kFailures),
                         [](const auto& test) { return test.param.name; });

}  // namespace
