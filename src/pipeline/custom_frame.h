#pragma once

#include <cstdint>

namespace KVX {

#pragma pack(push, 1)

// What is at the start of the pixel memory of a kKVXCustomPixelFormat frame. The file's bytes
// follow in a page-aligned data area. Native byte order. The data area begins at the next page
// whatever the header's length: pixel memory that begins less than that before a page, which no
// host hands out, would have the end of its header read over.
struct CustomFrameHeader {
    uint32_t sourceFormat;    // four-character code, first character in the highest byte
    uint32_t sourceRowBytes;  // 0 for compressed sources
    uint32_t dataOffset;      // from the start of the pixel memory to the data area, 1 to 4096
    uint32_t dataLength;      // of the data area, whole pages
    uint32_t skew;            // the sample begins this many bytes into the data area
};
static_assert(sizeof(CustomFrameHeader) == 20, "known to the modules that read such frames");

#pragma pack(pop)

}  // namespace KVX
