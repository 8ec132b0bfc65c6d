#include "cli/picture/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
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

// Every level, in rows of all widths that a step of several pixels may leave something of.
TEST(CliPicture, StretchesEveryLevelAtEveryPlaceOfARow) {
    for (int width = 1; width <= 9; ++width) {
        for (uint32_t level = 0; level <= 0xFFFF; ++level) {
            std::vector<uint16_t> levels(static_cast<size_t>(width) * 4);
            for (size_t place = 0; place < levels.size(); ++place) {
                levels[place] = static_cast<uint16_t>(level + place * 7919);
            }
            const Picture picture =
                PictureOf({PrPixelFormat_BGRA_4444_16u, width, 1, width * 8, levels.size() * 2,
                           reinterpret_cast<char*>(levels.data())});
            ASSERT_EQ(picture.bytes.size(), static_cast<size_t>(width) * 6);
            for (size_t sample = 0; sample < static_cast<size_t>(width) * 3; ++sample) {
                const double given = levels[sample / 3 * 4 + 2 - sample % 3];
                const auto expected =
                    static_cast<int>(std::lround(std::min(given, 32768.0) * 65535 / 32768));
                ASSERT_EQ(picture.bytes[2 * sample] << 8 | picture.bytes[2 * sample + 1], expected)
                    << "level " << given << ", width " << width;
            }
        }
    }
}

TEST(CliPicture, KeepsTheOrderOfBytesInRowsOfAllWidths) {
    for (int width = 1; width <= 20; ++width) {
        std::vector<char> pixels(static_cast<size_t>(width) * 4);
        std::iota(pixels.begin(), pixels.end(), '\0');
        const Picture picture = PictureOf(
            {PrPixelFormat_BGRA_4444_8u, width, 1, width * 4, pixels.size(), pixels.data()});
        for (size_t sample = 0; sample < static_cast<size_t>(width) * 3; ++sample) {
            ASSERT_EQ(picture.bytes[sample], sample / 3 * 4 + 2 - sample % 3) << width;
        }
    }
}

}  // namespace
