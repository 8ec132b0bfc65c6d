#pragma once

#include <cstdint>
#include <string>

#include "cli/frame_output.h"

namespace kvx_cli {

// Frames as the bytes that they have in the file: a file for each in a folder that is made if it is
// not there, or one after the other on standard output.
class RawOutput : public FrameOutput {
  public:
    // "-" is standard output. Files are called <frame number>.<fileFormat>. With `custom` the
    // frames come in the importer's own pixel format.
    RawOutput(std::string place, uint32_t fileFormat, bool custom);

    PrPixelFormat Format() const override;
    std::string Open() override;
    std::string Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) override;

  private:
    std::string mPlace;
    uint32_t mFileFormat;
    bool mCustom;
};

}  // namespace kvx_cli
