// 10-bit studio-range RGB in big-endian words, "r210" to QuickTime files, to fifteen other layouts.
//
// Each conversion is a chain of small stages that is inlined into one body: see
// pixel_family/transform.h. In their names SMPTE says that levels stay in studio range, 64 to 940,
// and FULL that they are expanded to full range, 0 to 1020; SD and HD choose the matrix, Rec. 601
// or Rec. 709.
//
// All take `width` pixels of `height` rows. Both frames are top-down: rows are not flipped. Row
// bytes are the distance from one row to the next and may be negative as 32-bit integers. Pointers
// need no alignment; but if one is a multiple of 16, its row bytes must be as well, since they are
// not checked. A conversion cannot fail. A width or height of 0 does nothing.
//
// Source pixels past the width are not read, and the bytes written for a row are given below. The
// YUV layouts are the exception: their first block of 8 (8YUV422) or 12 pixels (10YUV422) is read
// and written whole, even if the row is shorter. Where the layout goes on past the width to the end
// of a pixel pair or of a group of six, the row's last pixel is repeated.
//
// No state is kept between calls; any number of threads may convert, each its own frame.
#pragma once

namespace KVX::PixelConversion {

// 8-bit 4:2:2, Cb Y Cr Y. Four bytes for each pair of pixels begun.
void Convert_10XRGB_BE_SMPTE_To_8YUV422_SD(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_8YUV422_HD(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes);

// 10-bit 4:2:2 in the words of v210. 16 bytes for each six pixels begun.
void Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_SD(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_HD(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes);

// Four bytes a pixel, in the order of the name, opaque. The scalar one rounds where the others
// truncate.
void Convert_10XRGB_BE_SMPTE_To_8ARGB_FULL(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL_Scalar(unsigned int width, unsigned int height,
                                                  void* dst, unsigned int dstRowBytes, void* src,
                                                  unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_8RGBA_FULL(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes);

// A word a pixel, little- or big-endian: R in bits 31-22, G in 21-12, B in 11-2. Bits 1-0 are zero,
// or with A both one. LE_FULL is the host's PrPixelFormat_RGB_444_10u.
void Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_SMPTE(unsigned int width, unsigned int height, void* dst,
                                                unsigned int dstRowBytes, void* src,
                                                unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_SMPTE(unsigned int width, unsigned int height, void* dst,
                                                unsigned int dstRowBytes, void* src,
                                                unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes);
void Convert_10XRGB_BE_SMPTE_To_10RGBA_BE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes);

// Three bytes a pixel, R, G, B.
void Convert_10XRGB_BE_SMPTE_To_8RGB_FULL(unsigned int width, unsigned int height, void* dst,
                                          unsigned int dstRowBytes, void* src,
                                          unsigned int srcRowBytes);

// The layout of the source, its levels expanded to full range.
void Convert_10XRGB_BE_SMPTE_To_10XRGB_BE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes);

}  // namespace KVX::PixelConversion
