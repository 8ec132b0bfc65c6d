#include "cli/sound/float_sound.h"

#include <utility>

namespace kvx_cli {

static_assert(SoundReader::kBlockFrames == SoundSource::kBlockFrames, "a block is a block");

FloatSound::FloatSound(std::unique_ptr<SoundReader> reader, const WavFormat& format,
                       uint64_t frames)
    : mReader(std::move(reader)), mFormat(format), mFrames(frames) {}

size_t FloatSound::ReadBlock(std::vector<uint8_t>& block) {
    const size_t read = mDone < mFrames ? mReader->ReadBlock() : 0;
    const auto frames = static_cast<size_t>(std::min<uint64_t>(read, mFrames - mDone));
    block.resize(frames * BytesPerFrame(mFormat));
    // Every processor that this is built for has the order of a WAV file.
    Interleave(mReader->Planes(), mFormat.channels, frames, reinterpret_cast<float*>(block.data()));
    mDone += frames;
    return frames;
}

}  // namespace kvx_cli
