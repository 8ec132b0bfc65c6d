// Which files are imported at all.
#include <algorithm>
#include <iterator>
#include <memory>

#include "core/log.h"
#include "core/status.h"
#include "host/entry.h"
#include "host/host_identity.h"
#include "pipeline/import_frame.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "util/text.h"

namespace {

using KVX::QT::AudioTrack;
using KVX::QT::Movie;

constexpr uint32_t kFloat = kAudioFormatFlagIsFloat;
constexpr uint32_t kBigEndian = kAudioFormatFlagIsBigEndian;
constexpr uint32_t kSigned = kAudioFormatFlagIsSignedInteger;

constexpr int kNoAudio = -1;

// The host's name for each form of PCM: of the flags in `tested`, exactly those in `set` are set.
struct SampleType {
    uint32_t bits;
    uint32_t tested;
    uint32_t set;
    int value;
};

constexpr SampleType kSampleTypes[] = {
    {8, kSigned, 0, kPrAudioSampleType_8BitInt},
    {8, kSigned, kSigned, kPrAudioSampleType_8BitTwosInt},
    {16, kBigEndian, 0, kPrAudioSampleType_16BitInt},
    {16, kBigEndian, kBigEndian, kPrAudioSampleType_16BitIntBigEndian},
    {24, kBigEndian, 0, kPrAudioSampleType_24BitInt},
    {24, kBigEndian, kBigEndian, kPrAudioSampleType_24BitIntBigEndian},
    {32, kFloat | kBigEndian, 0, kPrAudioSampleType_32BitInt},
    {32, kFloat | kBigEndian, kBigEndian, kPrAudioSampleType_32BitIntBigEndian},
    {32, kFloat | kBigEndian, kFloat, kPrAudioSampleType_32BitFloat},
    {32, kFloat | kBigEndian, kFloat | kBigEndian, kPrAudioSampleType_32BitFloatBigEndian},
    {64, kFloat, kFloat, kPrAudioSampleType_64BitFloat},
};

// False for a form that the host has no name for.
bool GetSampleType(const AudioStreamBasicDescription& stream, int& sampleType) {
    const auto found = std::find_if(std::begin(kSampleTypes), std::end(kSampleTypes),
                                    [&stream](const SampleType& type) {
                                        return stream.mBitsPerChannel == type.bits &&
                                               (stream.mFormatFlags & type.tested) == type.set;
                                    });
    if (found == std::end(kSampleTypes)) {
        return false;
    }
    sampleType = found->value;
    return true;
}

// The sample type that all tracks share, kNoAudio if there are none. False if there is no such one.
bool GetCommonSampleType(const std::vector<AudioTrack*>& tracks, int& sampleType) {
    sampleType = kNoAudio;
    for (const AudioTrack* track : tracks) {
        int trackType = kNoAudio;
        if (!GetSampleType(track->mStreamDescription, trackType)) {
            return false;
        }
        if (sampleType != kNoAudio && trackType != sampleType) {
            return false;
        }
        sampleType = trackType;
    }
    return true;
}

bool IsPlayable(const Movie& movie, int& sampleType) {
    return movie.mVideoTracks.size() == 1 && GetCommonSampleType(movie.mAudioTracks, sampleType) &&
           KVX::ImportFrame::IsSupportedVideoFormat(
               static_cast<unsigned int>(movie.mVideoTracks.front()->mFormat));
}

}  // namespace

extern "C" long xMoviePlayable(CFStringRef pathRef, int* playable, Movie** movie, int* sampleType) {
    if (movie != nullptr) {
        *movie = nullptr;
    }
    if (pathRef == nullptr || playable == nullptr) {
        KVX_LOG("Invalid arguments: pathRef %p, playable %p\n", static_cast<const void*>(pathRef),
                static_cast<void*>(playable));
        return KVX::Core::kStatusInvalid;
    }
    *playable = 0;
    if (!KVX::AppIsPremiere(nullptr)) {
        return 0;
    }
    // Exported, and so called from outside the two entry points too: nothing may be thrown. With no
    // memory left, no movie could be created.
    try {
        std::unique_ptr<Movie> parsed(Movie::Create(KVX::Util::Text::cf2u(pathRef)));
        if (parsed == nullptr) {
            KVX_LOG("Movie::Create() failed\n");
            return KVX::Core::kStatusNoMemory;
        }
        int commonType = kNoAudio;
        if (!IsPlayable(*parsed, commonType)) {
            return 0;
        }
        *playable = 1;
        if (movie != nullptr) {
            *movie = parsed.release();
            if (sampleType != nullptr) {
                *sampleType = commonType;
            }
        }
        return 0;
    } catch (...) {
        return KVX::Core::kStatusNoMemory;
    }
}
