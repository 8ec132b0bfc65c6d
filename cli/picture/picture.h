// Frames as pictures for people: from the top down, in the order of picture files.
#pragma once

#include <cstdint>
#include <vector>

#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// R, G, B, without alpha: the formats that are imported have none.
struct Picture {
    int width = 0;
    int height = 0;
    int depth = 8;               // bits of a component, 8 or 16
    std::vector<uint8_t> bytes;  // rows without padding; components of 16 bits are big-endian
};

// The host's format to ask for, for pictures of `depth` bits.
PrPixelFormat PictureFormat(int depth);

// Writes a row of a frame in one of those formats, counted from the top, as it is in a picture.
// `view` has its lowest row first. The host's 16-bit white is 32768.
void WritePictureRow(const kvx_hostkit::PixelBufferView& view, int row, uint8_t* bytes);

// All of them.
Picture PictureOf(const kvx_hostkit::PixelBufferView& view);

}  // namespace kvx_cli
