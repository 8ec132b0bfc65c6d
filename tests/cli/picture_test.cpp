#include "cli/picture/picture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using kvx_cli::Picture;
using kvx_cli::PictureFormat;
using kvx_cli::PictureOf;
using kvx_hostkit::PixelBufferView;

TEST(CliPicture, HasTheHostsFormatOfItsDepth) {
    EXPECT_EQ(PictureFormat(8), PrPixelFormat_BGRA_4444_8u);
    EXPECT_EQ(PictureFormat(16), PrPixelFormat_BGRA_4444_16u);
}

// The host's first row is the lowest, its first component blue.
TEST(CliPicture, RunsFromTheTopDownInRedGreenBlue) {
    char pixels[] = "bgraBGRA....cdefCDEF....";
    const Picture picture = PictureOf({PrPixelFormat_BGRA_4444_8u, 2, 2, 12, 24, pixels});
    EXPECT_EQ(picture.width, 2);
    EXPECT_EQ(picture.height, 2);
    EXPECT_EQ(picture.depth, 8);
    const char expected[] = "edcEDCrgbRGB";
    EXPECT_EQ(picture.bytes, std::vector<uint8_t>(expected, expected + 12));
}

// 32768 becomes 65535, the rest in proportion; what is above white is white.
TEST(CliPicture, StretchesTheHosts16BitScale) {
    const uint16_t levels[] = {0, 16384, 32768, 0, 1, 3, 0xFFFF, 0};
    std::vector<char> pixels(sizeof(levels));
    std::memcpy(pixels.data(), levels, sizeof(levels));
    const Picture picture =
        PictureOf({PrPixelFormat_BGRA_4444_16u, 2, 1, 16, pixels.size(), pixels.data()});
    EXPECT_EQ(picture.depth, 16);
    EXPECT_EQ(picture.bytes, (std::vector<uint8_t>{0xFF, 0xFF, 0x80, 0x00, 0x00, 0x00,  //
                                                   0xFF, 0xFF, 0x00, 0x06, 0x00, 0x02}));
}

}  // namespace
