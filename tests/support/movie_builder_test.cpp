#include "support/movie_builder.h"

#include <gtest/gtest.h>

using namespace kvx_test;

namespace {

TEST(AtomNode, WritesSizeTypePayloadAndChildren) {
    const AtomNode node{"abcd", "xy", {{"efgh", "z"}}};
    EXPECT_EQ(node.Serialize(),
              Bytes("\0\0\0\x13", 4) + "abcdxy" + Bytes("\0\0\0\x09", 4) + "efghz");
    EXPECT_EQ(node.Length(), 19u);
}

TEST(AtomNode, WritesExtendedSizes) {
    AtomNode node{"abcd", "xy"};
    node.form = AtomNode::SizeForm::Extended;
    EXPECT_EQ(node.Serialize(), Bytes("\0\0\0\1abcd", 8) + Bytes("\0\0\0\0\0\0\0\x12", 8) + "xy");
}

TEST(AtomNode, WrittenSizeMayLie) {
    AtomNode node{"abcd", "xy"};
    node.writtenSize = 0;
    EXPECT_EQ(node.Serialize(), Bytes("\0\0\0\0", 4) + "abcdxy");
    node.form = AtomNode::SizeForm::Extended;
    node.writtenSize = 0xFFFFFFFFFFFFFFFF;
    EXPECT_EQ(node.Serialize(), Bytes("\0\0\0\1abcd", 8) + Bytes(8, '\xFF') + "xy");
    EXPECT_EQ(node.Length(), 18u);
}

TEST(AtomNode, PathsNameTypesAndIndices) {
    AtomNode root{"moov", {}, {{"trak", "0"}, {"udta"}, {"trak", "1", {{"tkhd", "2"}}}}};
    EXPECT_EQ(root.At("trak").payload, "0");
    EXPECT_EQ(root.At("trak[1]").payload, "1");
    EXPECT_EQ(root.At("trak[1]/tkhd").payload, "2");
    EXPECT_EQ(root.Find("trak/tkhd"), nullptr);
    EXPECT_EQ(root.Find("trak[2]"), nullptr);
    EXPECT_EQ(OffsetOf(root, "trak[1]/tkhd"), 8u + 9 + 8 + 8 + 1);
    EXPECT_EQ(root.Serialize().substr(OffsetOf(root, "trak[1]/tkhd") + 4, 5), "tkhd2");
}

TEST(AtomNode, RemovesReplacesAndDuplicates) {
    AtomNode root{"moov", {}, {{"trak", "0"}, {"trak", "1"}}};
    root.Duplicate("trak");
    ASSERT_EQ(root.children.size(), 3u);
    EXPECT_EQ(root.At("trak[1]").payload, "0");
    root.Replace("trak[1]", {"skip", "s"});
    EXPECT_EQ(root.children[1].type, "skip");
    root.Remove("trak[1]");
    ASSERT_EQ(root.children.size(), 2u);
    EXPECT_EQ(root.children[1].type, "skip");
}

TEST(AtomNode, PokesFieldsByTheirOffsetInTheAtom) {
    AtomNode node{"stts", big32(0) + big32(1)};
    node.SetEntryCount(-2);
    EXPECT_EQ(node.payload, big32(0) + big32(-2));
    node.Poke(18, "ab");
    EXPECT_EQ(node.payload, big32(0) + big32(-2) + zeros(2) + "ab");
    EXPECT_EQ(node.Peek(12, 4), big32(-2));
}

TEST(AtomNode, EdgesAreWhereHeadersPayloadsAndAtomsBegin) {
    const AtomNode root{"moov", "ab", {{"free", "c"}, {"skip"}}};
    EXPECT_EQ(AtomEdges(root), (std::vector<uint64_t>{0, 8, 10, 18, 19, 27}));
}

// The offsets at which the published format puts the fields that readers need.
TEST(SampleDescriptions, VideoFieldsLieWhereTheFormatPutsThem) {
    VideoDescription video{"v210", 1920, 1080, 24, {PixelAspect(4, 3), FieldHandling(2, 14)}};
    const Bytes entry = Describe(video).Serialize();
    EXPECT_EQ(entry.substr(0, 8), big32(86 + 16 + 10) + "v210");
    EXPECT_EQ(entry.substr(32, 4), big16(1920) + big16(1080));
    EXPECT_EQ(entry.substr(82, 2), big16(24));
    EXPECT_EQ(entry.substr(86, 16), big32(16) + "pasp" + big32(4) + big32(3));
    EXPECT_EQ(entry.substr(102), big32(10) + "fiel" + "\2\16");
}

TEST(SampleDescriptions, SoundFieldsLieWhereTheFormatPutsThem) {
    const Bytes v0 = Describe(SoundDescriptionV0{"sowt", 6, 24, 0xBB800000, {}}).Serialize();
    EXPECT_EQ(v0.substr(0, 8), big32(36) + "sowt");
    EXPECT_EQ(v0.substr(16, 2), big16(0));
    EXPECT_EQ(v0.substr(24, 4), big16(6) + big16(24));
    EXPECT_EQ(v0.substr(32, 4), big32(0xBB800000));

    SoundDescriptionV1 one;
    one.samplesPerPacket = 5;
    one.bytesPerPacket = 6;
    one.bytesPerFrame = 7;
    one.extensions = {ChannelLayout(0x00790006)};
    const Bytes v1 = Describe(one).Serialize();
    EXPECT_EQ(v1.substr(16, 2), big16(1));
    EXPECT_EQ(v1.substr(36, 12), big32(5) + big32(6) + big32(7));
    EXPECT_EQ(v1.substr(56, 4), "chan");
    EXPECT_EQ(v1.substr(52 + 12, 4), big32(0x00790006));

    SoundDescriptionV2 two;
    two.rate = 96000.0;
    two.channels = 6;
    two.bits = 32;
    two.bytesPerPacket = 24;
    two.framesPerPacket = 1;
    two.extensions = {Wave({Endianness(true), ElementaryStream("xyz")})};
    const Bytes v2 = Describe(two).Serialize();
    EXPECT_EQ(v2.substr(16, 2), big16(2));
    EXPECT_EQ(v2.substr(36, 12), big32(72) + Bytes("\x40\xF7\x70\0\0\0\0\0", 8));
    EXPECT_EQ(v2.substr(48, 4), big32(6));
    EXPECT_EQ(v2.substr(56, 4), big32(32));
    EXPECT_EQ(v2.substr(64, 8), big32(24) + big32(1));
    EXPECT_EQ(v2.substr(72),
              big32(29) + "wave" + big32(10) + "enda" + big16(1) + big32(11) + "esdsxyz");
}

TEST(SampleDescriptions, TimeCodeFieldsLieWhereTheFormatPutsThem) {
    AtomNode moov = BuildMoov({600, 0, {TimeCodeTrackRecipe({1, 30000, 1001, 30, {}}, 10)}});
    const Bytes stsd = moov.At("trak/mdia/minf/stbl/stsd").Serialize();
    EXPECT_EQ(stsd.substr(12, 4), big32(1));
    EXPECT_EQ(stsd.substr(36, 13), big32(1) + big32(30000) + big32(1001) + "\x1E");
}

TEST(MovieBuilder, HeadersLieWhereTheFormatPutsThem) {
    MovieRecipe recipe;
    recipe.duration = 77;
    recipe.tracks = {VideoTrackRecipe({}, 256, 24)};
    AtomNode moov = BuildMoov(recipe);
    EXPECT_EQ(moov.At("mvhd").Length(), 108u);
    EXPECT_EQ(moov.At("mvhd").Peek(20, 8), big32(600) + big32(77));
    EXPECT_EQ(moov.At("trak/tkhd").Length(), 92u);
    EXPECT_EQ(moov.At("trak/tkhd").Peek(28, 4), big32(600));
    EXPECT_EQ(moov.At("trak/mdia/mdhd").Peek(20, 8), big32(24000) + big32(24000));
    EXPECT_EQ(moov.At("trak/mdia/hdlr").Peek(12, 8), "mhlrvide");
    EXPECT_EQ(moov.At("trak/mdia/minf/hdlr").Peek(12, 8), "dhlralis");
    EXPECT_EQ(moov.At("trak/mdia/minf/dinf/dref").Serialize(),
              big32(28) + "dref" + big32(0) + big32(1) + big32(12) + "alis" + big32(1));
    EXPECT_EQ(moov.Find("trak/edts"), nullptr);
}

TEST(MovieBuilder, TablesHoldTheRecipesNumbers) {
    TrackRecipe track;
    track.edits = {{1200, 48000}, {600, -1, 0x00020000}};
    track.durations = {{2, 1000}, {1, 500}};
    track.chunkRuns = {{1, 2}, {2, 1}};
    track.sizes = {100, 200, 300};
    track.chunkOffsets = {1000, 0x123456789};
    track.wideChunkOffsets = true;
    track.displayOffsets = {{3, -5}};
    track.keyFrames = {1, 3};
    track.dataHandler.reset();
    AtomNode trak = BuildTrak(track);
    AtomNode& table = trak.At("mdia/minf/stbl");
    const auto payload = [&](const char* type) { return table.At(type).payload; };
    EXPECT_EQ(trak.At("edts/elst").payload, big32(0) + big32(2) + big32(1200) + big32(48000) +
                                                big32(0x10000) + big32(600) + big32(-1) +
                                                big32(0x20000));
    EXPECT_EQ(payload("stts"),
              big32(0) + big32(2) + big32(2) + big32(1000) + big32(1) + big32(500));
    EXPECT_EQ(payload("stsc"), big32(0) + big32(2) + big32(1) + big32(2) + big32(1) + big32(2) +
                                   big32(1) + big32(1));
    EXPECT_EQ(payload("stsz"),
              big32(0) + big32(0) + big32(3) + big32(100) + big32(200) + big32(300));
    EXPECT_EQ(payload("co64"), big32(0) + big32(2) + big64(1000) + big64(0x123456789));
    EXPECT_EQ(payload("ctts"), big32(0) + big32(1) + big32(3) + big32(-5));
    EXPECT_EQ(payload("stss"), big32(0) + big32(2) + big32(1) + big32(3));
    EXPECT_EQ(table.Find("stco"), nullptr);
    EXPECT_EQ(trak.Find("mdia/minf/hdlr"), nullptr);
}

TEST(MovieBuilder, PlacesSamplesInChunks) {
    TrackRecipe track;
    track.durations = {{5, 1}};
    track.sizes = {1, 2, 3, 4, 5};
    EXPECT_EQ(track.PlaceSamples(100, 2, 10), 135u);
    EXPECT_EQ(track.chunkOffsets, (std::vector<uint64_t>{100, 113, 130}));
    ASSERT_EQ(track.chunkRuns.size(), 2u);
    EXPECT_EQ(track.chunkRuns[1].firstChunk, 3);
    EXPECT_EQ(track.chunkRuns[1].samplesPerChunk, 1);
}

TEST(MovieBuilder, ChangeSeesTheFinishedTree) {
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({}, 256, 1), VideoTrackRecipe({}, 256, 1)};
    recipe.change = [](AtomNode& moov) { moov.Remove("trak[1]/mdia"); };
    AtomNode moov = BuildMoov(recipe);
    EXPECT_NE(moov.Find("trak/mdia"), nullptr);
    EXPECT_EQ(moov.Find("trak[1]/mdia"), nullptr);
}

}  // namespace
