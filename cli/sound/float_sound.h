#pragma once

#include <algorithm>

#include "cli/sound/sound_reader.h"
#include "cli/sound/sound_source.h"

namespace kvx_cli {

// A stream's sound as the importer delivers it: floats.
class FloatSound : public SoundSource {
  public:
    // As SoundReader, which has been started and has found its length: `frames`, or less.
    FloatSound(std::unique_ptr<SoundReader> reader, const WavFormat& format, uint64_t frames);

    const WavFormat& Format() const override { return mFormat; }
    uint64_t Frames() const override { return mFrames; }
    size_t ReadBlock(std::vector<uint8_t>& block) override;
    const Problem& GetProblem() const override { return mReader->GetProblem(); }
    bool HasTimedOut() const override { return mReader->HasTimedOut(); }

  private:
    std::unique_ptr<SoundReader> mReader;
    WavFormat mFormat;
    uint64_t mFrames;
    uint64_t mDone = 0;
};

}  // namespace kvx_cli
