// Every routine of the video converters: what it asks of its memory, how far past the width it
// reads and writes, and the plain model of what it does.
#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace kvx_test::geometry {

// Bytes that `width` pixels take in a layout of `mBytes` for each `mPixels`.
struct RowSize {
    int mPixels;
    int mBytes;
    int Of(int width) const { return (width + mPixels - 1) / mPixels * mBytes; }
};

enum class Samples { kBytes, kWords, kFloats };

enum class Matrix { k601, k709 };

// Takes source, source row bytes, destination, destination row bytes, width, height.
using Conversion = std::function<void(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                      int width, int height, Matrix matrix)>;

struct Routine {
    std::string mName;
    Conversion mKernel;
    Conversion mModel;
    Samples mSource;
    RowSize mSrcRow;
    RowSize mDstRow;
    int mReadStep;       // pixels: rows are read in whole steps
    int mWriteStep;      // likewise
    int mLeastPixels;    // a shorter row is taken as one of these
    int mLastRowPixel;   // bytes of a pixel in a last row that ends at its width; 0: like all rows
    int mRemainderFrom;  // that last row's remainder is read at so many times its own offset
    int mSrcAlignment;   // of pointer and row bytes: 16, or 1 where anything goes
    int mDstAlignment;
    bool mRowsFollowPointer;  // row bytes are to be multiples of 16 if the pointer is
};

const std::vector<Routine>& Routines();

// For test names.
void PrintTo(const Routine& routine, std::ostream* to);

// Bytes about the pointers that a routine is given: from mLow, which is not above 0, up to mHigh.
struct Extent {
    std::ptrdiff_t mLow;
    std::ptrdiff_t mHigh;
};

// All that a frame may touch, for width and height of at least 1.
Extent ReadExtent(const Routine& routine, int width, int height, int srcRowBytes);
Extent WrittenExtent(const Routine& routine, int width, int height, int dstRowBytes);

}  // namespace kvx_test::geometry
