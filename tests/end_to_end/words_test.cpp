// What the commands say of movies that leave them nothing to show or to write: why, in words.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "end_to_end/run_command.h"
#include "support/alias_records.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

using kvx_test::CommandRun;
using kvx_test::MovieRecipe;
using kvx_test::RunCommand;
using kvx_test::SoundTrackRecipe;
using kvx_test::TrackRecipe;
using kvx_test::VideoTrackRecipe;
using testing::EndsWith;
using testing::HasSubstr;

constexpr int kFrames = 4;
constexpr uint32_t kFrameSize = 64 * 16 * 2;

MovieRecipe MovieOf(std::vector<TrackRecipe> tracks) {
    MovieRecipe recipe;
    for (TrackRecipe& track : tracks) {
        track.headerDuration = track.mediaDuration * recipe.timeScale / track.mediaTimeScale;
        recipe.duration = std::max(recipe.duration, track.headerDuration);
    }
    recipe.tracks = std::move(tracks);
    return recipe;
}

TrackRecipe Pictures(int width, int height) {
    return VideoTrackRecipe({"2vuy", width, height, 24}, kFrameSize, kFrames);
}

class EndToEndWords : public testing::Test {
  protected:
    // What the command writes for these movies goes nowhere else.
    CommandRun Run(const std::string& command, const std::string& output = "") const {
        return RunCommand(command + " " + Movie() +
                          (output.empty() ? "" : " -o " + mFolder.File(output)) + " --quiet");
    }

    // Each of these commands ends with the words, and with 1, and leaves nothing behind.
    void ExpectOfPictures(const MovieRecipe& recipe, const std::string& words) const {
        WriteMovie(mFolder, recipe, {}, "movie.mov");
        for (const char* const command : {"frames", "frames --raw", "sheet"}) {
            const CommandRun run = Run(command, "output");
            EXPECT_EQ(run.exitCode, 1) << command;
            EXPECT_EQ(run.output, "kvx: " + Movie() + ": " + words + "\n") << command;
            EXPECT_FALSE(std::filesystem::exists(mFolder.File("output"))) << command;
        }
    }

    std::string Movie() const { return mFolder.File("movie.mov"); }

    const kvx_test::TempDirectory mFolder;
};

TEST_F(EndToEndWords, FramesWithoutPixels) {
    ExpectOfPictures(MovieOf({Pictures(0, 16)}),
                     "its frames are 0 x 16 pixels: there is nothing in them");
    ExpectOfPictures(MovieOf({Pictures(1600, 0)}),
                     "its frames are 1600 x 0 pixels: there is nothing in them");
    // A height of 2^15 is less than nothing in 16 bits.
    ExpectOfPictures(MovieOf({Pictures(1600, 0x8000)}),
                     "its frames are 1600 x -32768 pixels: there is nothing in them");
}

TEST_F(EndToEndWords, NoFrames) {
    TrackRecipe pictures = Pictures(64, 16);
    pictures.mediaDuration = 0;
    ExpectOfPictures(MovieOf({pictures}), "its video has no frames");
}

TEST_F(EndToEndWords, ReferencesUnderTheRightHandler) {
    for (const char* const flags : {"to this file", "to another"}) {
        TrackRecipe pictures = Pictures(64, 16);
        const bool isAnother = std::string(flags) == "to another";
        pictures.dataReferences = {kvx_test::UrlReference(isAnother ? "file:///x.mov" : "")};
        ExpectOfPictures(MovieOf({pictures}),
                         "not importable: its tracks name their media by a \"url \" reference, "
                         "which the importer does not follow, be it to this file or to another");
    }
}

TEST_F(EndToEndWords, SoundOfMoreChannelsThanAreDelivered) {
    for (const uint16_t channels : {uint16_t{4}, uint16_t{8}}) {
        kvx_test::SoundDescriptionV0 description;
        description.channels = channels;
        const auto frameSize = static_cast<uint32_t>(channels * description.bits / 8);
        WriteMovie(
            mFolder,
            MovieOf({Pictures(64, 16),
                     SoundTrackRecipe(kvx_test::Describe(description), frameSize, 4800, 48000,
                                      kvx_test::kMediaOffset + kFrames * kFrameSize)}),
            {}, "movie.mov");
        const std::string words =
            "its sound has a number of channels that is not delivered: only mono, stereo and 5.1 "
            "are\n";
        const CommandRun audio = Run("audio", "sound.wav");
        EXPECT_EQ(audio.exitCode, 1);
        EXPECT_EQ(audio.output, "kvx: " + Movie() + ": " + words);
        EXPECT_FALSE(std::filesystem::exists(mFolder.File("sound.wav")));
        // The pictures are there all the same, and what is missing beside them is told.
        const CommandRun sheet = Run("sheet", "sheet.png");
        EXPECT_EQ(sheet.exitCode, 1);
        EXPECT_EQ(sheet.output, "kvx: " + Movie() + ": sound 0: " + words);
        EXPECT_TRUE(std::filesystem::exists(mFolder.File("sheet.png")));
        EXPECT_EQ(Run("frames", "pictures").exitCode, 0);
        EXPECT_THAT(Run("info").output,
                    HasSubstr("it has " + std::to_string(channels) + " channels: only mono"));
    }
}

TEST_F(EndToEndWords, NoSoundAndNoTimecode) {
    WriteMovie(mFolder, MovieOf({Pictures(64, 16)}), {}, "movie.mov");
    const CommandRun audio = Run("audio", "sound.wav");
    EXPECT_EQ(audio.exitCode, 1);
    EXPECT_THAT(audio.output, EndsWith(": it has no sound\n"));
    const CommandRun timecode = Run("timecode");
    EXPECT_EQ(timecode.exitCode, 1);
    EXPECT_THAT(timecode.output, EndsWith(": the movie has no timecode\n"));
}

// A terminal obeys what it is sent, whoever chose the name.
class EndToEndWordsOfNames : public EndToEndWords {
  protected:
    // Clears the screen, rings, ends the line, and does it all again in characters of 8 bits.
    static constexpr char kName[] =
        "a\x1B[2J\x07\nkvx: b\r\x7F\xC2\x9B"
        "2J.mov";
    static constexpr char kPrinted[] = "a\\x1B[2J\\x07\\x0Akvx: b\\x0D\\x7F\\x9B2J.mov";

    // Both outputs have the name as it is printed, and no line but those that are meant.
    void ExpectPrintable(const std::string& arguments, int exitCode) const {
        const CommandRun run = RunCommand(arguments);
        EXPECT_EQ(run.exitCode, exitCode) << arguments;
        EXPECT_THAT(run.output, HasSubstr(kPrinted)) << arguments;
        EXPECT_THAT(run.output, testing::Not(HasSubstr("\nkvx: b"))) << arguments;
        EXPECT_THAT(run.output, testing::Not(HasSubstr("\xC2\x9B"))) << arguments;
        for (const char character : run.output) {
            EXPECT_TRUE(character == '\n' || (character & 0xE0) != 0) << arguments;
            EXPECT_NE(character, '\x7F') << arguments;
        }
    }

    std::string Named() const { return "'" + mFolder.File(kName) + "'"; }
};

TEST_F(EndToEndWordsOfNames, AreTheSameOfEveryCommandButWithoutControlCharacters) {
    const std::string out = " -o " + mFolder.File("out");
    WriteMovie(mFolder, MovieOf({Pictures(64, 16)}), {}, kName);
    ExpectPrintable("info " + Named(), 0);
    ExpectPrintable("check " + Named(), 0);
    ExpectPrintable("mend " + Named(), 0);
    ExpectPrintable("mend --dry-run " + Named(), 0);
    ExpectPrintable("timecode " + Named(), 1);
    ExpectPrintable("audio " + Named() + out, 1);
    ExpectPrintable("audio --native " + Named() + out, 1);
    ExpectPrintable("hash --sound " + Named(), 1);
    ExpectPrintable("hash " + Named() + " --compare " + mFolder.File("none"), 3);
    ExpectPrintable("hash -r " + mFolder.Path() + out, 0);
    ExpectPrintable("frames --range 9:10 " + Named() + out, 1);
    ExpectPrintable("frames -r " + mFolder.Path() + out, 0);
    ExpectPrintable("sheet -r " + mFolder.Path() + out, 0);
    ExpectPrintable("report " + Named() + " -o " + mFolder.File("page.html"), 0);
    ExpectPrintable("--module " + Named() + " info " + Named(), 3);
    ExpectPrintable("frames --range " + Named() + " " + Named() + out, 2);
    ExpectPrintable("check --files-from " + mFolder.File("gone") + Named(), 3);
}

TEST_F(EndToEndWordsOfNames, AreTheSameOfMoviesThatAreRefused) {
    MovieRecipe recipe = MovieOf({VideoTrackRecipe({"avc1", 64, 16, 24}, kFrameSize, kFrames)});
    WriteMovie(mFolder, recipe, {}, kName);
    ExpectPrintable("info --log " + Named(), 1);
    ExpectPrintable("check " + Named(), 1);
    ExpectPrintable("mend " + Named(), 1);
    ExpectPrintable("frames " + Named() + " -o " + mFolder.File("out"), 1);
    ExpectPrintable("report " + Named() + " -o " + mFolder.File("page.html"), 1);
}

// The path in a reference is the movie's to choose.
TEST_F(EndToEndWordsOfNames, AreTheSameOfMediaInOtherFiles) {
    MovieRecipe recipe = MovieOf({Pictures(64, 16)});
    recipe.tracks[0].dataReferences = {kvx_test::AliasReference(
        kvx_test::AliasVersion3(0, kvx_test::AliasItems({{18, mFolder.File(kName)}, {19, "/"}})))};
    WriteMovie(mFolder, recipe, {}, "movie.mov");
    ExpectPrintable("info --log " + Movie(), 1);
    ExpectPrintable("check " + Movie(), 1);
    ExpectPrintable("hash " + Movie(), 1);
    kvx_test::WriteFile(mFolder.File(kName), kvx_test::Bytes(0x20000, 'm'));
    ExpectPrintable("info " + Movie(), 0);
    ExpectPrintable("check " + Movie(), 0);
}

// Programs have them as they are.
TEST_F(EndToEndWordsOfNames, AreWholeInJson) {
    WriteMovie(mFolder, MovieOf({Pictures(64, 16)}), {}, kName);
    EXPECT_THAT(RunCommand("info --json " + Named()).output,
                HasSubstr("a\\u001b[2J\\u0007\\nkvx: b\\r\x7F\xC2\x9B"
                          "2J.mov"));
}

}  // namespace
