// Values of the pixel conversion family that are known by themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "convert/pixel_family_frames.h"

using namespace kvx_test;
using testing::ElementsAre;

namespace {

uint32_t Grey(unsigned int level) {
    return PixelWord(level, level, level);
}

uint32_t LittleEndian(const std::vector<uint8_t>& bytes, size_t at = 0) {
    return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 |
           static_cast<uint32_t>(bytes[at + 3]) << 24;
}

uint32_t FullWord(unsigned int level) {
    return LittleEndian(ConvertRow("10RGBX_LE_FULL", {Grey(level)}));
}

TEST(PixelConversionValues, StretchedWords) {
    EXPECT_EQ(FullWord(940), 0xFF3FCFF0u);  // 1020 in each field
    EXPECT_EQ(FullWord(0), 0u);
    EXPECT_EQ(FullWord(63), 0u);
    EXPECT_EQ(FullWord(64), 0u);
    EXPECT_EQ(FullWord(65), 0x00401004u);    // 1
    EXPECT_EQ(FullWord(502), 0x7F9FE7F8u);   // 510
    EXPECT_EQ(FullWord(943), 0xFFFFFFFCu);   // 1023
    EXPECT_EQ(FullWord(1023), 0xFFFFFFFCu);  // limited
}

TEST(PixelConversionValues, WordsOfEachKind) {
    const std::vector<uint32_t> pixel = {PixelWord(940, 64, 502)};
    // 1020, 0 and 510, or the levels as they are.
    EXPECT_THAT(ConvertRow("10RGBX_LE_FULL", pixel), ElementsAre(0xF8, 0x07, 0x00, 0xFF));
    EXPECT_THAT(ConvertRow("10RGBX_BE_FULL", pixel), ElementsAre(0xFF, 0x00, 0x07, 0xF8));
    EXPECT_THAT(ConvertRow("10RGBA_BE_FULL", pixel), ElementsAre(0xFF, 0x00, 0x07, 0xFB));
    EXPECT_THAT(ConvertRow("10RGBX_LE_SMPTE", pixel), ElementsAre(0xD8, 0x07, 0x04, 0xEB));
    EXPECT_THAT(ConvertRow("10RGBX_BE_SMPTE", pixel), ElementsAre(0xEB, 0x04, 0x07, 0xD8));
    EXPECT_THAT(ConvertRow("10XRGB_BE_FULL", pixel), ElementsAre(0x3F, 0xC0, 0x01, 0xFE));
}

TEST(PixelConversionValues, BytesOfEachOrder) {
    const std::vector<uint32_t> pixel = {PixelWord(940, 64, 502)};
    EXPECT_THAT(ConvertRow("8ARGB_FULL", pixel), ElementsAre(255, 255, 0, 127));
    EXPECT_THAT(ConvertRow("8RGBA_FULL", pixel), ElementsAre(255, 0, 127, 255));
    EXPECT_THAT(ConvertRow("8BGRA_FULL", pixel), ElementsAre(127, 0, 255, 255));
    EXPECT_THAT(ConvertRow("8RGB_FULL", pixel), ElementsAre(255, 0, 127));
}

TEST(PixelConversionValues, BytesSaturateAtBothEnds) {
    EXPECT_THAT(ConvertRow("8ARGB_FULL", {Grey(940), Grey(941), Grey(1023), Grey(64), Grey(0)}),
                ElementsAre(255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,  //
                            255, 0, 0, 0, 255, 0, 0, 0));
}

TEST(PixelConversionValues, ScalarCodeRoundsAndVectorCodeTruncates) {
    const std::vector<uint32_t> pixels = {Grey(64), Grey(940), Grey(941), Grey(0), Grey(1023)};
    const std::vector<uint8_t> vector = ConvertRow("8BGRA_FULL", pixels);
    const std::vector<uint8_t> scalar = ConvertRow("8BGRA_FULL_Scalar", pixels);
    const auto firstOf = [](const std::vector<uint8_t>& bytes) {
        std::vector<int> first;
        for (size_t i = 0; i < bytes.size(); i += 4) {
            first.push_back(bytes[i]);
        }
        return first;
    };
    EXPECT_THAT(firstOf(vector), ElementsAre(0, 255, 255, 0, 255));
    EXPECT_THAT(firstOf(scalar), ElementsAre(0, 254, 255, 0, 255));

    int different = 0;
    for (unsigned int level = 0; level < 1024; ++level) {
        const int difference = ConvertRow("8BGRA_FULL", {Grey(level)})[0] -
                               ConvertRow("8BGRA_FULL_Scalar", {Grey(level)})[0];
        EXPECT_LE(std::abs(difference), 1) << level;
        different += difference == 0 ? 0 : 1;
    }
    EXPECT_NEAR(different / 1024.0, 0.2, 0.05);
}

TEST(PixelConversionValues, UnusedBitsHaveNoEffect) {
    for (const FamilyMember& member : FamilyMembers()) {
        const std::vector<uint32_t> clear(12, PixelWord(700, 300, 500));
        const std::vector<uint32_t> set(12, PixelWord(700, 300, 500) | 0xC0000000u);
        EXPECT_EQ(ConvertRow(member.name, clear), ConvertRow(member.name, set)) << member.name;
    }
}

// Coefficients are truncated, so a grey stays just under its level.
TEST(PixelConversionValues, GreyInYUV) {
    const std::vector<uint32_t> white(8, Grey(940));
    const std::vector<uint32_t> black(8, Grey(64));
    // 601: (22969 x 940 >> 17) + (9797 x 940 >> 17) = 164 + 70; chroma (5538 x 940 >> 17) +
    // (-5537 x 940 >> 17) + 128 = 39 - 40 + 128, and (-16383 x 940 >> 17) + (16384 x 940 >> 17) +
    // 128 = -118 + 117 + 128.
    EXPECT_THAT(ConvertRow("8YUV422_SD", white),
                ElementsAre(127, 234, 127, 234, 127, 234, 127, 234, 127, 234, 127, 234, 127, 234,
                            127, 234));
    // (22969 x 64 >> 17) + (9797 x 64 >> 17) = 11 + 4; chroma 2 - 3 + 128 and -8 + 8 + 128.
    EXPECT_THAT(ConvertRow("8YUV422_SD", black), ElementsAre(127, 15, 128, 15, 127, 15, 128, 15,
                                                             127, 15, 128, 15, 127, 15, 128, 15));
    // 709: (25800 x 940 >> 17) + (6966 x 940 >> 17) = 185 + 49; chroma (3756 x 940 >> 17) +
    // (-3755 x 940 >> 17) + 128 = 26 - 27 + 128, and (-16387 x 940 >> 17) + (16384 x 940 >> 17) +
    // 128 = -118 + 117 + 128.
    EXPECT_THAT(ConvertRow("8YUV422_HD", white),
                ElementsAre(127, 234, 127, 234, 127, 234, 127, 234, 127, 234, 127, 234, 127, 234,
                            127, 234));
}

TEST(PixelConversionValues, GreyInV210) {
    // 601: (22969 x 940 >> 15) + (9797 x 940 >> 15) = 658 + 281; chroma 158 - 159 + 512 and
    // -470 + 470 + 512.
    const std::vector<uint8_t> row =
        ConvertRow("10YUV422_LE_SD", std::vector<uint32_t>(12, Grey(940)));
    for (size_t group = 0; group < row.size(); group += 16) {
        EXPECT_EQ(LittleEndian(row, group), 511u | 939u << 10 | 512u << 20);
        EXPECT_EQ(LittleEndian(row, group + 4), 939u | 511u << 10 | 939u << 20);
        EXPECT_EQ(LittleEndian(row, group + 8), 512u | 939u << 10 | 511u << 20);
        EXPECT_EQ(LittleEndian(row, group + 12), 939u | 512u << 10 | 939u << 20);
    }
}

// A single red pixel at an odd place colours the even ones on both of its sides, across blocks.
TEST(PixelConversionValues, ChromaFilterReachesAcrossBlocks) {
    std::vector<uint32_t> pixels(16, PixelWord(0, 0, 0));
    pixels[7] = PixelWord(1000, 0, 0);
    const std::vector<uint8_t> row = ConvertRow("8YUV422_SD", pixels);
    // Averages 500, then 250: Cr = (250 x 16384 >> 17) + 128 = 31 + 128.
    std::vector<int> reds;
    for (size_t pair = 0; pair < 8; ++pair) {
        reds.push_back(row[4 * pair + 2]);
    }
    EXPECT_THAT(reds, ElementsAre(128, 128, 128, 159, 159, 128, 128, 128));
}

// The first pixel stands in for the one to its left: 1000 and 0 are weighed 3 to 1.
TEST(PixelConversionValues, FirstPixelIsItsOwnNeighbour) {
    std::vector<uint32_t> pixels(8, PixelWord(0, 0, 0));
    pixels[0] = PixelWord(1000, 0, 0);
    // Averages 500 and 750: (750 x 16384 >> 17) + 128 = 93 + 128.
    EXPECT_EQ(ConvertRow("8YUV422_SD", pixels)[2], 221);
}

}  // namespace
