// What a report tells of sound movies, beside the recipes that they were made by.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "core/four_char_code.h"
#include "inspect/inspect.h"
#include "support/alias_records.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

using namespace kvx_test;
using KVX::Core::FourCharCode;
using kvx_inspect::FieldOrder;
using kvx_inspect::FileRange;
using kvx_inspect::Report;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;

class InspectFacts : public testing::Test {
  protected:
    Report InspectMovie(const MovieRecipe& recipe) {
        mPath = WriteMovie(mDirectory, recipe);
        return kvx_inspect::Inspect(mPath);
    }
    // What lies there in the file.
    Bytes BytesAt(const FileRange& range) const {
        std::ifstream file(mPath, std::ios::binary);
        const Bytes all((std::istreambuf_iterator<char>(file)), {});
        return all.substr(range.offset, range.length);
    }

    TempDirectory mDirectory;
    std::string mPath;
};

TEST_F(InspectFacts, OfAWholeMovie) {
    MovieRecipe recipe;
    VideoDescription video{"v210", 48, 2, 24};
    video.extensions = {PixelAspect(10, 11),
                        FieldHandling(2, 6),
                        {"colr", "nclc" + big16(6) + big16(7) + big16(8)},
                        {"clap", big32(44) + big32(1) + big32(2) + big32(1) + big32(-3) + big32(2) +
                                     big32(0) + big32(1)}};
    SoundDescriptionV1 sound;
    sound.channels = 6;
    sound.bytesPerFrame = 18;
    sound.format = "in24";
    sound.extensions = {Wave({Endianness(true)}), ChannelLayout(0x007C0006)};
    TimeCodeDescription timeCode;
    timeCode.timeScale = 30000;
    timeCode.frameDuration = 1001;
    timeCode.framesPerSecond = 30;
    timeCode.flags = 1;
    recipe.tracks = {VideoTrackRecipe(video, 256, 10),
                     SoundTrackRecipe(Describe(sound), 18, 20000, 48000, kMediaOffset + 0x1000),
                     TimeCodeTrackRecipe(timeCode, 10, kMediaOffset + 0x800)};
    TrackRecipe text = recipe.tracks[2];
    text.mediaType = "text";
    text.chunkOffsets = {kMediaOffset + 0x900};
    recipe.tracks.push_back(text);

    const Report report = InspectMovie(recipe);
    EXPECT_EQ(report.GetVerdict(), kvx_inspect::Verdict::Imports);
    ASSERT_EQ(report.tracks.size(), 4u);
    const TrackFacts& pictures = report.tracks[0];
    ASSERT_TRUE(pictures.video);
    EXPECT_EQ(pictures.kind, TrackKind::Video);
    EXPECT_EQ(pictures.format, FourCharCode("v210"));
    EXPECT_EQ(pictures.video->width, 48);
    EXPECT_EQ(pictures.video->height, 2);
    EXPECT_EQ(pictures.video->bits, 10);
    EXPECT_STREQ(pictures.video->chroma, "4:2:2");
    EXPECT_EQ(pictures.video->expectedFrameSize, 256u);
    EXPECT_EQ(pictures.video->frameCount, 10);
    EXPECT_EQ(pictures.video->fields, FieldOrder::LowerFirst);
    EXPECT_TRUE(pictures.video->fieldsFromFile);
    EXPECT_EQ(pictures.video->pixelAspectH, 10u);
    EXPECT_EQ(pictures.video->pixelAspectV, 11u);
    ASSERT_TRUE(pictures.video->colour);
    EXPECT_EQ(pictures.video->colour->primaries, 6);
    EXPECT_EQ(pictures.video->colour->transfer, 7);
    EXPECT_EQ(pictures.video->colour->matrix, 8);
    ASSERT_TRUE(pictures.video->cleanAperture);
    EXPECT_EQ(pictures.video->cleanAperture->width, 44);
    EXPECT_EQ(pictures.video->cleanAperture->horizontalOffset, -1.5);
    EXPECT_TRUE(pictures.media.isMovieItself);

    const TrackFacts& voices = report.tracks[1];
    ASSERT_TRUE(voices.sound);
    EXPECT_EQ(voices.kind, TrackKind::Sound);
    EXPECT_EQ(voices.sound->rate, 48000);
    EXPECT_EQ(voices.sound->channels, 6u);
    EXPECT_EQ(voices.sound->bits, 24u);
    EXPECT_EQ(voices.sound->sampleFormat, "s24le");
    EXPECT_EQ(voices.sound->layoutTag, 0x007C0006u);

    const TrackFacts& start = report.tracks[2];
    ASSERT_TRUE(start.timecode);
    EXPECT_TRUE(start.timecode->isDropFrame);
    EXPECT_TRUE(start.timecode->isCounted);
    EXPECT_EQ(start.timecode->framesPerSecond, 30);
    ASSERT_TRUE(start.timecode->firstFrame);
    const Bytes sample = PatternSample(2, 0, 4);
    EXPECT_EQ(big32(static_cast<int64_t>(*start.timecode->firstFrame)), sample);

    EXPECT_EQ(report.tracks[3].kind, TrackKind::Other);
    EXPECT_EQ(report.tracks[3].number, 4);
}

// Where a tool that mends a movie finds what it changes.
TEST_F(InspectFacts, PlacesInTheFile) {
    MovieRecipe recipe;
    SoundDescriptionV1 sound;
    sound.channels = 6;
    sound.bytesPerFrame = 12;
    sound.extensions = {ChannelLayout(0x00010000)};
    recipe.tracks = {VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10),
                     SoundTrackRecipe(Describe(sound), 12, 100)};
    recipe.tracks[0].dataHandler = DataHandler{"dhlr", "url "};
    const AtomNode self = {"url ", big32(1)};
    recipe.tracks[0].dataReferences = {self};
    const Report report = InspectMovie(recipe);
    const TrackFacts& pictures = report.tracks[0];
    EXPECT_EQ(BytesAt(pictures.mediaHandler.subtypeRange), "vide");
    ASSERT_TRUE(pictures.dataHandler);
    EXPECT_EQ(BytesAt(pictures.dataHandler->subtypeRange), "url ");
    ASSERT_EQ(pictures.dataReferences.size(), 1u);
    EXPECT_EQ(BytesAt(pictures.dataReferences[0].range), self.Serialize());
    EXPECT_TRUE(pictures.dataReferences[0].isSelfContained);
    EXPECT_TRUE(pictures.media.isMovieItself);
    EXPECT_EQ(BytesAt(pictures.range), BuildTrak(recipe.tracks[0], 1).Serialize());
    EXPECT_EQ(BytesAt(pictures.description), recipe.tracks[0].descriptions[0].Serialize());
    EXPECT_EQ(BytesAt(report.tracks[1].sound->layoutTagRange), big32(0x00010000));
    EXPECT_EQ(BytesAt(report.tracks[1].sound->layoutRange), ChannelLayout(0x00010000).Serialize());
}

TEST_F(InspectFacts, LastAliasDecides) {
    const std::string media = mDirectory.File("media.mov");
    WriteFile(media, Bytes(kMediaOffset + 0x2000, 'm'));
    const AtomNode elsewhere =
        AliasReference(AliasVersion3(0, AliasItems({{18, media}, {19, "/"}})));
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10)};
    recipe.tracks[0].dataReferences = {SelfReference(), elsewhere};
    const std::string path = mDirectory.File("reference.mov");
    WriteMovieFile(path, BuildMoov(recipe), {});
    const Report report = kvx_inspect::Inspect(path);
    const kvx_inspect::MediaFile& file = report.tracks[0].media;
    EXPECT_EQ(file.path, media);
    EXPECT_FALSE(file.isMovieItself);
    EXPECT_EQ(file.size, kMediaOffset + 0x2000);
    ASSERT_EQ(report.tracks[0].dataReferences.size(), 2u);
    EXPECT_EQ(report.tracks[0].dataReferences[1].path, media);
}

}  // namespace
