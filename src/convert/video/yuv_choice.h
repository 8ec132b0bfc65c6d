// What uyvy and v210 have in common in picking a routine.
#pragma once

#include "convert/video/choice.h"
#include "convert/video/conversion.h"

namespace KVX::Converter::Video {

using YUVRoutine = void(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                        int height, TransformMatrix* matrix);

// Only the 8-bit routines have a form for a misaligned source.
bool MustRevertYUV(Alignment alignment, int hostFormat);

// Runs what was picked and answers 0, or refuses with 22 when there was nothing to pick.
long RunYUV(YUVRoutine* routine, const char* src, int srcRowBytes, char* dst, int dstRowBytes,
            int width, int height, TransformMatrix matrix);

}  // namespace KVX::Converter::Video
