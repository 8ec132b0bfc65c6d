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
    FrameReader reader(*mClip, FramesOf({3, kFrames}), {PrPixelFormat_UYVY_422_8u_601},
                       seconds(30));
    ASSERT_TRUE(reader.Start());
    for (int frame = 3; frame < kFrames; ++frame) {
        const PPixHand ppix = reader.Next();
        ASSERT_NE(ppix, nullptr) << reader.Problem();
        EXPECT_EQ(reader.FrameNumber(), frame);
        std::string bytes;
        for (const kvx_cli::ByteSpan& span : kvx_cli::RawBytes(PixelBuffers::View(ppix))) {
            bytes.append(span.begin, span.size);
        }
        EXPECT_EQ(bytes, kvx_test::PatternSample(0, frame, kFrameSize)) << frame;
    }
    EXPECT_EQ(reader.Next(), nullptr);
    EXPECT_EQ(reader.Problem(), "");
}

// In flight, waiting in the cache, and in the caller's hands.
TEST_F(CliFrameReader, HoldsABoundedNumberOfFrames) {
    FrameReader reader(*mClip, FramesOf({0, kFrames}), {kKVXCustomPixelFormat}, seconds(30));
    ASSERT_TRUE(reader.Start());
    while (reader.Next() != nullptr) {
        ASSERT_LE(PixelBuffers::Current()->LiveCount(), FrameReader::kFramesAhead);
    }
    EXPECT_EQ(PixelBuffers::Current()->CreatedCount(), kFrames);
}

TEST_F(CliFrameReader, DeliversAnyFramesInTheOrderAsked) {
    FrameReader reader(*mClip, {30, 7, 12}, {PrPixelFormat_UYVY_422_8u_601}, seconds(30));
    ASSERT_TRUE(reader.Start());
    for (const int frame : {30, 7, 12}) {
        const PPixHand ppix = reader.Next();
        ASSERT_NE(ppix, nullptr) << reader.Problem();
        EXPECT_EQ(reader.FrameNumber(), frame);
        EXPECT_EQ(std::string(PixelBuffers::View(ppix).pixels, 32),
                  kvx_test::PatternSample(0, frame, kFrameSize).substr(0, 32));
    }
    EXPECT_EQ(reader.Delivered(), 3u);
    EXPECT_EQ(reader.Next(), nullptr);
}

// In a process of its own: the reader leaves its side of the road there for frames that are late.
TEST_F(CliFrameReader, TellsThatAFileHasBecomeShorter) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto tell = [this] {
        std::filesystem::resize_file(mPath, kvx_test::kMediaOffset);
        std::string problem;
        {
            FrameReader reader(*mClip, FramesOf({20, kFrames}), {kKVXCustomPixelFormat},
                               milliseconds(1000));
            reader.Start();
            EXPECT_EQ(reader.Next(), nullptr);
            EXPECT_EQ(reader.Next(), nullptr);
            problem = reader.Problem();
        }
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(tell(), testing::ExitedWithCode(0),
                "frame 20 did not arrive within 1 seconds: the file has become shorter\n");
}

TEST_F(CliFrameReader, TellsThatAFrameCouldNotBeRead) {
    KVX::QT::VideoTrack* track = ModuleOf(*mClip)->mMovie->mVideoTracks[0];
    const int descriptor = track->mFileDescriptor;
    track->mFileDescriptor = 100000;
    std::string problem;
    {
        FrameReader reader(*mClip, FramesOf({5, 6}), {kKVXCustomPixelFormat}, seconds(30));
        ASSERT_TRUE(reader.Start());
        EXPECT_EQ(reader.Next(), nullptr);
        problem = reader.Problem();
    }
    track->mFileDescriptor = descriptor;
    EXPECT_THAT(problem, StartsWith("frame 5 or one close behind it could not be read: "
                                    "*** ExecuteReadTicket["));
}

TEST_F(CliFrameReader, TellsThatAFrameIsRefused) {
    FrameReader reader(*mClip, FramesOf({5, 6}), {PrPixelFormat_RGB_444_10u}, seconds(30));
    ASSERT_TRUE(reader.Start());
    EXPECT_EQ(reader.Next(), nullptr);
    EXPECT_THAT(reader.Problem(), StartsWith("frame 5 is refused: "));
}

}  // namespace
