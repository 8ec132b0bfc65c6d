#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/picture/frame_output.h"
#include "premiere/import_records.h"

namespace kvx_cli {

// What is wrong with a movie's video for a YUV4MPEG2 stream: it is not Y'CbCr. Nothing if it is.
Problem CheckY4m(const imFileInfoRec8& video);

// Frames one after the other in a YUV4MPEG2 file, or on standard output, as the planes of their own
// Y'CbCr levels: C422 of 8 bits from 2vuy, C422p10 from v210. Its header has size, rate, fields,
// pixel aspect and that the levels are those of studio range. It has no place for the matrix.
class Y4mOutput : public FrameOutput {
  public:
    // `place` is a file, or "-". No file of `inputs` is written over. CheckY4m first.
    Y4mOutput(std::string place, const InputFiles& inputs, const imFileInfoRec8& video);

    PrPixelFormat Format() const override;
    bool NamesFrames() const override { return false; }
    Problem Open() override;
    Problem Write(int64_t frame, const kvx_hostkit::PixelBufferView& view,
                  std::shared_ptr<const void> hold) override;
    // Black, which is not zero here.
    Problem WriteZeros(int64_t frame) override;
    Problem Finish() override;

  private:
    // Makes a row of each plane.
    using MakeRow = std::function<void(int row, uint8_t* luma, uint8_t* blue, uint8_t* red)>;
    // A frame of such rows, in order.
    Problem WritePlanes(const MakeRow& makeRow);

    std::string mPlace;
    const InputFiles* mInputs;
    std::string mHead;
    int mWidth;
    int mHeight;
    int mDepth;
    size_t mSampleBytes;
    size_t mLumaBytes = 0;  // of a row
    size_t mChromaBytes = 0;
    int mStripRows = 1;
    std::vector<uint8_t> mLuma;  // of so many rows
    std::vector<uint8_t> mBlue;  // of a frame
    std::vector<uint8_t> mRed;
    OutputFile mFile;
    bool mIsOpen = false;
};

}  // namespace kvx_cli
