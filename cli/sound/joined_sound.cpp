#include "cli/sound/joined_sound.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kvx_cli {

JoinedSound::JoinedSound(std::vector<std::unique_ptr<SoundSource>> sources)
    : mSources(std::move(sources)), mFormat(mSources.front()->Format()) {
    mFormat.channels = 0;
    for (const auto& source : mSources) {
        mFormat.channels += source->Format().channels;
        mFrames = std::max(mFrames, source->Frames());
    }
    // Speakers are named only for a single sound.
    mFormat.namesSpeakers = mSources.size() == 1;
}

bool JoinedSound::CanJoin(const WavFormat& one, const WavFormat& other) {
    return one.sampleRate == other.sampleRate && one.bits == other.bits &&
           one.isFloat == other.isFloat;
}

size_t JoinedSound::ReadBlock(std::vector<uint8_t>& block) {
    const auto frames = static_cast<size_t>(std::min<uint64_t>(kBlockFrames, mFrames - mDone));
    const size_t frameSize = BytesPerFrame(mFormat);
    // The silence of 8 bits is in the middle of what has no sign.
    block.assign(frames * frameSize, mFormat.bits == 8 ? 0x80 : 0);
    size_t place = 0;
    for (const auto& source : mSources) {
        const size_t read = source->ReadBlock(mPart);
        if (source->GetProblem() || source->HasTimedOut()) {
            mProblem = source->GetProblem();
            mHasTimedOut = source->HasTimedOut();
            return 0;
        }
        const uint64_t left = source->Frames() - std::min(mDone, source->Frames());
        if (read < std::min<uint64_t>(frames, left)) {
            mProblem = {kExitFailed, "it has become shorter meanwhile"};
            return 0;
        }
        const size_t partSize = BytesPerFrame(source->Format());
        for (size_t frame = 0; frame < std::min(read, frames); ++frame) {
            std::memcpy(&block[frame * frameSize + place], &mPart[frame * partSize], partSize);
        }
        place += partSize;
    }
    mDone += frames;
    return frames;
}

}  // namespace kvx_cli
