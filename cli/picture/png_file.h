#pragma once

#include <cstdint>

#include "cli/output/output_file.h"
#include "cli/picture/picture.h"

namespace kvx_cli {

// How much wider than high a pixel is shown; 1:1 where a movie does not tell.
struct PixelAspect {
    uint32_t width = 1;
    uint32_t height = 1;
};

// Writes the picture as a PNG file, with the pixel aspect in its pHYs chunk unless pixels are
// square.
Problem WritePng(OutputFile& file, const Picture& picture, PixelAspect aspect);

}  // namespace kvx_cli
