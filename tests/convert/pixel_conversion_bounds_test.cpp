// The pixel conversion family at the edge of readable and writable memory.
#include <gtest/gtest.h>

#include "convert/geometry/guarded_memory.h"
#include "convert/naive_pixel_family.h"
#include "convert/pixel_family_frames.h"

using namespace kvx_test;

namespace {

TEST(PixelConversionBounds, NothingOutsideARowIsTouched) {
    for (const FamilyMember& member : FamilyMembers()) {
        const NaiveConversion& naive = FindNaiveConversion(member.name);
        for (int width = 1; width <= 50; ++width) {
            const auto sourceBytes = static_cast<size_t>(4 * NaivePixelsRead(naive, width));
            const auto destBytes = static_cast<size_t>(NaiveBytesWritten(naive, width));
            const geometry::GuardedMemory source(sourceBytes);
            const geometry::GuardedMemory dest(destBytes);
            for (const bool atEnd : {false, true}) {
                auto* const from =
                    reinterpret_cast<uint8_t*>(atEnd ? source.End() - sourceBytes : source.Begin());
                auto* const to =
                    reinterpret_cast<uint8_t*>(atEnd ? dest.End() - destBytes : dest.Begin());
                for (size_t i = 0; i < sourceBytes; ++i) {
                    from[i] = static_cast<uint8_t>(i * 73 + static_cast<size_t>(width));
                }
                member.convert(static_cast<unsigned int>(width), 1, to, 0, from, 0);
                EXPECT_EQ(std::vector<uint8_t>(to, to + destBytes), NaiveRow(naive, from, width))
                    << member.name << " " << width;
            }
        }
    }
}

// A YUV row that is shorter than a block is the exception.
TEST(PixelConversionBounds, ShortYUVRowsTakeAWholeBlock) {
    for (const char* const name : {"8YUV422_SD", "8YUV422_HD"}) {
        EXPECT_EQ(NaivePixelsRead(FindNaiveConversion(name), 1), 8);
        EXPECT_EQ(NaiveBytesWritten(FindNaiveConversion(name), 1), 16);
    }
    for (const char* const name : {"10YUV422_LE_SD", "10YUV422_LE_HD"}) {
        EXPECT_EQ(NaivePixelsRead(FindNaiveConversion(name), 5), 12);
        EXPECT_EQ(NaiveBytesWritten(FindNaiveConversion(name), 5), 32);
    }
}

}  // namespace
