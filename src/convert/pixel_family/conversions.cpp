// The fifteen conversions as chains of stages.
#include "convert/pixel_family/fused_bytes.h"
#include "convert/pixel_family/fused_rgb10.h"
#include "convert/pixel_family/fused_yuv.h"
#include "convert/pixel_family/stages_rgb.h"
#include "convert/pixel_family/stages_scalar.h"
#include "convert/pixel_family/stages_yuv.h"
#include "convert/pixel_family/transform.h"
#include "convert/video/pixel_conversion.h"

namespace KVX::PixelConversion {

namespace {

// Callers pass row bytes as unsigned, though they may be negative.
template <typename PIPE>
void Convert(unsigned int width, unsigned int height, void* dst, unsigned int dstRowBytes,
             void const* src, unsigned int srcRowBytes) {
    const FrameTransform<PIPE> frameTransform(src, width, height, static_cast<int>(srcRowBytes));
    const DestinationFrame destinationFrame = {dst, static_cast<int>(dstRowBytes)};
    frameTransform >> destinationFrame;
}

}  // namespace

void Convert_10XRGB_BE_SMPTE_To_8YUV422_SD(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes) {
    using PIPE = BIND3<BIND<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8>,
                       BGRAv8_TO_UYVYv8<StudioRange601, 10, 8, 0, 0>, PACK_UYVYv8_TO_UYVY>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_8YUV422_HD(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes) {
    using PIPE = BIND3<BIND<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8>,
                       BGRAv8_TO_UYVYv8<StudioRange709, 10, 8, 0, 0>, PACK_UYVYv8_TO_UYVY>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_SD(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes) {
    using PIPE = BIND3<BIND<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8>,
                       BGRAv8_TO_UYVYv8<StudioRange601, 10, 10, 0, 0>, PACK_UYVYv8_TO_V210>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_HD(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes) {
    using PIPE = BIND3<BIND<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8>,
                       BGRAv8_TO_UYVYv8<StudioRange709, 10, 10, 0, 0>, PACK_UYVYv8_TO_V210>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_8ARGB_FULL(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes) {
    using PIPE = BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>,
                       PACK_RGBv4_TO_ARGB>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes) {
    using PIPE = BIND4<UNPACK_R210_TO_RGBv8, RGBv8_STUDIO_TO_COMPUTER<10, 0>, RGBv8_BITDEPTH<-2>,
                       PACK_RGBv8_TO_BGRA>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL_Scalar(unsigned int width, unsigned int height,
                                                  void* dst, unsigned int dstRowBytes, void* src,
                                                  unsigned int srcRowBytes) {
    using PIPE = BIND3<UNPACK_R210_SCALAR, RGB_STUDIO_TO_COMPUTER_SCALAR, PACK_BGRA_SCALAR>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_8RGBA_FULL(unsigned int width, unsigned int height, void* dst,
                                           unsigned int dstRowBytes, void* src,
                                           unsigned int srcRowBytes) {
    using PIPE = BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>,
                       PACK_RGBv4_TO_RGBA>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_SMPTE(unsigned int width, unsigned int height, void* dst,
                                                unsigned int dstRowBytes, void* src,
                                                unsigned int srcRowBytes) {
    using PIPE = BIND<UNPACK_R210_TO_RGBv4, PACK_RGBv4_TO_R10KLE>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_SMPTE(unsigned int width, unsigned int height, void* dst,
                                                unsigned int dstRowBytes, void* src,
                                                unsigned int srcRowBytes) {
    using PIPE = BIND<UNPACK_R210_TO_RGBv4, PACK_RGBv4_TO_R10KBE>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes) {
    using PIPE = BIND3<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KLE>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes) {
    using PIPE = BIND3<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KBE>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10RGBA_BE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes) {
    using PIPE = BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KBE,
                       PAD_R10KBE_WITH_1>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_8RGB_FULL(unsigned int width, unsigned int height, void* dst,
                                          unsigned int dstRowBytes, void* src,
                                          unsigned int srcRowBytes) {
    using PIPE = BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>,
                       BIND<PACK_RGBv4_TO_RGBA, PACK_RGBA_TO_RGB>>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

void Convert_10XRGB_BE_SMPTE_To_10XRGB_BE_FULL(unsigned int width, unsigned int height, void* dst,
                                               unsigned int dstRowBytes, void* src,
                                               unsigned int srcRowBytes) {
    using PIPE = BIND3<UNPACK_R210_TO_RGBv8, RGBv8_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv8_TO_R210>;
    Convert<PIPE>(width, height, dst, dstRowBytes, src, srcRowBytes);
}

}  // namespace KVX::PixelConversion
