#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "cli/output/exit_code.h"
#include "cli/output/input_files.h"
#include "cli/output/output_file.h"
#include "cli/picture/png_file.h"
#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// What the file of a frame is called, without its extension.
using FrameNamer = std::function<std::string(int64_t frame)>;

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
    // `hold` keeps the pixels where they are, for work on them that outlasts the call.
    virtual Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view,
                          std::shared_ptr<const void> hold) = 0;
    virtual Problem WriteZeros(int64_t frame) = 0;
    virtual Problem Finish() = 0;  // also after a problem
};

// A PNG file for each frame, in a folder that is made if it is not there, or one on standard
// output. While one is compressed, the next may be handed over; they are finished in order.
class PngOutput : public FrameOutput {
  public:
    // "-" is standard output. `depth` is the bits of a component, 8 or 16. `pool` compresses. No
    // file of `inputs` is written over.
    PngOutput(std::string place, const InputFiles& inputs, int depth, const PngSettings& settings,
              WorkerPool& pool, FrameNamer name);

    PrPixelFormat Format() const override;
    bool NamesFrames() const override { return true; }
    Problem Open() override;
    Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view,
                  std::shared_ptr<const void> hold) override;
    Problem WriteZeros(int64_t frame) override;
    Problem Finish() override;

  private:
    struct Picture {
        std::string place;
        std::shared_ptr<const void> hold;
        std::unique_ptr<PngEncoding> encoding;
    };

    Problem FinishFirst();

    std::string mPlace;
    const InputFiles* mInputs;
    int mDepth;
    PngSettings mSettings;
    WorkerPool* mPool;
    FrameNamer mName;
    std::deque<Picture> mPictures;  // that are being compressed
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
    // "-" is standard output. Files have the format's code as extension. With `custom` the
    // frames come in the importer's own pixel format. No file of `inputs` is written over.
    RawOutput(std::string place, const InputFiles& inputs, const RawLayout& layout, bool custom,
              FrameNamer name);

    PrPixelFormat Format() const override;
    bool NamesFrames() const override { return !mIsStream; }
    Problem Open() override;
    Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view,
                  std::shared_ptr<const void> hold) override;
    Problem WriteZeros(int64_t frame) override;
    Problem Finish() override;

  private:
    std::string mPlace;
    bool mIsStream;
    const InputFiles* mInputs;
    RawLayout mLayout;
    bool mCustom;
    FrameNamer mName;
    OutputFile mStream;
};

}  // namespace kvx_cli
