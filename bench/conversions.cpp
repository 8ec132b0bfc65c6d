#include "conversions.h"

#include <cstdlib>
#include <iterator>

#include "convert/video/pixel_conversion.h"
#include "convert/video/r210.h"
#include "convert/video/uyvy.h"
#include "convert/video/v210.h"
#include "premiere/pixel_formats.h"

namespace kvx_bench {

namespace {

using namespace KVX::Converter::Video;
using namespace KVX::PixelConversion;

// Rows are whole runs of so many pixels in so many bytes.
struct RowForm {
    Layout mLayout;
    int mPixels;
    int mBytes;
};

constexpr RowForm kRowForms[] = {
    {Layout::k2vuy, 2, 4},   {Layout::kV210, 48, 128}, {Layout::kR210, 64, 256},
    {Layout::kBGRA8u, 1, 4}, {Layout::kBGRA16u, 1, 8}, {Layout::kBGRA32f, 1, 16},
    {Layout::kARGB8u, 1, 4}, {Layout::kRGBA8u, 1, 4},  {Layout::kRGB8u, 1, 3},
    {Layout::kRGB10, 1, 4},  {Layout::kUYVY, 2, 4},    {Layout::kYUV422p10, 6, 16},
};

template <auto kConvertTo, PrPixelFormat kFormat>
bool RunConvertTo(const Conversion& conversion, const char* source, char* destination,
                  const Size& size) {
    return kConvertTo(source, RowBytes(conversion.mSource, size.mWidth), static_cast<int>(kFormat),
                      destination, RowBytes(conversion.mDestination, size.mWidth), size.mWidth,
                      size.mHeight, kColourSpaceAuto, kConversionModeAuto) == 0;
}

template <auto kConvert>
bool RunFamily(const Conversion& conversion, const char* source, char* destination,
               const Size& size) {
    kConvert(static_cast<unsigned>(size.mWidth), static_cast<unsigned>(size.mHeight), destination,
             static_cast<unsigned>(RowBytes(conversion.mDestination, size.mWidth)),
             const_cast<char*>(source),
             static_cast<unsigned>(RowBytes(conversion.mSource, size.mWidth)));
    return true;
}

constexpr Conversion kConversions[] = {
    {"2vuy_to_BGRA_8u", Layout::k2vuy, Layout::kBGRA8u,
     RunConvertTo<uyvy::ConvertTo, PrPixelFormat_BGRA_4444_8u>},
    {"2vuy_to_BGRA_16u", Layout::k2vuy, Layout::kBGRA16u,
     RunConvertTo<uyvy::ConvertTo, PrPixelFormat_BGRA_4444_16u>},
    {"2vuy_to_BGRA_32f", Layout::k2vuy, Layout::kBGRA32f,
     RunConvertTo<uyvy::ConvertTo, PrPixelFormat_BGRA_4444_32f>},
    {"v210_to_BGRA_8u", Layout::kV210, Layout::kBGRA8u,
     RunConvertTo<v210::ConvertTo, PrPixelFormat_BGRA_4444_8u>},
    {"v210_to_BGRA_16u", Layout::kV210, Layout::kBGRA16u,
     RunConvertTo<v210::ConvertTo, PrPixelFormat_BGRA_4444_16u>},
    {"v210_to_BGRA_32f", Layout::kV210, Layout::kBGRA32f,
     RunConvertTo<v210::ConvertTo, PrPixelFormat_BGRA_4444_32f>},
    {"r210_to_BGRA_8u", Layout::kR210, Layout::kBGRA8u,
     RunConvertTo<r210::ConvertTo, PrPixelFormat_BGRA_4444_8u>},
    {"r210_to_BGRA_16u", Layout::kR210, Layout::kBGRA16u,
     RunConvertTo<r210::ConvertTo, PrPixelFormat_BGRA_4444_16u>},
    {"r210_to_BGRA_32f", Layout::kR210, Layout::kBGRA32f,
     RunConvertTo<r210::ConvertTo, PrPixelFormat_BGRA_4444_32f>},
    {"r210_to_V210", Layout::kR210, Layout::kV210,
     RunConvertTo<r210::ConvertTo, PrPixelFormat_V210_422_10u_709>},

    {"8YUV422_SD", Layout::kR210, Layout::kUYVY, RunFamily<Convert_10XRGB_BE_SMPTE_To_8YUV422_SD>},
    {"8YUV422_HD", Layout::kR210, Layout::kUYVY, RunFamily<Convert_10XRGB_BE_SMPTE_To_8YUV422_HD>},
    {"10YUV422_LE_SD", Layout::kR210, Layout::kYUV422p10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_SD>},
    {"10YUV422_LE_HD", Layout::kR210, Layout::kYUV422p10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_HD>},
    {"8ARGB_FULL", Layout::kR210, Layout::kARGB8u,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_8ARGB_FULL>},
    {"8BGRA_FULL", Layout::kR210, Layout::kBGRA8u,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL>},
    {"8BGRA_FULL_Scalar", Layout::kR210, Layout::kBGRA8u,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL_Scalar>},
    {"8RGBA_FULL", Layout::kR210, Layout::kRGBA8u,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_8RGBA_FULL>},
    {"10RGBX_LE_SMPTE", Layout::kR210, Layout::kRGB10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_SMPTE>},
    {"10RGBX_BE_SMPTE", Layout::kR210, Layout::kRGB10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_SMPTE>},
    {"10RGBX_LE_FULL", Layout::kR210, Layout::kRGB10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL>},
    {"10RGBX_BE_FULL", Layout::kR210, Layout::kRGB10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_FULL>},
    {"10RGBA_BE_FULL", Layout::kR210, Layout::kRGB10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10RGBA_BE_FULL>},
    {"8RGB_FULL", Layout::kR210, Layout::kRGB8u, RunFamily<Convert_10XRGB_BE_SMPTE_To_8RGB_FULL>},
    {"10XRGB_BE_FULL", Layout::kR210, Layout::kRGB10,
     RunFamily<Convert_10XRGB_BE_SMPTE_To_10XRGB_BE_FULL>},
};

}  // namespace

int RowBytes(Layout layout, int width) {
    for (const RowForm& form : kRowForms) {
        if (form.mLayout == layout) {
            return (width + form.mPixels - 1) / form.mPixels * form.mBytes;
        }
    }
    std::abort();
}

size_t FrameBytes(Layout layout, const Size& size) {
    return static_cast<size_t>(RowBytes(layout, size.mWidth)) * static_cast<size_t>(size.mHeight);
}

Conversions AllConversions() {
    return {kConversions, std::size(kConversions)};
}

}  // namespace kvx_bench
