// 10-bit 4:2:2: six pixels in four little-endian 32-bit words of three samples each, from the low
// bits up: Cb0 Y0 Cr0, Y1 Cb2 Y2, Cr2 Y3 Cb4, Y4 Cr4 Y5. Black is at Y 64, no colour at Cb and Cr
// 512. Known to QuickTime files as "v210".
#pragma once

#include "convert/video/conversion.h"

namespace KVX::Converter::Video {

class v210 {
  public:
    // Converts a frame to one of the BGRA formats and flips it; both pixels of a pair get the
    // pair's own chroma. A destination with negative row bytes is first taken as the same memory
    // walked upward from its lowest row. Vector code reads whole groups of 24 pixels and writes
    // them past the width in all rows but the last, scalar code whole groups of six in every row.
    // Returns 0, or 22 without writing anything for any other format.
    static long ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                          int dstRowBytes, int width, int height, ColourSpace colourSpace,
                          ConversionMode mode);

    // The reverse: `src` is one of the BGRA formats, `dst` v210 with chroma filtered to the even
    // pixels. Whole groups of 24 pixels (vector) or six (scalar) are read and written in every row.
    static long CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                           int dstRowBytes, int width, int height, ColourSpace colourSpace,
                           ConversionMode mode);

    // Vector code. Destinations are aligned to 16 bytes, pointer and row bytes; sources may have
    // any alignment.
    static void VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                  int width, int height, TransformMatrix* matrix);
    static void VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix);
    static void VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix);

    // Sources are aligned likewise here, except that of the MisSrc routine.
    static void VectorCreateFrom8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix);
    static void VectorCreateFrom8uMisSrc(const char* src, int srcRowBytes, char* dst,
                                         int dstRowBytes, int width, int height,
                                         TransformMatrix* matrix);
    static void VectorCreateFrom16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix);
    static void VectorCreateFrom32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix);

    // Scalar code, for T = unsigned char, unsigned short and float: groups of six pixels, at any
    // alignment.
    template <typename T>
    static void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                int width, int height, TransformMatrix* matrix);
    template <typename T>
    static void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                 int width, int height, TransformMatrix* matrix);
};

}  // namespace KVX::Converter::Video
