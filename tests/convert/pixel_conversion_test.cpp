// Every conversion of the family, to the bit: all levels, all widths, heights and alignments.
#include <gtest/gtest.h>

#include "convert/naive_pixel_family.h"
#include "convert/pixel_family_frames.h"

using namespace kvx_test;

namespace {

constexpr int kLevels = 1024;

class PixelConversion : public testing::TestWithParam<FamilyMember> {
  protected:
    static void ExpectFrame(const FrameLayout& layout, const PixelMaker& pixel) {
        ExpectLikeNaive(GetParam(), layout, pixel);
    }
};

FrameLayout Sized(int width, int height) {
    FrameLayout layout;
    layout.width = width;
    layout.height = height;
    return layout;
}

TEST_P(PixelConversion, AllLevelsOfEachComponent) {
    // One row for each component, the two others at levels that differ from row to row.
    constexpr unsigned int kOthers[] = {0, 63, 64, 65, 500, 511, 879, 880, 939, 940, 941, 1023};
    constexpr int kRowsEach = sizeof(kOthers) / sizeof(kOthers[0]);
    ExpectFrame(Sized(kLevels, 3 * kRowsEach), [&](int x, int y) {
        const auto level = static_cast<unsigned int>(x);
        const unsigned int other = kOthers[y % kRowsEach];
        const unsigned int third = kOthers[(y * 5 + 1) % kRowsEach];
        return y < kRowsEach       ? PixelWord(level, other, third)
               : y < 2 * kRowsEach ? PixelWord(third, level, other)
                                   : PixelWord(other, third, level);
    });
}

TEST_P(PixelConversion, GreyRampsUpAndDown) {
    ExpectFrame(Sized(kLevels, 2), [](int x, int y) {
        const auto level = static_cast<unsigned int>(y == 0 ? x : kLevels - 1 - x);
        return PixelWord(level, level, level);
    });
}

TEST_P(PixelConversion, StepsBetweenExtremes) {
    ExpectFrame(Sized(97, 4), [](int x, int y) {
        return (x >> y) % 2 == 0 ? PixelWord(0, 1023, 0) : PixelWord(1023, 0, 1023);
    });
}

TEST_P(PixelConversion, WidthsFromOneToAHundred) {
    for (int width = 1; width <= 100; ++width) {
        ExpectFrame(Sized(width, 1 + width % 5), Noise(static_cast<uint64_t>(width)));
    }
}

TEST_P(PixelConversion, HeightsFromOneToFive) {
    for (const int width : {1, 7, 24, 37, 48}) {
        for (int height = 1; height <= 5; ++height) {
            ExpectFrame(Sized(width, height), Noise(static_cast<unsigned>(width * height)));
        }
    }
}

TEST_P(PixelConversion, WidthsOfPictures) {
    for (const int width : {720, 721, 1280, 1920}) {
        ExpectFrame(Sized(width, 3), Noise(static_cast<uint64_t>(width)));
    }
}

TEST_P(PixelConversion, AllAlignments) {
    for (const int width : {5, 23, 48, 61}) {
        for (int sourceOffset = 0; sourceOffset < 16; ++sourceOffset) {
            for (int destOffset = 0; destOffset < 16; ++destOffset) {
                FrameLayout layout = Sized(width, 2);
                layout.sourceOffset = sourceOffset;
                layout.destOffset = destOffset;
                ExpectFrame(layout, Noise(static_cast<unsigned>(16 * sourceOffset + destOffset)));
            }
        }
    }
}

TEST_P(PixelConversion, RowsWithPadding) {
    FrameLayout layout = Sized(45, 4);
    layout.sourceRowBytes = 256;
    layout.destRowBytes = 256;
    ExpectFrame(layout, Noise(1));
}

TEST_P(PixelConversion, RowsThatFallInMemory) {
    for (const int width : {48, 50}) {
        FrameLayout layout = Sized(width, 3);
        layout.upward = true;
        ExpectFrame(layout, Noise(2));
    }
}

TEST_P(PixelConversion, NothingToConvertNothingTouched) {
    unsigned char source[64] = {};
    unsigned char dest[64];
    std::fill(std::begin(dest), std::end(dest), 0x77);
    GetParam().convert(0, 1, dest, 64, source, 64);
    GetParam().convert(8, 0, dest, 64, source, 64);
    for (const unsigned char byte : dest) {
        EXPECT_EQ(byte, 0x77);
    }
}

std::string NameOf(const testing::TestParamInfo<FamilyMember>& info) {
    return std::string("To_") + info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Family, PixelConversion, testing::ValuesIn(FamilyMembers()), NameOf);

}  // namespace
