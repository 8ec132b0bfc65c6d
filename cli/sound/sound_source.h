#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cli/output/exit_code.h"
#include "cli/sound/wav_writer.h"

namespace kvx_cli {

// A sound that is read from its start, block by block, as a WAV file has it: interleaved, in that
// file's byte order and order of channels.
class SoundSource {
  public:
    SoundSource() = default;
    virtual ~SoundSource() = default;

    SoundSource(const SoundSource&) = delete;
    SoundSource& operator=(const SoundSource&) = delete;

    virtual const WavFormat& Format() const = 0;

    // Samples of all channels that will come, unless the file changes.
    virtual uint64_t Frames() const = 0;

    // The next block, of kBlockFrames or, as the last one, of fewer. Returns how many; 0 at the end
    // and after a failure, which GetProblem() distinguishes.
    virtual size_t ReadBlock(std::vector<uint8_t>& block) = 0;

    virtual const Problem& GetProblem() const = 0;

    // After a call that did not end in time: the program is to end at once.
    virtual bool HasTimedOut() const = 0;

    static constexpr size_t kBlockFrames = 1 << 16;
};

}  // namespace kvx_cli
