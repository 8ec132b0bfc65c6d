#include "cli/sound/sound_reader.h"

#include <algorithm>
#include <cstring>

#include "cli/movie/module_log.h"
#include "cli/movie/refusal.h"

namespace kvx_cli {

namespace {

constexpr size_t kMostChannels = 6;

// Not a number that any encoder writes. A stream's stated length is rounded to the movie's time
// scale and may pass the last sample; the importer leaves what lies beyond untouched.
constexpr uint32_t kUntouched = 0x7FA1B2C3;

bool IsUntouched(float sample) {
    uint32_t bits;
    std::memcpy(&bits, &sample, sizeof bits);
    return bits == kUntouched;
}

}  // namespace

SoundReader::SoundReader(const kvx_hostkit::Clip& clip, int32_t streamID,
                         const imFileInfoRec8& info)
    : mClip(&clip),
      mStreamID(streamID),
      // Copied first: the host's records are packed, and std::max takes references.
      mChannels(static_cast<size_t>(std::max(int32_t{info.audioChannels}, 0))),
      mLength(info.audioDuration) {}

bool SoundReader::Start() {
    // A request for no frames is refused like any other when the sound cannot be delivered.
    mPlanePointers.assign(kMostChannels, nullptr);
    if (!Call(0, 0)) {
        return false;
    }
    mChannels = std::min(mChannels, kMostChannels);
    mSamples.resize(mChannels * kBlockFrames);
    for (size_t channel = 0; channel < mChannels; ++channel) {
        mPlanePointers[channel] = &mSamples[channel * kBlockFrames];
    }
    return true;
}

size_t SoundReader::ReadBlock() {
    const int64_t left = mLength - mPosition;
    if (mAtEnd || left <= 0) {
        return 0;
    }
    float untouched;
    std::memcpy(&untouched, &kUntouched, sizeof untouched);
    std::fill(mSamples.begin(), mSamples.end(), untouched);

    const size_t wanted = static_cast<size_t>(std::min(left, static_cast<int64_t>(kBlockFrames)));
    if (!Call(mPosition, wanted)) {
        mAtEnd = true;
        return 0;
    }
    const size_t delivered = DeliveredFrames(wanted);
    mPosition += static_cast<int64_t>(delivered);
    // Nothing is asked for beyond the last sample, which no host should do.
    mAtEnd = delivered < wanted;
    return delivered;
}

bool SoundReader::Call(int64_t position, size_t frames) {
    const ModuleLog log;
    const long status =
        mClip->ReadAudio(mStreamID, position, static_cast<uint32_t>(frames), mPlanePointers.data());
    if (status != imNoErr) {
        mProblem = RefusalInWords(status, log.Text());
    }
    return status == imNoErr;
}

size_t SoundReader::DeliveredFrames(size_t frames) const {
    while (frames > 0 && IsUntouched(mSamples[frames - 1])) {
        --frames;
    }
    return frames;
}

}  // namespace kvx_cli
