// A frame's bytes in the layout that they have in the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// The host's format that has the same bytes as a file of this four-character code; where there is
// none, kKVXCustomPixelFormat, which carries the file's bytes as they are.
PrPixelFormat RawPixelFormat(uint32_t fileFormat);

// The bytes of a frame of that code, width and height in the file, where rows of "v210" take whole
// multiples of 128 bytes and those of "r210" whole multiples of 256.
size_t RawFrameSize(uint32_t fileFormat, int width, int height);

struct ByteSpan {
    const char* begin;
    size_t size;
};

// The parts of the buffer that are the frame's bytes in the file, in order: its rows without the
// padding that the host gave them, or what follows the header of a kKVXCustomPixelFormat frame.
// Empty if that header makes no sense.
std::vector<ByteSpan> RawBytes(const kvx_hostkit::PixelBufferView& view);

}  // namespace kvx_cli
