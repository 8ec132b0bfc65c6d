// Which frames are copied rather than converted, and the copy itself, byte by byte.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/read_request.h"

namespace {

using kvx_test::Bytes;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Picture;
using kvx_test::Reference;

using Frame = Reference<KVX::ImportFrame>;

class FrameCopy : public kvx_test::FrameTest {
  protected:
    // A frame whose pixels are where the test wants them, with all that was read of `picture`.
    // Returns what was logged.
    std::string Convert(const Picture& picture, char* pixels, int destRowBytes) {
        OpenMovie(MovieOfPicture(picture, 1, kvx_test::kMediaOffset + 100));
        const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601);
        EXPECT_TRUE(frame->mCopyOnly);
        frame->mPixels = pixels;
        frame->mDestRowBytes = destRowBytes;
        LogCapture log;
        EXPECT_EQ(frame->Convert(), 0);
        return log.Text();
    }
};

TEST_F(FrameCopy, IsForTheHostsFormThatIsTheFilesLayout) {
    struct Case {
        Picture picture;
        std::vector<PrPixelFormat> copied;
    };
    const Case cases[] = {
        {{"2vuy", 64, 32, 4096}, {PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709}},
        {{"2Vuy", 64, 32, 4096}, {PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_UYVY_422_8u_709}},
        {{"v210", 96, 16, 4096}, {PrPixelFormat_V210_422_10u_601, PrPixelFormat_V210_422_10u_709}},
        {{"r210", 64, 16, 4096}, {}},
    };
    const LogCapture log;
    for (const Case& each : cases) {
        OpenMovie(MovieOfPicture(each.picture, 1));
        for (const PrPixelFormat format :
             {PrPixelFormat_V210_422_10u_601, PrPixelFormat_V210_422_10u_709,
              PrPixelFormat_RGB_444_10u, PrPixelFormat_UYVY_422_8u_709,
              PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_BGRA_4444_32f,
              PrPixelFormat_BGRA_4444_16u, PrPixelFormat_BGRA_4444_8u,
              PrPixelFormat_BGRX_4444_32f}) {
            const bool copied =
                std::find(each.copied.begin(), each.copied.end(), format) != each.copied.end();
            const Frame frame = RunFrame(format);
            EXPECT_EQ(frame->mCopyOnly, copied) << each.picture.format << " " << format;
            // All is aligned here.
            EXPECT_EQ(frame->mNeedsConversion, !copied) << each.picture.format << " " << format;
        }
    }
}

// Rows of the same length go in one piece, which is the sample's: what else was read with its pages
// stays behind, before it and after it.
TEST_F(FrameCopy, OfOnePieceHasTheLengthOfTheSample) {
    for (const uint32_t size : {1u, 461u, 462u}) {
        std::vector<char> pixels(600, '\x5A');
        EXPECT_EQ(Convert({"2vuy", 33, 7, size}, pixels.data() + 50, 66), "");
        EXPECT_EQ(Bytes(pixels.data(), pixels.size()),
                  Bytes(50, '\x5A') + Media(0, size) + Bytes(550 - size, '\x5A'))
            << size;
    }
}

// Rows go in the file's length, whatever the host's is: each begins where the host's does, over the
// end of the one before, and the last goes past the end of the host's.
TEST_F(FrameCopy, RowsAreNotCutToShorterOnesOfTheHosts) {
    std::vector<char> pixels(200, '\x5A');
    EXPECT_EQ(Convert({"2vuy", 16, 3, 96}, pixels.data() + 50, 20), "");
    const Bytes media = Media(0, 96);
    EXPECT_EQ(Bytes(pixels.data(), pixels.size()), Bytes(50, '\x5A') + media.substr(0, 20) +
                                                       media.substr(32, 20) + media.substr(64) +
                                                       Bytes(200 - 50 - 72, '\x5A'));
}

TEST_F(FrameCopy, RowsGoUpwardsWhereTheHostsDo) {
    std::vector<char> pixels(200, '\x5A');
    EXPECT_EQ(Convert({"2vuy", 16, 3, 96}, pixels.data() + 120, -40), "");
    const Bytes media = Media(0, 96);
    EXPECT_EQ(Bytes(pixels.data(), pixels.size()),
              Bytes(40, '\x5A') + media.substr(64) + Bytes(8, '\x5A') + media.substr(32, 32) +
                  Bytes(8, '\x5A') + media.substr(0, 32) + Bytes(200 - 152, '\x5A'));
}

// Four rows a gigabyte apart: the places of the third and the fourth, 2^31 and 3 * 2^30 bytes from
// the first, are -2^31 and -2^30 in 32 bits.
TEST_F(FrameCopy, RowsArePlacedIn32Bits) {
    constexpr size_t kGigabyte = 0x40000000;
    constexpr size_t kReserved = 4 * kGigabyte;
    void* const memory = mmap(nullptr, kReserved, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char* const first = static_cast<char*>(memory) + 2 * kGigabyte;
    EXPECT_EQ(Convert({"2vuy", 16, 4, 128}, first, kGigabyte), "");
    const Bytes media = Media(0, 128);
    EXPECT_EQ(Bytes(first, 32), media.substr(0, 32));
    EXPECT_EQ(Bytes(first + kGigabyte, 32), media.substr(32, 32));
    EXPECT_EQ(Bytes(first - 2 * kGigabyte, 32), media.substr(64, 32));
    EXPECT_EQ(Bytes(first - kGigabyte, 32), media.substr(96, 32));
    munmap(memory, kReserved);
}

}  // namespace
