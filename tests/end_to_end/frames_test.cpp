// Frames of real movies, byte for byte as they lie in the file, by every road that they can take.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "end_to_end/module_under_test.h"
#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/sanitizers.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferSettings;
using kvx_hostkit::PixelBufferView;
using kvx_test::CommandRun;
using kvx_test::Packet;
using kvx_test::ReadRealMovie;
using kvx_test::RealMovie;
using kvx_test::RunCommand;
using kvx_test::VideoFacts;

constexpr std::chrono::seconds kPatience(60);

std::string ReadPacket(const std::string& path, const Packet& packet) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(static_cast<size_t>(packet.size), '\0');
    file.seekg(packet.offset);
    file.read(bytes.data(), packet.size);
    EXPECT_TRUE(file.good());
    return bytes;
}

// By ffprobe's positions: what is shown, in order.
std::vector<std::string> FramesByFfprobe(const RealMovie& movie) {
    std::vector<std::string> frames;
    for (const Packet& packet : movie.videos.at(0).packets) {
        if (packet.time >= 0) {
            frames.push_back(ReadPacket(movie.path, packet));
        }
    }
    return frames;
}

std::vector<PrPixelFormat> SameLayouts(const std::string& fileFormat) {
    if (fileFormat == "v210") {
        return {PrPixelFormat_V210_422_10u_601, PrPixelFormat_V210_422_10u_709};
    }
    if (fileFormat == "2vuy") {
        return {PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709};
    }
    return {};
}

bool IsFresh(const char* bytes, size_t size) {
    return std::all_of(bytes, bytes + size, [](char byte) {
        return static_cast<uint8_t>(byte) == kvx_hostkit::kFreshPixel;
    });
}

// Rows of the file's length, and nothing written between and after them.
void ExpectRows(const PixelBufferView& view, const PixelBufferSettings& settings,
                const std::string& frame) {
    const size_t tight = frame.size() / static_cast<size_t>(view.height);
    const auto rowBytes = static_cast<size_t>(view.rowBytes);
    ASSERT_GE(rowBytes, tight);
    for (size_t row = 0; row < static_cast<size_t>(view.height); ++row) {
        const char* pixels = view.pixels + row * rowBytes;
        ASSERT_EQ(std::memcmp(pixels, frame.data() + row * tight, tight), 0) << "row " << row;
        ASSERT_TRUE(IsFresh(pixels + tight, rowBytes - tight)) << "padding of row " << row;
    }
    EXPECT_TRUE(IsFresh(view.pixels + view.dataSize, settings.slackBytes));
}

// By the header's fields, 32 bits each: source format, row bytes, place of the data, its length,
// and where in it the frame begins.
void ExpectCustom(const PixelBufferView& view, const VideoFacts& facts, const std::string& frame) {
    uint32_t header[5];
    std::memcpy(header, view.pixels, sizeof(header));
    std::string format;
    for (const int shift : {24, 16, 8, 0}) {
        format += static_cast<char>(header[0] >> shift);
    }
    EXPECT_EQ(format, facts.format);
    EXPECT_EQ(header[1] * static_cast<size_t>(facts.height), frame.size());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(view.pixels + header[2]) % 4096, 0u);
    ASSERT_LE(header[2] + header[3], view.dataSize);
    ASSERT_LE(header[4] + frame.size(), header[3]);
    EXPECT_EQ(std::memcmp(view.pixels + header[2] + header[4], frame.data(), frame.size()), 0);
}

class EndToEndFrames : public testing::TestWithParam<std::string> {
  protected:
    EndToEndFrames() : mMovie(ReadRealMovie(GetParam())), mFrames(FramesByFfprobe(mMovie)) {}

    // Asks for all frames at once, and then looks at each.
    void ExpectFrames(const PixelBufferSettings& settings, PrPixelFormat format) {
        kvx_hostkit::Host& host = kvx_test::ModuleUnderTest().GetHost();
        PixelBuffers buffers(host, settings);
        {
            FrameCache cache(host);
            Clip clip(kvx_test::ModuleUnderTest(), mMovie.path);
            ASSERT_EQ(clip.Open(), imNoErr);
            FrameSource source(clip);
            ASSERT_EQ(source.Open(), imNoErr);
            const int64_t ticks = FrameSource::TicksPerFrame(clip);
            const auto count = static_cast<int>(mFrames.size());
            for (int frame = 0; frame < count; ++frame) {
                ASSERT_EQ(source.Request(frame * ticks, {format}), aiNoError);
            }
            ASSERT_TRUE(cache.WaitForAdditions(count, kPatience));
            for (int frame = 0; frame < count; ++frame) {
                SCOPED_TRACE("frame " + std::to_string(frame));
                PPixHand ppix = nullptr;
                ASSERT_EQ(source.Get(frame * ticks, {format}, &ppix), aiNoError);
                const PixelBufferView view = PixelBuffers::View(ppix);
                const std::string& expected = mFrames[static_cast<size_t>(frame)];
                if (format == kKVXCustomPixelFormat) {
                    ExpectCustom(view, mMovie.videos[0], expected);
                } else {
                    ExpectRows(view, settings, expected);
                }
                PixelBuffers::Dispose(ppix);
            }
        }
        // The frames' own holds go a moment after the cache has got its.
        const auto limit = std::chrono::steady_clock::now() + kPatience;
        while (buffers.LiveCount() != 0 && std::chrono::steady_clock::now() < limit) {
            std::this_thread::yield();
        }
        EXPECT_EQ(buffers.LiveCount(), 0);
        EXPECT_EQ(buffers.DamagedCount(), 0);
    }

    const RealMovie mMovie;
    const std::vector<std::string> mFrames;
};

TEST_P(EndToEndFrames, AreTheFilesBytesByEveryRoad) {
    ASSERT_FALSE(mFrames.empty());
    PixelBufferSettings tight;
    PixelBufferSettings besidePages;
    besidePages.misalignment = 16;
    PixelBufferSettings padded;
    padded.extraRowBytes = 48;
    for (const PrPixelFormat format : SameLayouts(mMovie.videos[0].format)) {
        for (const PixelBufferSettings& settings : {tight, besidePages, padded}) {
            ExpectFrames(settings, format);
        }
    }
    ExpectFrames(tight, kKVXCustomPixelFormat);
    ExpectFrames(besidePages, kKVXCustomPixelFormat);
}

INSTANTIATE_TEST_SUITE_P(
    All, EndToEndFrames,
    testing::Values("matrix/v210-s16be-stereo-first.mov", "matrix/v210-f64le-5.1-last.mov",
                    "matrix/2vuy-s24le-stereo-first.mov", "matrix/2vuy-u8-mono-last.mov",
                    "matrix/r210-s16be-stereo-first.mov", "matrix/r210-s32le-5.1-last.mov",
                    "gstreamer/v210-u8-1.mov", "gstreamer/v210-s24le-6.mov",
                    "gstreamer/2vuy-s16le-2.mov", "gstreamer/2vuy-s32be-6.mov",
                    "libquicktime/v210-twos.mov", "libquicktime/v210-fl64.mov",
                    "libquicktime/2vuy-rawaudio.mov", "libquicktime/2vuy-in24.mov",
                    "sizes/1080p25-v210.mov", "sizes/1080p50-2vuy.mov", "sizes/722-2vuy.mov",
                    "sizes/576p25-r210.mov", "sizes/1080p23.98-r210.mov", "tracks/trimmed.mov",
                    "tracks/long-sound.mov", "large/moov-first.mov", "large/moov-last.mov",
                    "aligned/ffmpeg-v210.mov", "aligned/ffmpeg-2vuy.mov",
                    "aligned/gstreamer-v210.mov", "aligned/gstreamer-2vuy.mov",
                    "aligned/libquicktime-v210.mov", "aligned/libquicktime-2vuy.mov"));

// What makes a read go straight into the host's pixels.
TEST(EndToEndFramesAligned, AlignedMoviesHaveFramesOfWholePagesOnPages) {
    for (const char* name : {"ffmpeg-v210", "ffmpeg-2vuy", "gstreamer-v210", "gstreamer-2vuy",
                             "libquicktime-v210", "libquicktime-2vuy"}) {
        const RealMovie movie = ReadRealMovie(std::string("aligned/") + name + ".mov");
        for (const Packet& packet : movie.videos.at(0).packets) {
            EXPECT_EQ(packet.offset % 4096, 0) << name;
            EXPECT_EQ(packet.size % 4096, 0) << name;
        }
    }
}

class EndToEndFramesCommand : public testing::Test {
  protected:
    static std::string Joined(const std::vector<std::string>& frames, size_t first, size_t end) {
        std::string all;
        for (size_t frame = first; frame < end; ++frame) {
            all += frames.at(frame);
        }
        return all;
    }

    ~EndToEndFramesCommand() override { std::filesystem::remove_all(mFolder); }

    const std::string mFolder = testing::TempDir() + "kvx-frames-" + std::to_string(getpid());
};

TEST_F(EndToEndFramesCommand, WritesTheFilesBytesToStandardOutput) {
    for (const char* name :
         {"matrix/v210-s16be-stereo-first.mov", "libquicktime/2vuy-twos.mov",
          "gstreamer/v210-s16le-2.mov", "sizes/576p25-r210.mov", "sizes/722-2vuy.mov",
          "tracks/trimmed.mov", "tracks/long-sound.mov", "large/moov-last.mov"}) {
        const std::vector<std::string> frames = FramesByFfprobe(ReadRealMovie(name));
        const std::string all = Joined(frames, 0, frames.size());
        for (const char* custom : {"", " --custom"}) {
            const CommandRun run =
                RunCommand("frames " + std::string(name) + " --raw" + custom + " -o -");
            EXPECT_EQ(run.exitCode, 0) << name << custom;
            EXPECT_TRUE(run.output == all) << name << custom;
        }
    }
}

TEST_F(EndToEndFramesCommand, WritesAFileForEachFrameOfTheRange) {
    const std::vector<std::string> frames = FramesByFfprobe(ReadRealMovie("tracks/long-sound.mov"));
    const CommandRun run =
        RunCommand("frames tracks/long-sound.mov --raw --range 20:47 -o " + mFolder);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, "");
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(mFolder)) {
        const size_t frame = std::stoul(entry.path().stem().string());
        EXPECT_EQ(entry.path().extension(), ".2vuy");
        EXPECT_GE(frame, 20u);
        EXPECT_LT(frame, 47u);
        std::ifstream file(entry.path(), std::ios::binary);
        EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(file), {}) == frames.at(frame));
        ++files;
    }
    EXPECT_EQ(files, 27u);
}

// The command fills the pipe and waits; meanwhile the file loses its second half.
TEST_F(EndToEndFramesCommand, TellsThatAFrameIsNotInTheFile) {
    std::filesystem::create_directories(mFolder);
    const std::string movie = mFolder + "/movie.mov";
    // Either half has far more than a pipe and the frames on their way hold; nearly all of it is a
    // hole.
    constexpr uintmax_t kHalf = 6000000;
    constexpr int kFrames = 1000;
    constexpr int kFrameSize = 96 * 64 * 2;
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {kvx_test::VideoTrackRecipe({"2vuy", 96, 64, 24}, kFrameSize, kFrames)};
    kvx_test::TrackRecipe& video = recipe.tracks[0];
    video.headerDuration = video.mediaDuration * recipe.timeScale / video.mediaTimeScale;
    recipe.duration = video.headerDuration;
    kvx_test::WriteMovieFile(movie, kvx_test::BuildMoov(recipe),
                             {{kvx_test::kMediaOffset, "first"},
                              {kvx_test::kMediaOffset + kFrames * kFrameSize - 4, "last"}});
    const CommandRun run =
        RunCommand("frames " + movie + " --raw --timeout 5 -o - | { head -c 1 >" + mFolder +
                   "/first; truncate -s " + std::to_string(kHalf) + " " + movie + "; cat >" +
                   mFolder + "/rest; }");
    EXPECT_THAT(run.output,
                testing::MatchesRegex(
                    "kvx: .*movie.mov: frame [0-9]+: the file ends before it does\n"
                    "kvx: .*movie.mov: ended before frame [0-9]+; --partial goes on, and fills "
                    "the places of frames that can't be read\n"));
    const auto delivered = std::filesystem::file_size(mFolder + "/rest") + 1;
    EXPECT_EQ(delivered % (96 * 64 * 2), 0u);
    EXPECT_LT(delivered, kHalf);
}

TEST_F(EndToEndFramesCommand, TellsThatThereIsNoRoomForAFrame) {
    const CommandRun run = RunCommand("frames tracks/no-sound.mov --raw -o - >/dev/full");
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.output,
              "kvx: tracks/no-sound.mov: cannot write to standard output: No space left on "
              "device\n");
}

// With the module's threads alive, asleep or on their way to sleep.
TEST_F(EndToEndFramesCommand, ExitsCleanlyManyTimesInARow) {
    const std::vector<std::string> frames = FramesByFfprobe(ReadRealMovie("tracks/no-sound.mov"));
    const std::string all = Joined(frames, 0, frames.size());
    const int runs = kvx_test::IsUnderSanitizer() ? 50 : 200;
    for (int run = 0; run < runs; ++run) {
        const CommandRun done = RunCommand("frames tracks/no-sound.mov --raw -o -");
        ASSERT_EQ(done.exitCode, 0) << "run " << run;
        ASSERT_TRUE(done.output == all) << "run " << run;
    }
}

}  // namespace
