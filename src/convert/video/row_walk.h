// The order in which converters take rows.
#pragma once

#include <cstddef>
#include <cstring>

namespace KVX::Converter::Video {

// Host BGRA frames stand upside down to the file's: row 0 of the destination takes the last row of
// the source. Row bytes may be negative.
template <typename ConvertRow>
void WalkRowsTurnedOver(const char* src, ptrdiff_t srcRowBytes, char* dst, ptrdiff_t dstRowBytes,
                        int height, ConvertRow convertRow) {
    for (ptrdiff_t row = 0; row < height; ++row) {
        convertRow(src + (height - 1 - row) * srcRowBytes, dst + row * dstRowBytes);
    }
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

// Turns a frame over with `convertGroups(src, dst, count)` for runs of whole groups, and writes
// nothing past the last row. All other rows may spill over their end: rows rise in memory, and the
// row that is spilled into is written afterwards. The remainder of the last row goes by a block on
// the stack. A width or height below 1 does nothing.
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

    for (ptrdiff_t row = 0; row < height - 1; ++row) {
        convertGroups(src + (height - 1 - row) * srcRowBytes, dst + row * dstRowBytes, rounded);
    }
    char* lastRow = dst + (height - 1) * dstRowBytes;
    convertGroups(src, lastRow, full);
    if (remainder != 0) {
        alignas(16) char block[kLargestGroupBytes];
        convertGroups(src + full * layout.mRemainderSourceBytes, block, 1);
        std::memcpy(lastRow + full * layout.mPixels * layout.mDstBytesPerPixel, block,
                    static_cast<size_t>(remainder * layout.mDstBytesPerPixel));
    }
}

}  // namespace KVX::Converter::Video
