// What uyvy and v210 have in common in picking a routine.
#pragma once

#include "convert/video/choice.h"
#include "convert/video/conversion.h"

namespace KVX::Converter::Video {

using YUVRoutine = void(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                        int height, TransformMatrix* matrix);

enum class YUVDirection { kToHost, kFromHost };

// One direction of one of the two converters.
struct YUVConversion {
    YUVDirection mDirection;
    const char* mFileLayout;  // in quotes, as revert lines have it
    // Whether a destination with negative row bytes is walked upward from its lowest row instead.
    bool mNeedsRisingRows;
    FormatRoutines<YUVRoutine> mRoutines[3];  // for each of the BGRA formats
};

struct YUVFrame {
    const char* mSrc;
    int mSrcRowBytes;
    char* mDst;
    int mDstRowBytes;
    int mWidth;
    int mHeight;
};

// Converts with the routine that suits the host's format, the mode and the alignment; reverts to
// scalar code with a log line where necessary. Returns 0, or 22 for an unknown format.
long ConvertYUV(const YUVConversion& conversion, const YUVFrame& frame, int hostFormat,
                ColourSpace colourSpace, ConversionMode mode);

}  // namespace KVX::Converter::Video
