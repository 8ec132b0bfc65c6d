// Which frames are written, under what names, and in what other forms than a PNG file each.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "end_to_end/built_paths.h"
#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "support/png_reader.h"
#include "support/temp_directory.h"

namespace {

namespace fs = std::filesystem;
using kvx_test::CommandRun;
using kvx_test::ReadPng;
using kvx_test::RunCommand;
using testing::ElementsAre;
using testing::HasSubstr;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

class EndToEndChoices : public testing::Test {
  protected:
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(mOut)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    void Frames(const std::string& movie, const std::string& options) {
        const CommandRun run = RunCommand("frames " + movie + " -o " + mOut + " " + options);
        EXPECT_EQ(run.exitCode, 0) << run.output;
        EXPECT_EQ(run.output, "");
    }

    const kvx_test::TempDirectory mFolder;
    const std::string mOut = mFolder.File("out");
};

TEST_F(EndToEndChoices, RangesAndSteps) {
    Frames("tracks/no-sound.mov", "--range 3:,0:1");
    EXPECT_THAT(Names(), ElementsAre("000000.png", "000003.png"));
    fs::remove_all(mOut);
    Frames("tracks/no-sound.mov", "--every 3");
    EXPECT_THAT(Names(), ElementsAre("000000.png", "000003.png"));
    // A stream has them in the order of the ranges.
    const std::string all = RunCommand("frames tracks/no-sound.mov --raw -o -").output;
    const size_t size = all.size() / 4;
    EXPECT_EQ(RunCommand("frames tracks/no-sound.mov --raw -o - --range 2:4,0:1").output,
              all.substr(2 * size) + all.substr(0, size));
}

TEST_F(EndToEndChoices, TimecodesChooseAndName) {
    // From 12;34;56;58 at 59.94 frames a second.
    Frames("timecodes/59.94-drop.mov", "--timecode-names --range '12;34;56;59..12:34:57:01'");
    EXPECT_THAT(Names(), ElementsAre("12-34-56-59.png", "12-34-57-00.png"));
    Frames("timecodes/59.94-drop.mov", "--raw --range 0:1 --timecode-names");
    EXPECT_TRUE(
        std::any_of(fs::directory_iterator(mOut), fs::directory_iterator(),
                    [](const auto& entry) { return entry.path().stem() == "12-34-56-58"; }));

    const CommandRun before =
        RunCommand("frames timecodes/59.94-drop.mov --range 12:34:56:57.. -o " + mOut);
    EXPECT_EQ(before.exitCode, 1);
    EXPECT_THAT(before.output, HasSubstr("none of its frames has the timecode 12:34:56:57"));
    for (const char* options : {"--timecode-names", "--range 01:00:00:00.."}) {
        const CommandRun none = RunCommand("frames tracks/no-sound.mov -o " + mOut + " " + options);
        EXPECT_EQ(none.exitCode, 1);
        EXPECT_THAT(none.output, HasSubstr("its frames have no timecode"));
    }
}

TEST_F(EndToEndChoices, OnePictureGoesToStandardOutput) {
    const CommandRun run =
        RunCommand("frames tracks/no-sound.mov -o - --range 2:3 >" + mFolder.File("one.png"));
    EXPECT_EQ(run.exitCode, 0) << run.output;
    Frames("tracks/no-sound.mov", "");
    EXPECT_EQ(ReadFile(mFolder.File("one.png")), ReadFile(mOut + "/000002.png"));
    const CommandRun several = RunCommand("frames tracks/no-sound.mov -o - --range 2:4");
    EXPECT_EQ(several.exitCode, 2);
    EXPECT_THAT(several.output, HasSubstr("takes one picture, and there are 2"));
}

// The same pixels, whatever the effort and the threads, and never larger with more of it.
TEST_F(EndToEndChoices, CompressionAndThreadsChangeNoPixel) {
    const std::string movie = "pictures/2vuy-testsrc2-1280x720.mov";
    for (const int depth : {8, 16}) {
        kvx_test::PngContents first;
        std::uintmax_t size = 0;
        for (const char* options : {"--compression 0", "--compression 1 --threads 1",
                                    "--compression 3 --threads 3", "--compression 9"}) {
            Frames(movie, "--range 0:1 --depth " + std::to_string(depth) + " " + options);
            const std::string file = mOut + "/000000.png";
            const kvx_test::PngContents png = ReadPng(file);
            ASSERT_GT(png.width, 0);
            if (size == 0) {
                first = png;
            } else {
                EXPECT_EQ(png.samples, first.samples) << options;
                EXPECT_LE(fs::file_size(file), size) << options;
            }
            size = fs::file_size(file);
        }
    }
    EXPECT_EQ(RunCommand("frames " + movie + " -o " + mOut + " --compression 10").exitCode, 2);
    EXPECT_EQ(RunCommand("frames " + movie + " -o " + mOut + " --threads 0").exitCode, 2);
}

// What ffmpeg reads of the stream is what it decodes of the movie.
TEST_F(EndToEndChoices, Y4mIsReadAsTheMoviesOwnLevels) {
    for (const char* movie : {"tracks/no-sound.mov", "matrix/2vuy-s16be-stereo-first.mov"}) {
        const std::string stream = mFolder.File("out.y4m");
        const CommandRun run = RunCommand(std::string("frames ") + movie + " --y4m -o " + stream);
        ASSERT_EQ(run.exitCode, 0) << run.output;
        EXPECT_EQ(RunCommand(std::string("frames ") + movie + " --y4m -o -").output,
                  ReadFile(stream));
        const auto decoded = [](const std::string& path) {
            const std::string line = std::string("cd '") + kvx_test::kMediaFolder +
                                     "' && ffmpeg -v error -i '" + path +
                                     "' -map 0:v -f rawvideo -pix_fmt yuv422p10le - | md5sum";
            std::FILE* const pipe = popen(line.c_str(), "r");
            char text[33] = {};
            EXPECT_EQ(std::fread(text, 1, 32, pipe), 32u);
            pclose(pipe);
            return std::string(text);
        };
        EXPECT_EQ(decoded(stream), decoded(movie)) << movie;
    }
}

TEST_F(EndToEndChoices, Y4mTellsWhatItIs) {
    const std::string ten = RunCommand("frames tracks/no-sound.mov --y4m --range 1:2 -o -").output;
    const std::string head =
        "YUV4MPEG2 W96 H64 F25:1 Ip A1:1 C422p10 XYSCSS=422P10 XCOLORRANGE=LIMITED\nFRAME\n";
    EXPECT_EQ(ten.substr(0, head.size()), head);
    EXPECT_EQ(ten.size(), head.size() + 96 * 64 * 2 * 2);
    const std::string eight =
        RunCommand("frames matrix/2vuy-s16be-stereo-first.mov --y4m --range 1:2 -o -").output;
    EXPECT_THAT(eight, testing::StartsWith("YUV4MPEG2 W"));
    EXPECT_THAT(eight, HasSubstr(" C422 XCOLORRANGE=LIMITED\nFRAME\n"));

    const CommandRun rgb =
        RunCommand("frames matrix/r210-s16be-stereo-first.mov --y4m -o " + mFolder.File("x.y4m"));
    EXPECT_EQ(rgb.exitCode, 1);
    EXPECT_FALSE(fs::exists(mFolder.File("x.y4m")));
    EXPECT_EQ(RunCommand("frames tracks/no-sound.mov --y4m --raw -o x").exitCode, 2);
    EXPECT_EQ(RunCommand("frames tracks/no-sound.mov --y4m --depth 8 -o x").exitCode, 2);
}

TEST_F(EndToEndChoices, Y4mHasBlackInThePlacesOfMissingFrames) {
    const std::string movie = "checked/ffmpeg-cut-off.mov";  // 8 of 10 frames
    const CommandRun stopped = RunCommand("frames " + movie + " --y4m -o - 2>/dev/null");
    EXPECT_EQ(stopped.exitCode, 1);
    const CommandRun partial = RunCommand("frames " + movie + " --y4m --partial -o - 2>/dev/null");
    EXPECT_EQ(partial.exitCode, 1);
    const size_t head = partial.output.find('\n') + 1;
    const size_t frame = (partial.output.size() - head) / 10;
    EXPECT_EQ((stopped.output.size() - head) / 8, frame);
    const std::string last = partial.output.substr(head + 9 * frame);
    EXPECT_EQ(last.substr(0, 6), "FRAME\n");
    const bool isTen = partial.output.find("C422p10") < head;
    const size_t half = (frame - 6) / 2;
    EXPECT_EQ(last.substr(6, 2), isTen ? std::string("\x40\x00", 2) : "\x10\x10");
    EXPECT_EQ(last.substr(6 + half, 2), isTen ? std::string("\x00\x02", 2) : "\x80\x80");
}

}  // namespace
