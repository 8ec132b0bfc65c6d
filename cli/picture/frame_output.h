#pragma once

#include <cstdint>
#include <string>

#include "cli/output/exit_code.h"
#include "cli/output/input_files.h"
#include "cli/output/output_file.h"
#include "cli/picture/png_file.h"
#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// Where the frames of a movie go, one after the other.
class FrameOutput {
  public:
    virtual ~FrameOutput() = default;

    // The host's format in which the frames must come.
    virtual PrPixelFormat Format() const = 0;

    // Whether the place of a frame shows which one it is. If not, one that is missing moves all
    // that follow.
    virtual bool NamesFrames() const = 0;

    // Open comes first, Finish last.
    virtual Problem Open() = 0;
    virtual Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) = 0;
    virtual Problem WriteZeros(int64_t frame) = 0;
    virtual Problem Finish() = 0;
};

// A PNG file for each frame, in a folder that is made if it is not there.
class PngOutput : public FrameOutput {
  public:
    // `depth` is the bits of a component, 8 or 16. No file of `inputs` is written over.
    PngOutput(std::string folder, const InputFiles& inputs, int depth, PixelAspect aspect);

    PrPixelFormat Format() const override;
    bool NamesFrames() const override { return true; }
    Problem Open() override;
    Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) override;
    Problem WriteZeros(int64_t frame) override;
    Problem Finish() override { return {}; }

  private:
    std::string mFolder;
    const InputFiles* mInputs;
    int mDepth;
    PixelAspect mAspect;
};

// What the bytes of a frame in the file are: the layout's code and the size in pixels.
struct RawLayout {
    uint32_t fileFormat;
    int width;
    int height;
};

// Frames as the bytes that they have in the file: a file for each in a folder that is made if it is
// not there, or one after the other on standard output.
class RawOutput : public FrameOutput {
  public:
    // "-" is standard output. Files are called <frame number>.<fileFormat>. With `custom` the
    // frames come in the importer's own pixel format. No file of `inputs` is written over.
    RawOutput(std::string place, const InputFiles& inputs, const RawLayout& layout, bool custom);

    PrPixelFormat Format() const override;
    bool NamesFrames() const override { return !mIsStream; }
    Problem Open() override;
    Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) override;
    Problem WriteZeros(int64_t frame) override;
    Problem Finish() override;

  private:
    std::string mPlace;
    bool mIsStream;
    const InputFiles* mInputs;
    RawLayout mLayout;
    bool mCustom;
    OutputFile mStream;
};

}  // namespace kvx_cli
