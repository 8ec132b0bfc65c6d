// Runs a converter and its model over the same source into two destinations that start alike, and
// compares all of the memory: the pixels, what goes past the width, and everything around.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "convert/oracle/noise.h"

namespace kvx_test::exactness {

using Conversion = std::function<void(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                      int width, int height)>;

struct Layout {
    int mWidth;
    int mHeight;
    int mSrcOffset;  // from an aligned address
    int mDstOffset;
    int mSrcRowBytes;
    int mDstRowBytes;
};

// Room about the frame for what whole groups write past narrow rows.
constexpr std::size_t kGuard = 2048;

// `source` holds the frame from its lowest address on.
inline void ExpectSame(const AlignedBytes& source, const Layout& layout, const Conversion& kernel,
                       const Conversion& model) {
    const auto start = [&layout](int rowBytes) {
        return rowBytes < 0 ? static_cast<std::ptrdiff_t>(layout.mHeight - 1) * -rowBytes : 0;
    };
    const char* src = source.Data() + layout.mSrcOffset + start(layout.mSrcRowBytes);
    const std::size_t size = 2 * kGuard + static_cast<std::size_t>(std::abs(layout.mDstRowBytes)) *
                                              static_cast<std::size_t>(std::max(layout.mHeight, 1));
    static AlignedBytes actual(0);
    static AlignedBytes expected(0);
    if (actual.Size() < size) {
        actual = AlignedBytes(2 * size);
        expected = AlignedBytes(2 * size);
    }
    std::memset(actual.Data(), 0xA5, size);
    std::memset(expected.Data(), 0xA5, size);
    const std::ptrdiff_t at =
        static_cast<std::ptrdiff_t>(kGuard) - 64 + layout.mDstOffset + start(layout.mDstRowBytes);
    kernel(src, layout.mSrcRowBytes, actual.Data() + at, layout.mDstRowBytes, layout.mWidth,
           layout.mHeight);
    model(src, layout.mSrcRowBytes, expected.Data() + at, layout.mDstRowBytes, layout.mWidth,
          layout.mHeight);
    if (std::memcmp(actual.Data(), expected.Data(), size) != 0) {
        std::size_t first = 0;
        while (actual.Data()[first] == expected.Data()[first]) {
            ++first;
        }
        ADD_FAILURE() << layout.mWidth << "x" << layout.mHeight << ", source " << layout.mSrcOffset
                      << " by " << layout.mSrcRowBytes << ", destination " << layout.mDstOffset
                      << " by " << layout.mDstRowBytes << ": byte "
                      << static_cast<std::ptrdiff_t>(first) - at << " of the destination is "
                      << +static_cast<unsigned char>(actual.Data()[first]) << ", not "
                      << +static_cast<unsigned char>(expected.Data()[first]);
    }
}

// Bytes of `width` pixels of a layout that takes `bytes` for each `pixels`.
struct RowSize {
    int mPixels;
    int mBytes;
    int Of(int width) const { return (width + mPixels - 1) / mPixels * mBytes; }
};

// What a routine asks of its memory: 16, or 1 where anything goes.
struct Needs {
    int mSrcAlignment;
    int mDstAlignment;
};

inline int Up(int value, int unit) {
    return (value + unit - 1) / unit * unit;
}

// All widths and heights, through alignments and strides in turn, both ways up.
inline void SweepLayouts(const AlignedBytes& source, RowSize srcRow, RowSize dstRow, Needs needs,
                         const Conversion& kernel, const Conversion& model) {
    std::vector<int> widths;
    for (int width = 1; width <= 100; ++width) {
        widths.push_back(width);
    }
    widths.insert(widths.end(), {720, 721, 1280, 1920});
    int turn = 0;
    for (const int width : widths) {
        for (int height = 1; height <= 5; ++height) {
            for (int variant = 0; variant < 8; ++variant, ++turn) {
                Layout layout{width, height, 0, 0, 0, 0};
                layout.mSrcOffset = needs.mSrcAlignment == 1 ? turn * 7 % 16 : turn % 3 * 16;
                layout.mDstOffset = needs.mDstAlignment == 1 ? turn * 5 % 16 : turn % 5 * 16;
                const int padding = variant < 4 ? 0 : 1 + turn % 130;
                layout.mSrcRowBytes = Up(srcRow.Of(width) + padding, needs.mSrcAlignment);
                layout.mDstRowBytes = Up(dstRow.Of(width) + padding / 2, needs.mDstAlignment);
                if (variant & 1) {
                    layout.mSrcRowBytes = -layout.mSrcRowBytes;
                }
                if (variant & 2) {
                    layout.mDstRowBytes = -layout.mDstRowBytes;
                }
                ExpectSame(source, layout, kernel, model);
                if (::testing::Test::HasFailure()) {
                    return;
                }
            }
        }
    }
}

}  // namespace kvx_test::exactness
