#pragma once

#include <cstdint>

#include "core/log.h"
#include "quicktime/atom_fields.h"
#include "quicktime/audio_track.h"

// The parts of a sound sample description that matter to PCM (QuickTime File Format, "Sound Sample
// Descriptions"). All operations log in the name of their caller.
namespace KVX::QT {

// What the versions of a description have in common, wide enough for whatever a file says.
struct SoundDescription {
    uint32_t format = 0;
    double rate = 0;
    int64_t bytesPerPacket = 0;
    int64_t framesPerPacket = 0;
    int64_t bytesPerFrame = 0;
    int64_t channels = 0;
    int64_t bits = 0;
    bool sampleIsFrame = true;
    uint64_t baseSize = 0;    // extensions are looked for in entries above this size
    uint64_t extensions = 0;  // where they begin; 0 without
    bool isUsable = false;    // false if it tells too little
};

// Reads the fixed part of a description of any version. Returns 0, also for a description that
// tells too little to use it, which leaves a log line; 22 after a log line for another version,
// numbers that no stream has, or fields outside the entry.
long ReadSoundDescription(AtomFields& entry, SoundDescription& sound,
                          Core::LogSite site = Core::LogSite::Here());

// Without the byte order.
AudioStreamBasicDescription StreamOf(const SoundDescription& sound);

// What the format's code and the "wave" extension tell.
struct SoundExtensions {
    bool isBigEndian = false;
    const Atom* esdsAtom = nullptr;
    uint64_t hugeEsdsSize = 0;  // bytes of the payload of an "esds" of 4 GiB or more
};

// Returns 0, or 22 after a log line.
long ReadSoundExtensions(const AtomFields& entry, const SoundDescription& sound,
                         SoundExtensions& extensions, Core::LogSite site = Core::LogSite::Here());

// Settles the channel order, for six channels by the last "chan" (CoreAudio, AudioChannelLayout).
// Returns 0, or 22 after a log line.
long FindSampleOrder(const AtomFields& entry, const SoundDescription& sound, SampleOrder& order,
                     Core::LogSite site = Core::LogSite::Here());

}  // namespace KVX::QT
