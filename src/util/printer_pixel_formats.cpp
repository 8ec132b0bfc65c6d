#include <cstring>

#include "core/four_char_code.h"
#include "premiere/pixel_formats.h"
#include "util/printer.h"
#include "util/printer_tables.h"

namespace KVX::Util::Printer {

namespace {

using Core::FourCharCode;

// Codes of sample descriptions, first character in the most significant byte.
constexpr NamedValue kSourceFormats[] = {
    {32, "kvxFormat8BitARGB"},
    {FourCharCode("2Vuy"), "2Vuy"},
    {FourCharCode("2vuy"), "kvxFormat8BitYUV"},
    {FourCharCode("BGRA"), "kvxFormat8BitBGRA"},
    {FourCharCode("R10B"), "kvxFormat10BitRGBX_FULL"},
    {FourCharCode("R10L"), "kvxFormat10BitRGBXLE_FULL"},
    {FourCharCode("R10b"), "kvxFormat10BitRGBX"},
    {FourCharCode("R10l"), "kvxFormat10BitRGBXLE"},
    {FourCharCode("r210"), "kvxFormat10BitRGB"},
    {FourCharCode("v210"), "kvxFormat10BitYUV"},
    {FourCharCode("dv1n"), "DVCPRO100 NTSC"},
    {FourCharCode("dv1p"), "DVCPRO100 PAL"},
    {FourCharCode("dv5n"), "DVCPRO50 NTSC"},
    {FourCharCode("dv5p"), "DVCPRO50 PAL"},
    {FourCharCode("dvc "), "DV NTSC"},
    {FourCharCode("dvsd"), "DV NTSC"},
    {FourCharCode("dvcp"), "DV PAL"},
    {FourCharCode("dvpp"), "DV PAL"},
    {FourCharCode("pvsd"), "DV PAL"},
    {FourCharCode("dvh5"), "DVCPROHD 1080i50"},
    {FourCharCode("dvh6"), "DVCPROHD 1080i59.94"},
    {FourCharCode("dvhp"), "DVCPROHD 720p59.94"},
    {FourCharCode("dvhq"), "DVCPROHD 720p50"},
    {FourCharCode("jpeg"), "JPEG"},
};

// The host's codes, first character in the least significant byte.
constexpr NamedValue kPremiereFormats[] = {
    {PrPixelFormat_Any, "PrPixelFormat_Any"},
    {PrPixelFormat_V210_422_10u_601, "PrPixelFormat_V210_422_10u_601"},
    {PrPixelFormat_V210_422_10u_709, "PrPixelFormat_V210_422_10u_709"},
    {PrPixelFormat_RGB_444_10u, "PrPixelFormat_RGB_444_10u"},
    {PrPixelFormat_NTSCDV100_1080i, "PrPixelFormat_NTSCDV100_1080i"},
    {PrPixelFormat_PALDV100_1080i, "PrPixelFormat_PALDV100_1080i"},
    {PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601,
     "PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601"},
    {PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601,
     "PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601"},
    {PrPixelFormat_NTSCDV25, "PrPixelFormat_NTSCDV25"},
    {PrPixelFormat_PALDV25, "PrPixelFormat_PALDV25"},
    {PrPixelFormat_YUYV_422_8u_601, "PrPixelFormat_YUYV_422_8u_601"},
    {PrPixelFormat_YUYV_422_8u_709, "PrPixelFormat_YUYV_422_8u_709"},
    {PrPixelFormat_NTSCDV50, "PrPixelFormat_NTSCDV50"},
    {PrPixelFormat_PALDV50, "PrPixelFormat_PALDV50"},
    {PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709,
     "PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709"},
    {PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709,
     "PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709"},
    {PrPixelFormat_NTSCDV100_720p, "PrPixelFormat_NTSCDV100_720p"},
    {PrPixelFormat_PALDV100_720p, "PrPixelFormat_PALDV100_720p"},
    {PrPixelFormat_UYVY_422_8u_709, "PrPixelFormat_UYVY_422_8u_709"},
    {kKVXCustomPixelFormat, "kKVXCustomPixelFormat"},
    {PrPixelFormat_BGRA_4444_32f, "PrPixelFormat_BGRA_4444_32f"},
    {PrPixelFormat_BGRA_4444_16u, "PrPixelFormat_BGRA_4444_16u"},
    {PrPixelFormat_BGRA_4444_8u, "PrPixelFormat_BGRA_4444_8u"},
    {PrPixelFormat_VUYA_4444_32f, "PrPixelFormat_VUYA_4444_32f"},
    {PrPixelFormat_VUYA_4444_8u, "PrPixelFormat_VUYA_4444_8u"},
    {PrPixelFormat_ARGB_4444_32f, "PrPixelFormat_ARGB_4444_32f"},
    {PrPixelFormat_ARGB_4444_16u, "PrPixelFormat_ARGB_4444_16u"},
    {PrPixelFormat_ARGB_4444_8u, "PrPixelFormat_ARGB_4444_8u"},
    {PrPixelFormat_Invalid, "PrPixelFormat_Invalid"},
    {PrPixelFormat_Raw, "PrPixelFormat_Raw"},
    {PrPixelFormat_BGRX_4444_32f, "PrPixelFormat_BGRX_4444_32f"},
    {PrPixelFormat_UYVY_422_8u_601, "PrPixelFormat_UYVY_422_8u_601"},
};

}  // namespace

const char* PixelFormat(long value, int) {
    return NameOrUnknown(kSourceFormats, value);
}

const char* PixelFormatPremiere(long value, int) {
    const char* source = PixelFormat(value);
    if (std::strncmp(source, kUnknownString, std::strlen(kUnknownString)) != 0) {
        return source;
    }
    return NameOrUnknown(kPremiereFormats, value);
}

}  // namespace KVX::Util::Printer
