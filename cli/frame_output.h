#pragma once

#include <cstdint>
#include <string>

#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// Where the frames of a movie go, one after the other.
class FrameOutput {
  public:
    virtual ~FrameOutput() = default;

    // The host's format in which the frames must come.
    virtual PrPixelFormat Format() const = 0;

    // Each answers what went wrong, or nothing. Open comes first.
    virtual std::string Open() = 0;
    virtual std::string Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) = 0;
};

}  // namespace kvx_cli
