// What the samples of the sound really are, and whether they are delivered.
#include "inspect/track_reader.h"
#include "inspect/words.h"

namespace kvx_inspect {

namespace {

constexpr uint32_t kSurroundChannels = 6;

const char* OrderInWords(bool isBigEndian) {
    return isBigEndian ? "big-endian" : "little-endian";
}

std::string FormInWords(bool isFloat, bool isSigned, bool isBigEndian) {
    return std::string(OrderInWords(isBigEndian)) + (isFloat    ? " float"
                                                     : isSigned ? " integers"
                                                                : " unsigned integers");
}

void CheckByteOrder(const TrackReader& reader, const SoundFacts& sound) {
    const SampleForm& truth = sound.own;
    const bool orderMatters = sound.bits > 8;
    if (truth.isFloat == sound.isFloat && truth.isSigned == sound.isSigned &&
        (truth.isBigEndian == sound.isBigEndian || !orderMatters)) {
        return;
    }
    reader.Add(Code::SoundByteOrder,
               "its samples are " + FormInWords(truth.isFloat, truth.isSigned, truth.isBigEndian) +
                   ", and are read as " +
                   FormInWords(sound.isFloat, sound.isSigned, sound.isBigEndian) + ": noise");
}

void CheckDelivery(const TrackReader& reader, const SoundFacts& sound) {
    const uint32_t channels = sound.channels;
    if (channels != 1 && channels != 2 && channels != kSurroundChannels) {
        reader.Add(Code::SoundNotDelivered,
                   "it has " + Counted(channels, "channel") +
                       ": only mono, stereo and 5.1 are delivered, and each read of it fails");
    } else if (sound.bits > 8 && !sound.isFloat && !sound.isSigned) {
        reader.Add(Code::SoundNotDelivered,
                   "its samples are unsigned and have " + std::to_string(sound.bits) +
                       " bits, as \"raw \" of more than 8 is taken: each read of it fails");
    }
}

}  // namespace

void CheckSound(const TrackReader& reader) {
    const SoundFacts& sound = *reader.track.sound;
    if (sound.isCompressed) {
        reader.Add(Code::SoundCompressed, "its sound is " + Quoted(reader.track.format) +
                                              ", which is not decoded: its bytes are taken for "
                                              "samples and heard as noise");
    }
    if (sound.sampleFormat.empty()) {
        reader.Add(Code::SoundForm,
                   "its samples have " + std::to_string(sound.bits) +
                       " bits, in a form that is not imported: 8, 16, 24 or 32 bits, or 64-bit "
                       "float");
        return;
    }
    CheckDelivery(reader, sound);
    if (!sound.isCompressed) {
        CheckByteOrder(reader, sound);
    }
}

}  // namespace kvx_inspect
