// 10-bit RGB, one pixel in a big-endian 32-bit word: two unused bits, then R, G and B, each from
// black at 64 to white at 940. Known to QuickTime files as "r210".
#pragma once

#include "convert/video/conversion.h"

namespace KVX::Converter::Video {

class r210 {
  public:
    // Builds the tables for a host format: PrPixelFormat_BGRA_4444_8u, 16u or 32f. The V210
    // formats need none and are accepted. Safe from several threads; once built, the tables exist
    // until the process ends. Returns 0, 22 for any other format, or 12 if a table could not be
    // allocated: those that could be stay set, and the next call starts again with all four.
    static long Init(int pixelFormat);

    // Converts a frame to one of the BGRA formats and flips it, or to one of the V210 formats
    // without flipping. V210 has only vector code, whatever the mode, and requires an aligned
    // destination. Row bytes may be negative. Vector code reads and writes whole steps of 8 pixels
    // (BGRA) or 24 (V210), past the width if necessary. Returns 0; or, without writing anything,
    // 12, or 22 for a format that cannot be made and for V210 with a misaligned destination.
    static long ConvertTo(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                          int dstRowBytes, int width, int height, ColourSpace colourSpace,
                          ConversionMode mode);

    // The reverse: `src` is one of the BGRA formats, `dst` r210. The colour space is not used. For
    // the V210 formats it returns 0 and writes nothing.
    static long CreateFrom(const char* src, int srcRowBytes, int srcPixelFormat, char* dst,
                           int dstRowBytes, int width, int height, ColourSpace colourSpace,
                           ConversionMode mode);

    // Vector code. Destinations are aligned to 16 bytes, pointer and row bytes, and so are sources
    // except those of the MisSrc routines. 8 pixels a step, whole steps.
    static void VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                  int width, int height);
    static void VectorConvertTo8uMisSrc(const char* src, int srcRowBytes, char* dst,
                                        int dstRowBytes, int width, int height);
    static void VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height);
    static void VectorConvertTo16uMisSrc(const char* src, int srcRowBytes, char* dst,
                                         int dstRowBytes, int width, int height);
    static void VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height);

    // 24 pixels a step, whole steps. They return 0.
    static long VectorConvertToV210(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix);
    static long VectorConvertToV210MisSrc(const char* src, int srcRowBytes, char* dst,
                                          int dstRowBytes, int width, int height,
                                          TransformMatrix* matrix);

    // 8 pixels a step from 8u, 4 from 16u and 32f, whole steps.
    static void VectorCreateFrom8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height);
    static void VectorCreateFrom8uMisSrc(const char* src, int srcRowBytes, char* dst,
                                         int dstRowBytes, int width, int height);
    static void VectorCreateFrom16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height);
    static void VectorCreateFrom16uMisSrc(const char* src, int srcRowBytes, char* dst,
                                          int dstRowBytes, int width, int height);
    static void VectorCreateFrom32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height);

    // Scalar code, for T = unsigned char, unsigned short and float: exactly `width` pixels a row,
    // at any alignment. Full scale comes out one level higher than from vector code. `lut` is the
    // component table for T; CreateFrom reads sR210LUT, so Init must have succeeded before.
    template <typename T>
    static void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                int width, int height, T* lut);
    template <typename T>
    static void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                 int width, int height);

    static constexpr int kLevels = 1024;              // of a 10-bit component
    static constexpr int kHostLevels16u = 32768 + 1;  // of the host's 16-bit scale, 0 to 32768

    // Null until Init has built them.
    static unsigned short* sR210LUT;          // r210 level for each of kHostLevels16u
    static unsigned char* s8uComponentLUT;    // host component for each of kLevels
    static unsigned short* s16uComponentLUT;  // likewise
    static float* s32fComponentLUT;           // likewise
};

}  // namespace KVX::Converter::Video
