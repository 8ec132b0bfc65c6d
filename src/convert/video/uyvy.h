// 8-bit 4:2:2: a pair of pixels in the four bytes U, Y0, V, Y1, black at Y 16, no colour at U and V
// 128. Known to QuickTime files as "2vuy" and "2Vuy".
#pragma once

#include "convert/video/conversion.h"

namespace KVX::Converter::Video {

class uyvy {
  public:
    // Converts a frame to one of the BGRA formats and flips it; both pixels of a pair get the
    // pair's own chroma. Row bytes may be negative. Vector code reads and writes whole steps of 16
    // pixels, past the width if necessary, scalar code whole pairs. Returns 0, or 22 without
    // writing anything for any other format.
    static long ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                          int dstRowBytes, int width, int height, ColourSpace colourSpace,
                          ConversionMode mode);

    // The reverse: `src` is one of the BGRA formats, `dst` 4:2:2 with chroma filtered to the even
    // pixels. Vector code works in steps of 24 pixels but writes nothing past the last row; if the
    // width is no multiple of 24, the remainder of that row is not made from its own pixels.
    static long CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                           int dstRowBytes, int width, int height, ColourSpace colourSpace,
                           ConversionMode mode);

    // Vector code. Destinations are aligned to 16 bytes, pointer and row bytes, and so are sources
    // except those of the MisSrc routines.
    static void VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                  int width, int height, TransformMatrix* matrix);
    static void VectorConvertTo8uMisSrc(const char* src, int srcRowBytes, char* dst,
                                        int dstRowBytes, int width, int height,
                                        TransformMatrix* matrix);
    static void VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix);
    static void VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix);

    static void VectorCreateFrom8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix);
    static void VectorCreateFrom8uMisSrc(const char* src, int srcRowBytes, char* dst,
                                         int dstRowBytes, int width, int height,
                                         TransformMatrix* matrix);
    static void VectorCreateFrom16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix);
    static void VectorCreateFrom32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix);

    // Scalar code, for T = unsigned char, unsigned short and float: pairs of pixels, at any
    // alignment, so that an odd width includes one pixel more.
    template <typename T>
    static void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                int width, int height, TransformMatrix* matrix);
    template <typename T>
    static void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                 int width, int height, TransformMatrix* matrix);
};

}  // namespace KVX::Converter::Video
