#include "cli/picture/frame_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "cli/picture/frame_range.h"
#include "cli/picture/raw_frame.h"
#include "host/host_test.h"
#include "pipeline/eventually.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

namespace {

using kvx_cli::FrameReader;
using kvx_cli::FramesOf;
using kvx_hostkit::Clip;
using kvx_hostkit::PixelBuffers;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::StartsWith;

constexpr int kFrames = 40;
constexpr uint32_t kFrameSize = 2 * 16 * 8;

class CliFrameReader : public kvx_test::HostTest {
  protected:
    CliFrameReader() {
        mPath = Write(kvx_test::MovieOf(
            {kvx_test::VideoTrackRecipe({"2vuy", 16, 8, 24}, kFrameSize, kFrames)}));
        mClip = std::make_unique<Clip>(importer, mPath);
        EXPECT_EQ(mClip->Open(), 0);
    }

    std::string mPath;
    std::unique_ptr<Clip> mClip;
};

TEST_F(CliFrameReader, DeliversTheRangeInOrder) {
    FrameReader reader(*mClip, FramesOf({{3, kFrames}}, 1), {PrPixelFormat_UYVY_422_8u_601},
                       seconds(30));
    ASSERT_FALSE(reader.Start());
    for (int frame = 3; frame < kFrames; ++frame) {
        FrameReader::Frame delivered;
        ASSERT_TRUE(reader.Next(delivered)) << reader.GetProblem().words;
        const PPixHand ppix = delivered.ppix;
        ASSERT_NE(ppix, nullptr) << delivered.failure;
        EXPECT_EQ(delivered.number, frame);
        std::string bytes;
        for (const kvx_cli::ByteSpan& span : kvx_cli::RawBytes(PixelBuffers::View(ppix))) {
            bytes.append(span.begin, span.size);
        }
        EXPECT_EQ(bytes, kvx_test::PatternSample(0, frame, kFrameSize)) << frame;
    }
    FrameReader::Frame none;
    EXPECT_FALSE(reader.Next(none));
    EXPECT_FALSE(reader.GetProblem());
}

// In flight, waiting in the cache, and in the caller's hands.
TEST_F(CliFrameReader, HoldsABoundedNumberOfFrames) {
    FrameReader reader(*mClip, FramesOf({{0, kFrames}}, 1), {kKVXCustomPixelFormat}, seconds(30));
    ASSERT_FALSE(reader.Start());
    FrameReader::Frame frame;
    while (reader.Next(frame)) {
        // A thread lets go of a frame's pixels a little after the host has heard of the frame.
        ASSERT_TRUE(kvx_test::Eventually([] {
            return PixelBuffers::Current()->LiveCount() <=
                   static_cast<int>(FrameReader::kFramesAhead);
        })) << PixelBuffers::Current()->LiveCount()
            << " buffers are there";
    }
    EXPECT_EQ(PixelBuffers::Current()->CreatedCount(), kFrames);
}

TEST_F(CliFrameReader, DeliversAnyFramesInTheOrderAsked) {
    FrameReader reader(*mClip, {30, 7, 12}, {PrPixelFormat_UYVY_422_8u_601}, seconds(30));
    ASSERT_FALSE(reader.Start());
    for (const int frame : {30, 7, 12}) {
        FrameReader::Frame delivered;
        ASSERT_TRUE(reader.Next(delivered)) << reader.GetProblem().words;
        const PPixHand ppix = delivered.ppix;
        ASSERT_NE(ppix, nullptr) << delivered.failure;
        EXPECT_EQ(delivered.number, frame);
        EXPECT_EQ(std::string(PixelBuffers::View(ppix).pixels, 32),
                  kvx_test::PatternSample(0, frame, kFrameSize).substr(0, 32));
    }
    EXPECT_EQ(reader.Delivered(), 3u);
    FrameReader::Frame none;
    EXPECT_FALSE(reader.Next(none));
}

// In a process of its own: the reader leaves its side of the road there for frames that are late.
TEST_F(CliFrameReader, TellsWhichFramesAFileThatIsTooShortHasLost) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto tell = [this] {
        // The last whole frame is number 29; of the next there is a half. Frames of more than a
        // page, so that reads of those after it find nothing.
        constexpr uint32_t kLargeSize = 2 * 64 * 64;
        const std::string path = Write(kvx_test::MovieOf({kvx_test::VideoTrackRecipe(
                                           {"2vuy", 64, 64, 24}, kLargeSize, kFrames)}),
                                       "large.mov");
        Clip clip(importer, path);
        EXPECT_EQ(clip.Open(), 0);
        std::filesystem::resize_file(path, kvx_test::kMediaOffset + 30 * kLargeSize + 100);
        {
            FrameReader reader(clip, FramesOf({{20, kFrames}}, 1), {kKVXCustomPixelFormat},
                               seconds(30));
            EXPECT_FALSE(reader.Start());
            for (int number = 20; number < kFrames; ++number) {
                FrameReader::Frame frame;
                EXPECT_TRUE(reader.Next(frame));
                EXPECT_EQ(frame.number, number);
                EXPECT_EQ(frame.ppix != nullptr, number < 30) << number;
                EXPECT_EQ(frame.failure, number < 30 ? "" : "the file ends before it does");
            }
        }
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(tell(), testing::ExitedWithCode(0), "");
}

// Nothing in the log tells a half frame at the end from a disk that does not answer.
TEST_F(CliFrameReader, GivesUpAFrameThatDoesNotArrive) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto tell = [this] {
        std::filesystem::resize_file(mPath, kvx_test::kMediaOffset + 20 * kFrameSize + 100);
        {
            FrameReader reader(*mClip, {20}, {kKVXCustomPixelFormat}, milliseconds(500));
            EXPECT_FALSE(reader.Start());
            FrameReader::Frame frame;
            EXPECT_FALSE(reader.Next(frame));
            EXPECT_FALSE(reader.Next(frame));
            EXPECT_EQ(reader.GetProblem().code, kvx_cli::kExitFailed);
            EXPECT_EQ(reader.GetProblem().words, "frame 20 did not arrive within 0.5 seconds");
        }
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(tell(), testing::ExitedWithCode(0), "");
}

TEST_F(CliFrameReader, TellsThatFramesCouldNotBeRead) {
    KVX::QT::VideoTrack* track = ModuleOf(*mClip)->mMovie->mVideoTracks[0];
    const int descriptor = track->mFileDescriptor;
    track->mFileDescriptor = 100000;
    {
        FrameReader reader(*mClip, FramesOf({{5, 15}}, 1), {kKVXCustomPixelFormat}, seconds(30));
        ASSERT_FALSE(reader.Start());
        FrameReader::Frame frame;
        for (int number = 5; number < 15; ++number) {
            ASSERT_TRUE(reader.Next(frame));
            EXPECT_EQ(frame.number, number);
            EXPECT_EQ(frame.ppix, nullptr);
            EXPECT_EQ(frame.failure, "its bytes could not be read: Bad file descriptor");
        }
        EXPECT_FALSE(reader.Next(frame));
        EXPECT_FALSE(reader.GetProblem());
    }
    track->mFileDescriptor = descriptor;
}

// A sample that is too small for a frame, between others: it is named, and only it.
TEST_F(CliFrameReader, NamesTheOneFrameThatFails) {
    // Of several pages, so that what lies after the sample on its page is not enough either.
    constexpr uint32_t kLargeSize = 2 * 64 * 64;
    kvx_test::TrackRecipe track =
        kvx_test::VideoTrackRecipe({"2vuy", 64, 64, 24}, kLargeSize, kFrames);
    track.constantSize = 0;
    track.sizes.assign(kFrames, kLargeSize);
    track.sizes[11] = 100;
    track.PlaceSamples(kvx_test::kMediaOffset, 4);
    Clip clip(importer, Write(kvx_test::MovieOf({track}), "small.mov"));
    ASSERT_EQ(clip.Open(), 0);
    // A format that is converted.
    FrameReader reader(clip, FramesOf({{0, kFrames}}, 1), {PrPixelFormat_BGRA_4444_8u},
                       seconds(30));
    ASSERT_FALSE(reader.Start());
    for (int number = 0; number < kFrames; ++number) {
        FrameReader::Frame frame;
        ASSERT_TRUE(reader.Next(frame)) << reader.GetProblem().words;
        EXPECT_EQ(frame.number, number);
        EXPECT_EQ(frame.ppix == nullptr, number == 11) << number << frame.failure;
        EXPECT_THAT(frame.failure,
                    StartsWith(number == 11 ? "its sample is too small for a frame: " : ""));
    }
}

TEST_F(CliFrameReader, TellsThatAFrameIsRefused) {
    FrameReader reader(*mClip, FramesOf({{5, 6}}, 1), {PrPixelFormat_RGB_444_10u}, seconds(30));
    ASSERT_FALSE(reader.Start());
    FrameReader::Frame frame;
    ASSERT_TRUE(reader.Next(frame));
    EXPECT_EQ(frame.ppix, nullptr);
    EXPECT_THAT(frame.failure, StartsWith("the importer refused it with status "));
}

}  // namespace
