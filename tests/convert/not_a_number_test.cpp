// Float pixels of the host that are no numbers: black, and no undefined conversion to an integer.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "convert/video/uyvy.h"
#include "convert/video/v210.h"

namespace {

using namespace KVX::Converter::Video;

constexpr int kPixels = 6;
constexpr int kPixelBytes = 16;

// B, G, R and A of each pixel.
struct Row {
    Row() {
        for (float& component : mComponents) {
            component = std::numeric_limits<float>::quiet_NaN();
        }
    }
    const char* Bytes() const { return reinterpret_cast<const char*>(mComponents); }

    float mComponents[kPixels * 4];
};

TEST(NotANumber, IsBlackInUyvy) {
    const Row row;
    uint8_t out[kPixels * 2];
    TransformMatrix matrix = kRGBToYUV601;
    uyvy::ScalarCreateFrom<float>(row.Bytes(), kPixels * kPixelBytes, reinterpret_cast<char*>(out),
                                  sizeof(out), kPixels, 1, &matrix);
    for (int pair = 0; pair < kPixels / 2; ++pair) {
        EXPECT_EQ(out[pair * 4 + 0], 128);
        EXPECT_EQ(out[pair * 4 + 1], 16);
        EXPECT_EQ(out[pair * 4 + 2], 128);
        EXPECT_EQ(out[pair * 4 + 3], 16);
    }
}

TEST(NotANumber, IsBlackInV210) {
    const Row row;
    uint32_t out[4];
    TransformMatrix matrix = kRGBToYUV601;
    v210::ScalarCreateFrom<float>(row.Bytes(), kPixels * kPixelBytes, reinterpret_cast<char*>(out),
                                  sizeof(out), kPixels, 1, &matrix);
    // Samples of 64 and 512 in turn, three to a word.
    EXPECT_EQ(out[0], 0x20010200u);
    EXPECT_EQ(out[1], 0x04080040u);
    EXPECT_EQ(out[2], 0x20010200u);
    EXPECT_EQ(out[3], 0x04080040u);
}

}  // namespace
