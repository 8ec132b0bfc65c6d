#pragma once

#include <cstdint>
#include <string>

#include "cli/picture/png_file.h"
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
