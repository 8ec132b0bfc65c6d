#pragma once

#include <cstdint>

#include "premiere/pixel_formats.h"

namespace KVX {

// The bytes of a frame that have been read, and the host's pixels that they become.
struct FrameConversion {
    uint32_t sourceFormat;  // four-character code, first character in the highest byte
    const char* source;
    long long sourceSize;  // bytes of the sample
    long long available;   // bytes that may be read, those after the sample included
    long sourceRowBytes;   // 0 for compressed sources
    PrPixelFormat format;
    char* pixels;
    int rowBytes;
    int width;
    int height;
    bool isSameLayout;  // the host's format is the file's: copies
};

// Copies or converts. Nothing is read past what is available, nor written past the host's rows by a
// copy in one piece. Compressed frames are passed silently: nothing decodes them, and the host gets
// the pixels as it made them. Returns 22 for a source format that is not known and for a sample too
// small for its frame, otherwise the converter's status. Logs as "Convert".
long CopyOrConvert(const FrameConversion& frame);

}  // namespace KVX
