// The order in which converters take rows.
#pragma once

#include <cstddef>
#include <cstring>

namespace KVX::Converter::Video {

// `width` rounded up to whole steps, in pixels.
inline ptrdiff_t WholeSteps(int width, int stepPixels) {
    return (static_cast<ptrdiff_t>(width) + stepPixels - 1) / stepPixels * stepPixels;
}

// Host BGRA frames are bottom-up, the file's are top-down, so that frames are flipped: row 0 of the
// destination takes the last row of the source. Row bytes may be negative.
template <typename ConvertRow>
void WalkRowsFlipped(const char* src, ptrdiff_t srcRowBytes, char* dst, ptrdiff_t dstRowBytes,
                     int height, ConvertRow convertRow) {
    for (ptrdiff_t row = 0; row < height; ++row) {
        convertRow(src + (height - 1 - row) * srcRowBytes, dst + row * dstRowBytes);
    }
}

// Calls `visit(source row, destination row)` for all rows, in the fastest order that is allowed.
// Rows that stay inside their own row bytes can be converted in any order: then the source is read
// upward in memory, which suits the prefetchers; downward takes twice as long. A row that is
// written past its end has to be converted before the one that this overwrites.
template <typename Visit>
void VisitRowsFlipped(ptrdiff_t srcRowBytes, ptrdiff_t dstRowBytes, int height,
                      ptrdiff_t bytesWrittenPerRow, Visit visit) {
    const bool staysInside = bytesWrittenPerRow <= (dstRowBytes < 0 ? -dstRowBytes : dstRowBytes);
    if (staysInside && srcRowBytes > 0) {
        for (ptrdiff_t row = 0; row < height; ++row) {
            visit(row, height - 1 - row);
        }
    } else {
        for (ptrdiff_t row = 0; row < height; ++row) {
            visit(height - 1 - row, row);
        }
    }
}

// WalkRowsFlipped for vector code, whose steps may go past the width.
template <typename ConvertRow>
void StreamRowsFlipped(const char* src, ptrdiff_t srcRowBytes, char* dst, ptrdiff_t dstRowBytes,
                       int height, ptrdiff_t bytesWrittenPerRow, ConvertRow convertRow) {
    VisitRowsFlipped(srcRowBytes, dstRowBytes, height, bytesWrittenPerRow,
                     [&](ptrdiff_t srcRow, ptrdiff_t dstRow) {
                         convertRow(src + srcRow * srcRowBytes, dst + dstRow * dstRowBytes);
                     });
}

template <typename ConvertRow>
void WalkRows(const char* src, ptrdiff_t srcRowBytes, char* dst, ptrdiff_t dstRowBytes, int height,
              ConvertRow convertRow) {
    for (ptrdiff_t row = 0; row < height; ++row) {
        convertRow(src + row * srcRowBytes, dst + row * dstRowBytes);
    }
}

// What the walk below knows about a converter that works in groups of pixels.
struct GroupLayout {
    int mPixels;  // in a group
    int mDstBytesPerPixel;
    int mRemainderSourceBytes;  // source offset of the last row's remainder, for each full group
};

// The largest group in use: 24 pixels of four floats.
constexpr int kLargestGroupBytes = 24 * 16;

// Flips a frame with `convertGroups(src, dst, count)` for runs of whole groups, and writes nothing
// past the last row. All other rows may be written past their end: rows ascend in memory, and the
// row that is overwritten is converted afterwards. The remainder of the last row is converted in a
// block on the stack. A width or height below 1 does nothing.
template <typename ConvertGroups>
void WalkRowsWithinFrame(const char* src, ptrdiff_t srcRowBytes, char* dst, ptrdiff_t dstRowBytes,
                         int width, int height, const GroupLayout& layout,
                         ConvertGroups convertGroups) {
    if (width < 1 || height < 1) {
        return;
    }
    const ptrdiff_t full = width / layout.mPixels;
    const ptrdiff_t remainder = width - full * layout.mPixels;
    const ptrdiff_t rounded = full + (remainder != 0 ? 1 : 0);

    const ptrdiff_t roundedBytes = rounded * layout.mPixels * layout.mDstBytesPerPixel;
    VisitRowsFlipped(srcRowBytes, dstRowBytes, height, roundedBytes,
                     [&](ptrdiff_t srcRow, ptrdiff_t dstRow) {
                         convertGroups(src + srcRow * srcRowBytes, dst + dstRow * dstRowBytes,
                                       dstRow == height - 1 ? full : rounded);
                     });
    if (remainder != 0) {
        alignas(16) char block[kLargestGroupBytes];
        convertGroups(src + full * layout.mRemainderSourceBytes, block, 1);
        char* lastRow = dst + (height - 1) * dstRowBytes;
        std::memcpy(lastRow + full * layout.mPixels * layout.mDstBytesPerPixel, block,
                    static_cast<size_t>(remainder * layout.mDstBytesPerPixel));
    }
}

}  // namespace KVX::Converter::Video
