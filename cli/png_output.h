#pragma once

#include <string>

#include "cli/frame_output.h"
#include "cli/png_file.h"

namespace kvx_cli {

// A PNG file for each frame, in a folder that is made if it is not there.
class PngOutput : public FrameOutput {
  public:
    // `depth` is the bits of a component, 8 or 16.
    PngOutput(std::string folder, int depth, PixelAspect aspect);

    PrPixelFormat Format() const override;
    std::string Open() override;
    std::string Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) override;

  private:
    std::string mFolder;
    int mDepth;
    PixelAspect mAspect;
};

}  // namespace kvx_cli
