// Planes of a frame, for libraries that know nothing else.
#pragma once

#include <cstddef>

#include "conversions.h"

namespace kvx_bench {

// Three planes, one after the other, of samples in words of their own.
struct Planes {
    int mSampleBytes;
    bool mChromaIsHalf;  // 4:2:2

    ptrdiff_t RowBytes(int plane, const Size& size) const {
        const int width = plane > 0 && mChromaIsHalf ? size.mWidth / 2 : size.mWidth;
        return ptrdiff_t{width} * mSampleBytes;
    }
    ptrdiff_t Offset(int plane, const Size& size) const {
        ptrdiff_t offset = 0;
        for (int before = 0; before < plane; ++before) {
            offset += RowBytes(before, size) * size.mHeight;
        }
        return offset;
    }
    size_t FrameBytes(const Size& size) const { return static_cast<size_t>(Offset(3, size)); }
};

constexpr unsigned kTenBits = 0x3FF;

}  // namespace kvx_bench
