#include "convert/video/yuv_choice.h"

#include <cstdio>

#include "core/status.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

bool MustRevertYUV(Alignment alignment, int hostFormat) {
    return !alignment.mDestination ||
           (!alignment.mSource && hostFormat != static_cast<int>(PrPixelFormat_BGRA_4444_8u));
}

long RunYUV(YUVRoutine* routine, const char* src, int srcRowBytes, char* dst, int dstRowBytes,
            int width, int height, TransformMatrix matrix) {
    if (routine == nullptr) {
        std::fputs("Unsupported pixel format\n", stderr);
        return Core::kStatusInvalid;
    }
    routine(src, srcRowBytes, dst, dstRowBytes, width, height, &matrix);
    return 0;
}

}  // namespace KVX::Converter::Video
