#pragma once

#include <memory>
#include <vector>

#include "cli/sound/sound_source.h"

namespace kvx_cli {

// Several sounds as one, whose channels are all of theirs, one sound's after the other's. The
// shorter ones end in silence.
class JoinedSound : public SoundSource {
  public:
    // `sources`: at least one, all of the same rate and form.
    explicit JoinedSound(std::vector<std::unique_ptr<SoundSource>> sources);

    // Whether two can be channels of one sound.
    static bool CanJoin(const WavFormat& one, const WavFormat& other);

    const WavFormat& Format() const override { return mFormat; }
    uint64_t Frames() const override { return mFrames; }
    size_t ReadBlock(std::vector<uint8_t>& block) override;
    const Problem& GetProblem() const override { return mProblem; }
    bool HasTimedOut() const override { return mHasTimedOut; }

  private:
    std::vector<std::unique_ptr<SoundSource>> mSources;
    WavFormat mFormat;
    uint64_t mFrames = 0;
    uint64_t mDone = 0;
    std::vector<uint8_t> mPart;
    Problem mProblem;
    bool mHasTimedOut = false;
};

}  // namespace kvx_cli
