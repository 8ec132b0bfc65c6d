// Pictures as an editor sees them: what the importer makes of a frame beside ffmpeg's own decode.
// The two round in other places, which is worth a level or two; apart from that every pixel is the
// same, saturated colours included.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "end_to_end/module_under_test.h"
#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "support/png_reader.h"
#include "support/temp_directory.h"

namespace {

using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::CommandRun;
using kvx_test::PngContents;
using kvx_test::ReadPng;
using kvx_test::RunCommand;

constexpr int kBytesPerPixel = 4;  // B, G, R, A
constexpr int kTolerance = 2;

// Rows from the top down, without padding.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> bytes;
};

Picture FirstFrameOfTheImporter(const std::string& path) {
    Picture picture;
    kvx_hostkit::Host& host = kvx_test::ModuleUnderTest().GetHost();
    PixelBuffers buffers(host);
    kvx_hostkit::FrameCache cache(host);
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), path);
    EXPECT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::FrameSource source(clip);
    EXPECT_EQ(source.Open(), imNoErr);
    PPixHand ppix = nullptr;
    EXPECT_EQ(source.Request(0, {PrPixelFormat_BGRA_4444_8u}), aiNoError);
    EXPECT_TRUE(cache.WaitForAdditions(1, std::chrono::seconds(60)));
    EXPECT_EQ(source.Get(0, {PrPixelFormat_BGRA_4444_8u}, &ppix), aiNoError);
    if (ppix == nullptr) {
        return picture;
    }
    const PixelBufferView view = PixelBuffers::View(ppix);
    picture.width = view.width;
    picture.height = view.height;
    // The host's first row is the lowest one.
    for (int row = view.height - 1; row >= 0; --row) {
        const char* pixels = view.pixels + ptrdiff_t{row} * view.rowBytes;
        picture.bytes.insert(picture.bytes.end(), pixels,
                             pixels + ptrdiff_t{view.width} * kBytesPerPixel);
    }
    PixelBuffers::Dispose(ppix);
    return picture;
}

Picture FirstFrameOfFfmpeg(const std::string& path, int width, int height) {
    std::ifstream file(path + ".bgra", std::ios::binary);
    Picture picture{width, height, {}};
    picture.bytes.assign(std::istreambuf_iterator<char>(file), {});
    return picture;
}

Picture Flipped(const Picture& picture) {
    Picture turned = picture;
    const auto row = static_cast<ptrdiff_t>(picture.width) * kBytesPerPixel;
    for (int y = 0; y < picture.height; ++y) {
        std::copy_n(picture.bytes.begin() + y * row, row,
                    turned.bytes.begin() + (picture.height - 1 - y) * row);
    }
    return turned;
}

Picture WithRedAndBlueExchanged(Picture picture) {
    for (size_t pixel = 0; pixel < picture.bytes.size(); pixel += kBytesPerPixel) {
        std::swap(picture.bytes[pixel], picture.bytes[pixel + 2]);
    }
    return picture;
}

struct Comparison {
    int64_t different = 0;  // pixels with a component further away than the tolerance
    int worst = 0;          // levels
};

Comparison Compare(const Picture& ours, const Picture& theirs) {
    Comparison result;
    for (size_t pixel = 0; pixel < ours.bytes.size(); pixel += kBytesPerPixel) {
        int distance = 0;
        for (size_t byte = pixel; byte < pixel + kBytesPerPixel; ++byte) {
            distance = std::max(distance, std::abs(ours.bytes[byte] - theirs.bytes[byte]));
        }
        result.different += distance > kTolerance;
        result.worst = std::max(result.worst, distance);
    }
    return result;
}

class EndToEndPictures : public testing::TestWithParam<std::string> {};

TEST_P(EndToEndPictures, AreThoseThatFfmpegSees) {
    const std::string path = kvx_test::MediaPath("pictures/" + GetParam() + ".mov");
    const Picture ours = FirstFrameOfTheImporter(path);
    const Picture theirs = FirstFrameOfFfmpeg(path, ours.width, ours.height);
    ASSERT_GT(ours.bytes.size(), 0u);
    ASSERT_EQ(ours.bytes.size(), theirs.bytes.size());

    const Comparison comparison = Compare(ours, theirs);
    EXPECT_EQ(comparison.different, 0) << "pixels, the worst by " << comparison.worst << " levels";

    // The comparison can tell: it would not take a picture that is upside down, nor one with
    // its colours in each other's places.
    const int64_t many = int64_t{ours.width} * ours.height / 20;
    EXPECT_GT(Compare(Flipped(ours), theirs).different, many);
    EXPECT_GT(Compare(WithRedAndBlueExchanged(ours), theirs).different, many);
}

// What the command writes, too, at both depths.
TEST_P(EndToEndPictures, AreThoseOfTheCommand) {
    const std::string movie = "pictures/" + GetParam() + ".mov";
    const kvx_test::TempDirectory folder;
    for (const int depth : {8, 16}) {
        const CommandRun run = RunCommand("frames " + movie + " --depth " + std::to_string(depth) +
                                          " -o " + folder.Path());
        ASSERT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.output, "");
        const PngContents png = ReadPng(folder.File("000000.png"));
        const Picture theirs =
            FirstFrameOfFfmpeg(kvx_test::MediaPath(movie), png.width, png.height);
        ASSERT_EQ(png.channels, 3);
        ASSERT_EQ(png.depth, depth);
        ASSERT_GT(png.width, 0);
        ASSERT_EQ(theirs.bytes.size() / 4 * 3, png.samples.size() / static_cast<size_t>(depth / 8));
        int worst = 0;
        for (size_t sample = 0; sample < theirs.bytes.size() / 4 * 3; ++sample) {
            // R, G, B beside B, G, R, A; of 16 bits the upper byte is nearly the level of 8.
            const int ours = png.samples[sample * static_cast<size_t>(depth / 8)];
            worst = std::max(worst, std::abs(ours - theirs.bytes[sample / 3 * 4 + 2 - sample % 3]));
        }
        EXPECT_LE(worst, kTolerance) << depth << " bits";
    }
}

TEST(EndToEndPicturesShape, IsNotedInTheFile) {
    const kvx_test::TempDirectory folder;
    EXPECT_EQ(RunCommand("frames sizes/wide-pixels.mov --range 1:3 -o " + folder.Path()).exitCode,
              0);
    EXPECT_EQ(ReadPng(folder.File("000000.png")).width, 0);
    const PngContents png = ReadPng(folder.File("000002.png"));
    EXPECT_EQ(png.width, 720);
    EXPECT_EQ(png.height, 576);
    ASSERT_TRUE(png.hasAspect);
    EXPECT_EQ(png.pixelsAcross * 16, png.pixelsDown * 15);
}

TEST(EndToEndPicturesFiles, AreThoseOfTheRangeInOrder) {
    const kvx_test::TempDirectory folder;
    const CommandRun run =
        RunCommand("frames tracks/long-sound.mov --range 20:23 -o " + folder.Path());
    EXPECT_EQ(run.exitCode, 0) << run.output;
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        names.insert(entry.path().filename().string());
    }
    EXPECT_EQ(names, (std::set<std::string>{"000020.png", "000021.png", "000022.png"}));
}

// The name of the second picture leads to a device without room: the first one stays.
TEST(EndToEndPicturesFiles, TellThatThereIsNoRoom) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    const kvx_test::TempDirectory folder;
    std::filesystem::create_symlink("/dev/full", folder.File("000001.png"));
    const CommandRun run = RunCommand("frames tracks/no-sound.mov -o " + folder.Path());
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.output, "kvx: tracks/no-sound.mov: cannot write " + folder.File("000001.png") +
                              ": No space left on device\n");
    EXPECT_EQ(ReadPng(folder.File("000000.png")).width, 96);
    EXPECT_FALSE(std::filesystem::exists(folder.File("000002.png")));
}

TEST(EndToEndPicturesFiles, CannotGoWhereNobodyMayWrite) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "the superuser may write everywhere";
    }
    const kvx_test::TempDirectory folder;
    std::filesystem::permissions(
        folder.Path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const CommandRun run = RunCommand("frames tracks/no-sound.mov -o " + folder.Path());
    std::filesystem::permissions(folder.Path(), std::filesystem::perms::owner_all);
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.output, "kvx: tracks/no-sound.mov: cannot write " + folder.File("000000.png") +
                              ": Permission denied\n");
}

TEST(EndToEndPicturesSheet, HasRoomForThePicturesAndTheSound) {
    const kvx_test::TempDirectory folder;
    const std::string sheet = folder.File("sheet.png");
    for (const char* movie :
         {"tracks/three-sounds.mov", "tracks/no-sound.mov", "tracks/timecode.mov",
          "sizes/wide-pixels.mov", "matrix/r210-u8-5.1-last.mov"}) {
        const CommandRun run = RunCommand(std::string("sheet ") + movie +
                                          " --columns 2 --rows 2 --width 800 -o " + sheet);
        EXPECT_EQ(run.exitCode, 0) << movie;
        EXPECT_EQ(run.output, "") << movie;
        EXPECT_EQ(ReadPng(sheet).width, 800) << movie;
        std::filesystem::remove(sheet);
    }
    // A disk without room leaves no half of a sheet, nor takes the device away.
    if (std::filesystem::exists("/dev/full")) {
        const CommandRun full = RunCommand("sheet tracks/no-sound.mov -o /dev/full");
        EXPECT_EQ(full.exitCode, 3);
        EXPECT_EQ(full.output,
                  "kvx: tracks/no-sound.mov: cannot write /dev/full: No space left on device\n");
        EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    }
    const CommandRun onto =
        RunCommand("sheet tracks/no-sound.mov -o ./tracks/../tracks/no-sound.mov");
    EXPECT_EQ(onto.exitCode, 2);
    EXPECT_EQ(RunCommand("sheet refused/no-video.mov -o " + sheet).exitCode, 1);
    EXPECT_EQ(RunCommand("sheet tracks/no-sound.mov -o " + folder.File("none/sheet.png")).exitCode,
              3);
}

// Every frame of the sheet shows what is in the movie: stripes of full colours, side by side.
TEST(EndToEndPicturesSheet, ShowsAPictureInEveryCell) {
    const kvx_test::TempDirectory folder;
    const std::string sheet = folder.File("sheet.png");
    ASSERT_EQ(RunCommand("sheet tracks/no-sound.mov --columns 2 --rows 2 --width 800 -o " + sheet)
                  .exitCode,
              0);
    const PngContents png = ReadPng(sheet);
    ASSERT_EQ(png.width, 800);
    const auto saturated = [&png](int left, int right, int top, int bottom) {
        std::set<int> colours;
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const uint8_t* const pixel =
                    &png.samples[(static_cast<size_t>(y) * 800 + static_cast<size_t>(x)) * 3];
                int colour = 0;
                for (int component = 0; component < 3; ++component) {
                    colour |= (pixel[component] > 200 ? 1 : 0) << component;
                }
                colours.insert(colour);
            }
        }
        return colours.size();
    };
    const int middle = (96 + png.height) / 2;  // below the title the cells take equal parts
    for (const int left : {32, 408}) {
        EXPECT_GE(saturated(left, left + 360, 104, middle - 24), 6u);
        EXPECT_GE(saturated(left, left + 360, middle + 24, png.height - 48), 6u);
    }
    EXPECT_EQ(saturated(0, 32, 0, png.height), 1u);
}

std::vector<std::string> Movies() {
    std::vector<std::string> names;
    for (const char* codec : {"v210", "2vuy", "r210"}) {
        for (const char* pattern : {"testsrc2", "smptehdbars", "gradients"}) {
            for (const char* size : {"720x486", "1920x1080"}) {
                names.push_back(std::string(codec) + "-" + pattern + "-" + size);
            }
        }
        names.push_back(std::string(codec) + "-testsrc2-1280x720");
        names.push_back(std::string(codec) + "-testsrc2-3840x2160");
    }
    for (const char* codec : {"v210", "2vuy"}) {
        names.push_back(std::string("gstreamer-") + codec);
        names.push_back(std::string("libquicktime-") + codec);
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndPictures, testing::ValuesIn(Movies()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
