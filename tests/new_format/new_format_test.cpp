// What the host gets of a made-up format that was added by rows in the importer's tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "new_format/xyz1.h"
#include "quicktime/video_formats.h"
#include "util/printer.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::Bytes;
using kvx_test::kMediaOffset;
using testing::ElementsAre;

constexpr uint32_t kCode = KVX::Core::FourCharCode("xyz1");
constexpr int kHeight = 6;

// Any picture: the byte at `position` of a row of "2vuy".
char PictureByte(int row, int position) {
    return static_cast<char>(16 + (row * 37 + position * 11) % 220);
}

class NewFormat : public kvx_test::HostTest {
  protected:
    // A movie of one frame, whose rows have these bytes.
    std::string WriteFrame(const Bytes& format, int width, long rowBytes, const Bytes& frame) {
        kvx_test::MovieRecipe recipe;
        recipe.tracks.push_back(kvx_test::VideoTrackRecipe(
            {format, width, kHeight, 24}, static_cast<uint32_t>(rowBytes * kHeight), 1));
        const std::string path = directory.File(format + ".mov");
        kvx_test::WriteMovieFile(path, BuildMoov(recipe), {{kMediaOffset, frame}});
        return path;
    }

    std::string WriteXyz1(int width) {
        Bytes frame;
        for (int row = 0; row < kHeight; ++row) {
            Bytes bytes(static_cast<size_t>((2 * width + 63) / 64 * 64), '\x77');
            for (int i = 0; i < 2 * width; ++i) {
                bytes[static_cast<size_t>(i)] = PictureByte(row, i % 2 == 0 ? i + 1 : i - 1);
            }
            frame += bytes;
        }
        return WriteFrame("xyz1", width, static_cast<long>(frame.size()) / kHeight, frame);
    }

    std::string WriteUYVY(int width) {
        Bytes frame;
        for (int row = 0; row < kHeight; ++row) {
            for (int i = 0; i < 2 * width; ++i) {
                frame += PictureByte(row, i);
            }
        }
        return WriteFrame("2vuy", width, 2 * width, frame);
    }

    // The rows of the movie's frame as the host gets them, without what lies between them.
    std::vector<Bytes> RowsOf(const std::string& path, PrPixelFormat format) {
        Clip clip(importer, path);
        EXPECT_EQ(clip.Open(), 0);
        FrameSource source(clip);
        EXPECT_EQ(source.Open(), 0);
        EXPECT_EQ(source.Request(0, {format}), 0);
        PPixHand ppix = nullptr;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (source.Get(0, {format}, &ppix) != aiNoError) {
            if (std::chrono::steady_clock::now() > end) {
                ADD_FAILURE() << "no frame";
                return {};
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const PixelBufferView view = PixelBuffers::View(ppix);
        EXPECT_EQ(view.format, format);
        const int tight = kvx_hostkit::TightRowBytes(format, view.width);
        std::vector<Bytes> rows;
        for (int row = 0; row < view.height; ++row) {
            rows.emplace_back(view.pixels + row * view.rowBytes, static_cast<size_t>(tight));
        }
        PixelBuffers::Dispose(ppix);
        return rows;
    }

    PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
};

TEST_F(NewFormat, IsImported) {
    Clip clip(importer, WriteXyz1(40));
    ASSERT_EQ(clip.Open(), 0);
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(kvx_test::Field(streams[0].subType), static_cast<int32_t>(kCode));
    EXPECT_EQ(kvx_test::Field(streams[0].width), 40);
}

TEST_F(NewFormat, IsOfferedInItsOwnLayoutByItsWidth) {
    Clip narrow(importer, WriteXyz1(720));
    ASSERT_EQ(narrow.Open(), 0);
    EXPECT_THAT(narrow.PixelFormats(),
                ElementsAre(kKVXCustomPixelFormat, PrPixelFormat_YUYV_422_8u_601));
    Clip wide(importer, WriteXyz1(722));
    ASSERT_EQ(wide.Open(), 0);
    EXPECT_THAT(wide.PixelFormats(),
                ElementsAre(kKVXCustomPixelFormat, PrPixelFormat_YUYV_422_8u_709));
}

TEST_F(NewFormat, ReachesTheHostAsItIs) {
    std::vector<Bytes> expected;
    for (int row = 0; row < kHeight; ++row) {
        Bytes bytes;
        for (int i = 0; i < 80; i += 2) {
            bytes += {PictureByte(row, i + 1), PictureByte(row, i)};
        }
        expected.push_back(bytes);
    }
    EXPECT_EQ(RowsOf(WriteXyz1(40), PrPixelFormat_YUYV_422_8u_601), expected);
}

TEST_F(NewFormat, IsConverted) {
    for (const PrPixelFormat format :
         {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_BGRA_4444_16u, PrPixelFormat_BGRA_4444_32f}) {
        const std::vector<Bytes> rows = RowsOf(WriteXyz1(40), format);
        EXPECT_EQ(rows.size(), static_cast<size_t>(kHeight));
        EXPECT_TRUE(rows == RowsOf(WriteUYVY(40), format)) << format;
    }
}

TEST_F(NewFormat, HasItsNames) {
    EXPECT_STREQ(KVX::Util::Printer::PixelFormatPremiere(kCode), "kvxFormatMadeUp");
    ASSERT_NE(KVX::QT::FindVideoFormat(kCode), nullptr);
    EXPECT_STREQ(KVX::QT::FindVideoFormat(kCode)->description, "made up");
}

// The formats that were there are still there.
TEST_F(NewFormat, StandsBesideTheOthers) {
    Clip clip(importer, WriteUYVY(40));
    ASSERT_EQ(clip.Open(), 0);
    EXPECT_THAT(clip.PixelFormats(),
                ElementsAre(kKVXCustomPixelFormat, PrPixelFormat_UYVY_422_8u_601));
    EXPECT_STREQ(KVX::Util::Printer::PixelFormat(KVX::Core::FourCharCode("v210")),
                 "kvxFormat10BitYUV");
}

}  // namespace
