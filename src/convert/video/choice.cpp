#include "convert/video/choice.h"

#include "core/log.h"

namespace KVX::Converter::Video {

namespace {

struct FormatName {
    PrPixelFormat mFormat;
    const char* mName;
};

constexpr FormatName kFormatNames[] = {
    {PrPixelFormat_BGRA_4444_8u, "PrPixelFormat_BGRA_4444_8u"},
    {PrPixelFormat_BGRA_4444_16u, "PrPixelFormat_BGRA_4444_16u"},
    {PrPixelFormat_BGRA_4444_32f, "PrPixelFormat_BGRA_4444_32f"},
};

}  // namespace

const char* HostFormatName(int pixelFormat) {
    for (const FormatName& row : kFormatNames) {
        if (row.mFormat == static_cast<PrPixelFormat>(pixelFormat)) {
            return row.mName;
        }
    }
    return "<unknown>";
}

void LogRevert(const char* function, const char* from, const char* to, const char* src,
               int srcRowBytes, const char* dst, int dstRowBytes) {
    Core::LogText(
        "%s: Reverting to scalar code for conversion from %s to %s: srcPtr %p "
        "srcRowBytes 0x%x dstPtr %p dstRowBytes 0x%x\n",
        function, from, to, static_cast<const void*>(src), static_cast<unsigned>(srcRowBytes),
        static_cast<const void*>(dst), static_cast<unsigned>(dstRowBytes));
}

}  // namespace KVX::Converter::Video
