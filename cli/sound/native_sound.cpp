#include "cli/sound/native_sound.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include "cli/movie/media_track.h"
#include "cli/output/text.h"
#include "inspect/sound_ranges.h"
#include "platform/core_audio_types.h"

namespace kvx_cli {

using kvx_inspect::FileRange;
using kvx_inspect::Report;
using kvx_inspect::SoundFacts;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;

namespace {

constexpr uint32_t kMostChannels = 1024;

// A WAV file has left, right, centre, LFE, left surround, right surround, as MPEG 5.1 A.
struct ChannelOrder {
    uint32_t tag;
    int places[6];
};
constexpr ChannelOrder kOrders[] = {
    {kAudioChannelLayoutTag_MPEG_5_1_B, {0, 1, 4, 5, 2, 3}},  // L R Ls Rs C LFE
    {kAudioChannelLayoutTag_MPEG_5_1_C, {0, 2, 1, 5, 3, 4}},  // L C R Ls Rs LFE
    {kAudioChannelLayoutTag_MPEG_5_1_D, {1, 2, 0, 5, 3, 4}},  // C L R Ls Rs LFE
};

const int* OrderOf(const SoundFacts& sound) {
    const auto order =
        std::find_if(std::begin(kOrders), std::end(kOrders), [&sound](const auto& row) {
            return sound.channels == 6 && row.tag == sound.layoutTag.value_or(0);
        });
    return order == std::end(kOrders) ? nullptr : order->places;
}

Problem CheckForm(const TrackFacts& track) {
    const SoundFacts& sound = *track.sound;
    const std::string bits = std::to_string(sound.bits);
    if (sound.isCompressed || sound.ownFormat.empty() || sound.channels == 0 ||
        sound.channels > kMostChannels ||
        sound.bytesPerFrame != sound.channels * (sound.bits / 8)) {
        return {kExitRefused, "its sound is \"" + FourCharText(track.format) + "\" of " + bits +
                                  " bits and " + std::to_string(sound.channels) +
                                  " channels, which is no PCM that a WAV file has"};
    }
    if (sound.bits > 8 && !sound.own.isFloat && !sound.own.isSigned) {
        return {kExitRefused,
                "its samples are unsigned and have " + bits + " bits, which no WAV file has"};
    }
    if (!(sound.rate >= 1 && sound.rate < 1 << 30)) {
        return {kExitRefused, "its sound does not state its rate"};
    }
    return {};
}

template <size_t kSize>
void Reverse(uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i, bytes += kSize) {
        std::reverse(bytes, bytes + kSize);
    }
}

void ReverseSamples(uint8_t* bytes, size_t count, size_t size) {
    switch (size) {
        case 2:
            return Reverse<2>(bytes, count);
        case 3:
            return Reverse<3>(bytes, count);
        case 4:
            return Reverse<4>(bytes, count);
        default:
            return Reverse<8>(bytes, count);
    }
}

// From the order of the file into that of a WAV file.
template <size_t kSize>
void Reorder(const uint8_t* from, uint8_t* to, size_t frames, const int* order) {
    for (size_t frame = 0; frame < frames; ++frame, from += 6 * kSize) {
        for (int channel = 0; channel < 6; ++channel, to += kSize) {
            std::memcpy(to, from + static_cast<size_t>(order[channel]) * kSize, kSize);
        }
    }
}

void ReorderSamples(const uint8_t* from, uint8_t* to, size_t frames, size_t size,
                    const int* order) {
    switch (size) {
        case 1:
            return Reorder<1>(from, to, frames, order);
        case 2:
            return Reorder<2>(from, to, frames, order);
        case 3:
            return Reorder<3>(from, to, frames, order);
        case 4:
            return Reorder<4>(from, to, frames, order);
        default:
            return Reorder<8>(from, to, frames, order);
    }
}

}  // namespace

// What a read that does not come back goes on to touch.
struct NativeSound::Media {
    Media(std::shared_ptr<const Report> ofReport, const TrackFacts& track, int file)
        : report(std::move(ofReport)), ranges(track), descriptor(file) {}
    ~Media() { close(descriptor); }

    // Fills `block` from the stretches, one after the other. An errno; 0 with fewer bytes at the
    // end.
    int Read(size_t size) {
        block.resize(size);
        size_t done = 0;
        while (done < size) {
            if (range.length == 0 && !ranges.Next(range)) {
                break;
            }
            const ssize_t count = pread(descriptor, block.data() + done,
                                        std::min<uint64_t>(range.length, size - done),
                                        static_cast<off_t>(range.offset));
            if (count < 0 && errno != EINTR) {
                return errno;
            }
            if (count == 0) {
                break;
            }
            const size_t got = count > 0 ? static_cast<size_t>(count) : 0;
            done += got;
            range.offset += got;
            range.length -= got;
        }
        block.resize(done);
        return 0;
    }

    std::shared_ptr<const Report> report;
    kvx_inspect::SoundRanges ranges;
    FileRange range;
    int descriptor;
    std::vector<uint8_t> block;
};

std::unique_ptr<NativeSound> NativeSound::Create(std::shared_ptr<const Report> report,
                                                 const TrackFacts& track, TimeLimit& limit,
                                                 Problem& problem) {
    problem = CheckForm(track);
    const int descriptor = problem ? -1 : OpenMedia(track, problem);
    if (problem) {
        return nullptr;
    }
    auto media = std::make_shared<Media>(std::move(report), track, descriptor);
    return std::unique_ptr<NativeSound>(new NativeSound(std::move(media), track, limit));
}

NativeSound::NativeSound(std::shared_ptr<Media> media, const TrackFacts& track, TimeLimit& limit)
    : mMedia(std::move(media)),
      mLimit(limit),
      mForm(track.sound->own),
      mOrder(OrderOf(*track.sound)) {
    const SoundFacts& sound = *track.sound;
    mFormat.channels = static_cast<int>(sound.channels);
    mFormat.sampleRate = static_cast<int>(std::lround(sound.rate));
    mFormat.bits = static_cast<int>(sound.bits);
    mFormat.isFloat = sound.own.isFloat;
    mFormat.isShortAbove16Bits = false;
    mFormat.timeReference = NativeTimeReference(*mMedia->report, track);
    const uint64_t whole = kvx_inspect::SoundRanges::TotalSize(track);
    mFrames = kvx_inspect::SoundRanges::SizeInFile(track, track.media.size) / sound.bytesPerFrame;
    mMissing = whole / sound.bytesPerFrame - mFrames;
}

NativeSound::~NativeSound() = default;

size_t NativeSound::ReadBlock(std::vector<uint8_t>& block) {
    const size_t frameSize = BytesPerFrame(mFormat);
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(kBlockFrames, mFrames - mDone));
    const auto error =
        mLimit.Ask<int>([media = mMedia, size = wanted * frameSize] { return media->Read(size); });
    if (!error) {
        mHasTimedOut = true;
        mProblem = {kExitFailed, mLimit.Words()};
        return 0;
    }
    if (*error != 0) {
        mProblem = {kExitFailed, std::string("its sound cannot be read: ") + std::strerror(*error)};
        return 0;
    }
    std::swap(block, mMedia->block);
    const size_t frames = block.size() / frameSize;
    block.resize(frames * frameSize);
    const auto size = static_cast<size_t>(mFormat.bits / 8);
    const size_t samples = block.size() / size;
    if (size == 1 && mForm.isSigned) {
        for (uint8_t& sample : block) {
            sample ^= 0x80;
        }
    } else if (size > 1 && mForm.isBigEndian) {
        ReverseSamples(block.data(), samples, size);
    }
    if (mOrder != nullptr) {
        std::swap(block, mUnordered);
        block.resize(mUnordered.size());
        ReorderSamples(mUnordered.data(), block.data(), frames, size, mOrder);
    }
    mDone += frames;
    return frames;
}

std::optional<uint64_t> NativeTimeReference(const Report& report, const TrackFacts& track) {
    const auto timecode =
        std::find_if(report.tracks.begin(), report.tracks.end(),
                     [](const TrackFacts& each) { return each.kind == TrackKind::Timecode; });
    if (timecode == report.tracks.end() || !timecode->timecode || track.timeScale < 1) {
        return std::nullopt;
    }
    const kvx_inspect::TimecodeFacts& facts = *timecode->timecode;
    if (!facts.firstFrame || facts.timeScale < 1 || facts.frameDuration < 1) {
        return std::nullopt;
    }
    const double rate = track.sound->rate;
    double samples = static_cast<double>(*facts.firstFrame) *
                     static_cast<double>(facts.frameDuration) * rate /
                     static_cast<double>(facts.timeScale);
    // The timecode is that of the timeline's start, which edits may lay elsewhere in the media.
    for (const kvx_inspect::Edit& edit : track.edits) {
        if (edit.mediaTime >= 0) {
            samples += static_cast<double>(edit.start - edit.mediaTime) * rate /
                       static_cast<double>(track.timeScale);
            break;
        }
    }
    return static_cast<uint64_t>(std::llround(std::clamp(samples, 0.0, 9e15)));
}

}  // namespace kvx_cli
