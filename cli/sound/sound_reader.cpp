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
                         const imFileInfoRec8& info, TimeLimit& limit)
    : mClip(&clip),
      mStreamID(streamID),
      mLimit(&limit),
      // Copied first: the host's records are packed, and std::max takes references.
      mChannels(static_cast<size_t>(std::max(int32_t{info.audioChannels}, 0))),
      mLength(info.audioDuration),
      mBuffer(std::make_shared<Buffer>()) {}

bool SoundReader::Start() {
    // A request for no frames is refused like any other when the sound cannot be delivered.
    mBuffer->planes.assign(kMostChannels, nullptr);
    if (!Call(0, 0)) {
        return false;
    }
    mChannels = std::min(mChannels, kMostChannels);
    mBuffer->samples.resize(mChannels * kBlockFrames);
    for (size_t channel = 0; channel < mChannels; ++channel) {
        mBuffer->planes[channel] = &mBuffer->samples[channel * kBlockFrames];
    }
    return true;
}

int64_t SoundReader::FindLength() {
    // Up to `known` frames are delivered, of those after `end` none.
    int64_t known = 0;
    int64_t end = std::max<int64_t>(mLength, 0);
    for (int64_t probe = end - 1; known < end && !mHasTimedOut; probe = known + (end - known) / 2) {
        if (Deliver(probe, 1) == 1) {
            known = probe + 1;
        } else {
            end = probe;
        }
    }
    if (!mHasTimedOut) {
        mProblem = {};  // that of a request after the end
    }
    return known;
}

size_t SoundReader::ReadBlock() {
    const int64_t left = mLength - mPosition;
    if (mAtEnd || left <= 0) {
        return 0;
    }
    const size_t wanted = static_cast<size_t>(std::min(left, static_cast<int64_t>(kBlockFrames)));
    const size_t delivered = Deliver(mPosition, wanted);
    mPosition += static_cast<int64_t>(delivered);
    // Nothing is asked for beyond the last sample, which no host should do.
    mAtEnd = delivered < wanted;
    return delivered;
}

size_t SoundReader::ReadAt(int64_t position, size_t frames) {
    return Deliver(position, std::min(frames, kBlockFrames));
}

// The number of frames that come; 0 at a failure, too.
size_t SoundReader::Deliver(int64_t position, size_t frames) {
    float untouched;
    std::memcpy(&untouched, &kUntouched, sizeof untouched);
    for (size_t channel = 0; channel < mChannels; ++channel) {
        std::fill_n(mBuffer->planes[channel], frames, untouched);
    }
    if (!Call(position, frames)) {
        return 0;
    }
    while (frames > 0 && IsUntouched(mBuffer->samples[frames - 1])) {
        --frames;
    }
    return frames;
}

bool SoundReader::Call(int64_t position, size_t frames) {
    mProblem = {};
    const ModuleLog log;
    const auto status =
        mLimit->Ask<long>([clip = mClip, stream = mStreamID, buffer = mBuffer, position, frames] {
            return clip->ReadAudio(stream, position, static_cast<uint32_t>(frames),
                                   buffer->planes.data());
        });
    if (!status) {
        mHasTimedOut = true;
        mProblem = {kExitFailed, mLimit->Words()};
    } else if (*status != imNoErr) {
        mProblem = Refusal(*status, log.Text());
    }
    return !mProblem;
}

}  // namespace kvx_cli
