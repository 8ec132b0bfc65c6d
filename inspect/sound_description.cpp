// The description of the sound, and how the importer takes it.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "platform/core_audio_types.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

constexpr uint32_t kRaw = FourCharCode("raw ");
constexpr uint32_t kLpcm = FourCharCode("lpcm");
constexpr uint32_t kFloat32 = FourCharCode("fl32");
constexpr uint32_t kFloat64 = FourCharCode("fl64");
constexpr uint32_t kLittleEndian16 = FourCharCode("sowt");
constexpr uint32_t kBigEndian16 = FourCharCode("twos");

// "Sound Sample Descriptions" (QuickTime File Format), versions 0 to 2.
constexpr uint64_t kVersion = 16;
constexpr uint64_t kChannels = 24;
constexpr uint64_t kSampleSize = 26;
constexpr uint64_t kSampleRate = 32;
constexpr uint64_t kSamplesPerPacketV1 = 36;
constexpr uint64_t kBytesPerFrameV1 = 44;
constexpr uint64_t kStructSizeV2 = 36;
constexpr uint64_t kSampleRateV2 = 40;
constexpr uint64_t kChannelsV2 = 48;
constexpr uint64_t kBitsPerChannelV2 = 56;
constexpr uint64_t kFormatFlagsV2 = 60;

constexpr uint64_t kFixedPart[] = {36, 52, 72};
constexpr int kVersionCount = sizeof(kFixedPart) / sizeof(kFixedPart[0]);

// "chan"
constexpr uint64_t kLayoutTag = 12;
constexpr uint32_t kSurroundChannels = 6;

// How the numbers of a description combine, wide enough for any that a file may hold.
struct Description {
    int version = 0;
    double rate = 0;
    int64_t channels = 0;
    int64_t bits = 0;
    int64_t bytesPerFrame = 0;
    bool sampleIsFrame = true;
    bool hasExtensions = false;
    uint64_t extensions = 0;
};

double DoubleFromBits(uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

Description ReadNumbers(const AtomView& entry, int version) {
    Description read;
    read.version = version;
    uint64_t baseSize = 0;
    if (version == 2) {
        read.rate = DoubleFromBits(entry.Unsigned64(kSampleRateV2));
        read.channels = entry.Unsigned32(kChannelsV2);
        read.bits = entry.Unsigned32(kBitsPerChannelV2);
        read.bytesPerFrame = read.bits / 8 * read.channels;
        baseSize = uint64_t{entry.Unsigned32(kStructSizeV2)} + 8;
    } else {
        read.rate = entry.Unsigned32(kSampleRate) / 65536.0;
        read.channels = entry.Unsigned16(kChannels);
        read.bits = entry.Unsigned16(kSampleSize);
        read.bytesPerFrame = read.bits / 8 * read.channels;
    }
    if (version == 1) {
        if (const int64_t stated = entry.Signed32(kBytesPerFrameV1)) {
            read.bytesPerFrame = stated;
        }
        read.bits = read.bytesPerFrame > 0 && read.channels > 0
                        ? read.bytesPerFrame * 8 / read.channels
                        : 0;
        read.sampleIsFrame = entry.Unsigned32(kSamplesPerPacketV1) == 1;
        baseSize = 60;
    }
    read.extensions = kFixedPart[version];
    read.hasExtensions = version != 0 && entry.Length() > baseSize;
    return read;
}

AtomView FindExtension(const AtomView& entry, const Description& read, uint32_t type) {
    uint64_t offset = read.extensions;
    while (const AtomView extension = entry.AtomAt(offset)) {
        if (extension.Type() == type) {
            return extension;
        }
        offset += extension.Length();
    }
    return {};
}

// The importer takes a track for empty whose "wave" ends in an "esds" of 4 GiB or more.
bool EndsInHugeEsds(const AtomView& wave) {
    constexpr uint64_t kLongHeader = sizeof(KVX::QT::Atom);
    const uint64_t offset = wave.EndOfChildren();
    if (!wave.Holds(offset, kLongHeader) || wave.Unsigned32(offset + 4) != FourCharCode("esds")) {
        return false;
    }
    const bool isExtended = wave.Unsigned32(offset) == 1;
    const uint64_t length = isExtended ? wave.Unsigned64(offset + 8) : wave.Unsigned32(offset);
    return length >= kLongHeader && length - (isExtended ? kLongHeader : 8) > UINT32_MAX;
}

struct WaveFacts {
    bool isThere = false;
    bool isLittleEndian = false;
    bool isUnusable = false;
};

WaveFacts ReadWave(const TrackReader& reader, const Description& read) {
    WaveFacts facts;
    const AtomView wave = FindExtension(reader.description, read, FourCharCode("wave"));
    facts.isThere = static_cast<bool>(wave);
    const AtomView enda = wave.Child(FourCharCode("enda"));
    if (enda && !enda.Holds(8, 2)) {
        reader.Add(Code::Damaged, "the \"enda\" of the sample description is cut short");
    }
    facts.isLittleEndian = enda.Unsigned16(8) != 0;
    const AtomView esds = wave.Child(FourCharCode("esds"));
    if (esds && !esds.Holds(0, esds.HeaderLength())) {
        reader.Add(Code::Damaged, "the \"esds\" of the sample description is cut short");
    }
    facts.isUnusable = wave && !esds && EndsInHugeEsds(wave);
    return facts;
}

void ReadLayout(const TrackReader& reader, const Description& read, SoundFacts& sound) {
    if (read.channels != kSurroundChannels || !read.hasExtensions) {
        return;
    }
    constexpr uint32_t kKnownTags[] = {
        kAudioChannelLayoutTag_MPEG_5_1_A, kAudioChannelLayoutTag_MPEG_5_1_B,
        kAudioChannelLayoutTag_MPEG_5_1_C, kAudioChannelLayoutTag_MPEG_5_1_D};
    uint64_t offset = read.extensions;
    while (const AtomView chan = reader.description.AtomAt(offset)) {
        offset += chan.Length();
        if (chan.Type() != FourCharCode("chan")) {
            continue;
        }
        if (!chan.Holds(kLayoutTag, 4)) {
            reader.Add(Code::Damaged, "the \"chan\" of the sample description is cut short");
            return;
        }
        const uint32_t tag = chan.Unsigned32(kLayoutTag);
        sound.layoutTag = tag;
        sound.layoutTagRange = reader.RangeIn(chan, kLayoutTag, 4);
        sound.layoutRange = reader.RangeOf(chan);
        if (std::find(std::begin(kKnownTags), std::end(kKnownTags), tag) == std::end(kKnownTags)) {
            char text[16];
            std::snprintf(text, sizeof text, "0x%08x", tag);
            constexpr uint32_t kByBitmap = 0x10000;
            reader.Add(Code::SoundLayout,
                       std::string("its six channels have the layout tag ") + text +
                           (tag == kByBitmap ? " (by a bitmap, as ffmpeg writes \"5.1\")" : "") +
                           ", which is none of the four MPEG 5.1 orders");
            return;
        }
    }
}

// The forms that are imported, by what the host can express.
std::string NameForm(uint32_t bitCount, const SampleForm& form) {
    const char* const end = form.isBigEndian ? "be" : "le";
    const std::string bits = std::to_string(bitCount);
    switch (bitCount) {
        case 8:
            return form.isSigned ? "s8" : "u8";
        case 16:
        case 24:
            return (form.isSigned || form.isFloat ? "s" : "u") + bits + end;
        case 32:
            return (form.isFloat ? "f" : form.isSigned ? "s" : "u") + bits + end;
        case 64:
            return form.isFloat ? "f64" + std::string(end) : "";
        default:
            return "";
    }
}

constexpr uint32_t kPcmFormats[] = {
    kRaw,
    kBigEndian16,
    kLittleEndian16,
    kLpcm,
    kFloat32,
    kFloat64,
    FourCharCode("in24"),
    FourCharCode("in32"),
    FourCharCode("NONE"),
    FourCharCode("\0\0\0\0"),
};

bool IsPcm(uint32_t format) {
    return std::find(std::begin(kPcmFormats), std::end(kPcmFormats), format) !=
           std::end(kPcmFormats);
}

// What the samples really are, where the description says more than the importer reads.
SampleForm TruthOf(uint32_t format, const SoundFacts& sound, const Description& read) {
    SampleForm truth = {sound.isFloat, sound.isSigned, sound.isBigEndian};
    if (format == kLpcm && sound.formatFlags) {
        const uint32_t flags = *sound.formatFlags;
        truth.isFloat = (flags & kAudioFormatFlagIsFloat) != 0;
        truth.isBigEndian = (flags & kAudioFormatFlagIsBigEndian) != 0;
        truth.isSigned = !truth.isFloat && (flags & kAudioFormatFlagIsSignedInteger) != 0;
    }
    // These are big-endian unless an "enda" says otherwise, which a short description has no room
    // for.
    const bool isBigByDefault = format == FourCharCode("in24") || format == FourCharCode("in32") ||
                                format == kFloat32 || format == kFloat64;
    if (isBigByDefault && !read.hasExtensions) {
        truth.isBigEndian = true;
    }
    return truth;
}

}  // namespace

bool ReadSound(TrackReader& reader) {
    const AtomView& entry = reader.description;
    SoundFacts& sound = reader.track.sound.emplace();
    if (!entry) {
        return true;
    }
    const int version = entry.Signed16(kVersion);
    if (!entry.Holds(kVersion, 2)) {
        reader.Add(Code::Damaged, "the sample description is cut short");
        return true;
    }
    sound.version = version;
    if (version < 0 || version >= kVersionCount) {
        reader.Add(Code::SoundForm, "its sample description is of version " +
                                        std::to_string(version) + ", which is not known");
        return true;
    }
    if (!entry.Holds(0, kFixedPart[version])) {
        reader.Add(Code::Damaged, "the sample description is cut short");
        return true;
    }
    const Description read = ReadNumbers(entry, version);
    if (version == 1 && (read.bytesPerFrame <= 0 || read.channels == 0)) {
        reader.Add(Code::SoundForm,
                   "its sample description does not state how many bytes a sample of all channels "
                   "has");
        return false;
    }
    if (read.bytesPerFrame > UINT32_MAX || read.bits > UINT32_MAX) {
        reader.Add(Code::SoundForm,
                   "a sample of all channels has " + std::to_string(read.bytesPerFrame) + " bytes");
        return true;
    }
    const uint32_t format = reader.track.format;
    sound.rate = read.rate;
    sound.channels = static_cast<uint32_t>(read.channels);
    sound.bits = static_cast<uint32_t>(read.bits);
    sound.bytesPerFrame = static_cast<uint32_t>(read.bytesPerFrame);
    sound.isFloat = format == kFloat32 || format == kFloat64;
    sound.isSigned = format != kRaw && !sound.isFloat;
    sound.isBigEndian = format == kBigEndian16;
    sound.isCompressed = !IsPcm(format);
    if (version == 2) {
        sound.formatFlags = entry.Unsigned32(kFormatFlagsV2);
    }
    const bool formatTellsOrder =
        format == kRaw || format == kLittleEndian16 || format == kBigEndian16;
    WaveFacts wave;
    if (!formatTellsOrder && read.hasExtensions) {
        wave = ReadWave(reader, read);
        sound.isBigEndian = !wave.isLittleEndian && !wave.isUnusable;
    }
    sound.sampleFormat = NameForm(sound.bits, {sound.isFloat, sound.isSigned, sound.isBigEndian});
    sound.own = TruthOf(format, sound, read);
    sound.ownFormat = NameForm(sound.bits, sound.own);
    reader.track.tables.fixedSize = read.sampleIsFrame ? sound.bytesPerFrame : 0;
    if (wave.isUnusable) {
        CheckSound(reader);
        reader.Add(Code::SoundNotDelivered,
                   "the \"esds\" of its sample description says that it has 4 GiB or more: the "
                   "track is taken for empty");
        return false;
    }
    ReadLayout(reader, read, sound);
    CheckSound(reader);
    return true;
}

}  // namespace kvx_inspect
