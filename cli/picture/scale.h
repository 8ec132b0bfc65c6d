#pragma once

#include "cli/picture/picture.h"
#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// A frame in PictureFormat(8) made smaller: each pixel is the average of the area that it covers.
// `width` and `height` are above 0, and at most the frame's own.
Picture ScaledDown(const kvx_hostkit::PixelBufferView& view, int width, int height);

}  // namespace kvx_cli
