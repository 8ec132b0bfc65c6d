#include "convert/pixel_family_frames.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/random.h"

namespace kvx_test {

namespace {

constexpr size_t kBase = 64;     // what offsets count from
constexpr size_t kMargin = 256;  // watched on either side of a frame

// Memory that begins at a multiple of kBase.
class Memory {
  public:
    explicit Memory(size_t size) : mBytes(size + kBase) {
        const size_t past = reinterpret_cast<uintptr_t>(mBytes.data()) % kBase;
        mStart = mBytes.data() + (past == 0 ? 0 : kBase - past);
    }

    uint8_t* At(size_t offset) { return mStart + offset; }

  private:
    std::vector<uint8_t> mBytes;
    uint8_t* mStart;
};

// Rows whose pointer is a multiple of 16 have to stay so; others are made to lie anywhere.
int RowBytesFor(long needed, int offset, int wanted) {
    if (wanted != 0) {
        return wanted;
    }
    return static_cast<int>(offset % 16 == 0 ? (needed + 15) / 16 * 16 : needed + 3);
}

// A byte that is not likely to be what a conversion writes there by chance, nor its neighbour's.
uint8_t Untouched(size_t offset) {
    return static_cast<uint8_t>(offset * 37 + 0x5B);
}

void StoreBigEndian(uint8_t* to, uint32_t word) {
    for (int i = 0; i < 4; ++i) {
        to[i] = static_cast<uint8_t>(word >> (24 - 8 * i));
    }
}

}  // namespace

uint32_t PixelWord(unsigned int r, unsigned int g, unsigned int b) {
    return r << 20 | g << 10 | b;
}

PixelMaker Noise(uint64_t seed) {
    return [random = Random(seed)](int, int) mutable {
        return static_cast<uint32_t>(random.Pick(0, UINT32_MAX));
    };
}

void ExpectLikeNaive(const FamilyMember& member, const FrameLayout& layout,
                     const PixelMaker& pixel) {
    const NaiveConversion& naive = FindNaiveConversion(member.name);
    const long pixelsRead = NaivePixelsRead(naive, layout.width);
    const long bytesWritten = NaiveBytesWritten(naive, layout.width);
    const int sourceRowBytes =
        RowBytesFor(4 * pixelsRead, layout.sourceOffset, layout.sourceRowBytes);
    const int destRowBytes = RowBytesFor(bytesWritten, layout.destOffset, layout.destRowBytes);

    const auto rowPlace = [&](int row, int offset, int rowBytes) {
        const int place = layout.upward ? layout.height - 1 - row : row;
        return static_cast<size_t>(offset) +
               static_cast<size_t>(place) * static_cast<size_t>(rowBytes);
    };
    Memory source(rowPlace(0, layout.sourceOffset, 0) +
                  static_cast<size_t>(layout.height) * static_cast<size_t>(sourceRowBytes));
    const size_t destSize = 2 * kMargin + kBase +
                            static_cast<size_t>(layout.height) * static_cast<size_t>(destRowBytes);
    Memory dest(destSize);
    std::vector<uint8_t> expected(destSize);
    for (size_t i = 0; i < destSize; ++i) {
        *dest.At(i) = expected[i] = Untouched(i);
    }
    const int destOffset = layout.destOffset + static_cast<int>(kMargin);
    for (int y = 0; y < layout.height; ++y) {
        uint8_t* const row = source.At(rowPlace(y, layout.sourceOffset, sourceRowBytes));
        for (int x = 0; x < pixelsRead; ++x) {
            StoreBigEndian(row + 4 * x, pixel(x, y));
        }
        const std::vector<uint8_t> bytes = NaiveRow(naive, row, layout.width);
        std::copy(bytes.begin(), bytes.end(),
                  expected.begin() + static_cast<ptrdiff_t>(rowPlace(y, destOffset, destRowBytes)));
    }

    const int sign = layout.upward ? -1 : 1;
    member.convert(static_cast<unsigned int>(layout.width),
                   static_cast<unsigned int>(layout.height),
                   dest.At(rowPlace(0, destOffset, destRowBytes)),
                   static_cast<unsigned int>(sign * destRowBytes),
                   source.At(rowPlace(0, layout.sourceOffset, sourceRowBytes)),
                   static_cast<unsigned int>(sign * sourceRowBytes));

    const uint8_t* const got = dest.At(0);
    const auto different = std::mismatch(expected.begin(), expected.end(), got);
    EXPECT_TRUE(different.first == expected.end())
        << member.name << " " << layout.width << "x" << layout.height << ", source at "
        << layout.sourceOffset << ", destination at " << layout.destOffset << ": byte "
        << different.first - expected.begin() - destOffset << " (rows of " << destRowBytes
        << ") is " << int{*different.second} << ", not " << int{*different.first};
}

std::vector<uint8_t> ConvertRow(const std::string& name, const std::vector<uint32_t>& words) {
    const NaiveConversion& naive = FindNaiveConversion(name);
    const long width = static_cast<long>(words.size());
    Memory source(4 * words.size());
    for (size_t i = 0; i < words.size(); ++i) {
        StoreBigEndian(source.At(4 * i), words[i]);
    }
    const auto rowBytes = static_cast<size_t>(NaiveBytesWritten(naive, width));
    Memory dest(rowBytes);
    FindFamilyMember(name)(static_cast<unsigned int>(width), 1, dest.At(0), 0, source.At(0), 0);
    return {dest.At(0), dest.At(0) + rowBytes};
}

}  // namespace kvx_test
