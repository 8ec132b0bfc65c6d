#include "quicktime/sound_description.h"

#include <cstring>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"

namespace KVX::QT {

namespace {

using Core::FourCharCode;

constexpr uint32_t kRaw = FourCharCode("raw ");
constexpr uint32_t kLittleEndian16 = FourCharCode("sowt");
constexpr uint32_t kBigEndian16 = FourCharCode("twos");
constexpr uint32_t kFloat32 = FourCharCode("fl32");
constexpr uint32_t kFloat64 = FourCharCode("fl64");
constexpr uint32_t kWave = FourCharCode("wave");
constexpr uint32_t kEnda = FourCharCode("enda");
constexpr uint32_t kEsds = FourCharCode("esds");
constexpr uint32_t kChan = FourCharCode("chan");

// Offsets in a sound sample description (QuickTime File Format, "Sound Sample Descriptions").
// Versions 0 and 1 share the first group.
constexpr uint64_t kVersion = 16;
constexpr uint64_t kChannels = 24;
constexpr uint64_t kSampleSize = 26;
constexpr uint64_t kSampleRate = 32;

constexpr uint64_t kSamplesPerPacketV1 = 36;
constexpr uint64_t kBytesPerPacketV1 = 40;
constexpr uint64_t kBytesPerFrameV1 = 44;

constexpr uint64_t kStructSizeV2 = 36;
constexpr uint64_t kSampleRateV2 = 40;
constexpr uint64_t kChannelsV2 = 48;
constexpr uint64_t kBitsPerChannelV2 = 56;
constexpr uint64_t kBytesPerPacketV2 = 64;
constexpr uint64_t kFramesPerPacketV2 = 68;

// Lengths of the fixed parts. Extension atoms, where a version has them, come after.
constexpr uint64_t kFixedPartV0 = 36;
constexpr uint64_t kFixedPartV1 = 52;
constexpr uint64_t kFixedPartV2 = 72;

// The channel order that a layout tag stands for.
struct SurroundLayout {
    uint32_t tag;
    SampleOrder order;
};
constexpr SurroundLayout kSurroundLayouts[] = {
    {kAudioChannelLayoutTag_MPEG_5_1_A, SampleOrder51A},
    {kAudioChannelLayoutTag_MPEG_5_1_B, SampleOrder51B},
    {kAudioChannelLayoutTag_MPEG_5_1_C, SampleOrder51C},
    {kAudioChannelLayoutTag_MPEG_5_1_D, SampleOrder51D},
};
constexpr uint32_t kSurroundChannels = 6;

const SurroundLayout* FindSurroundLayout(uint32_t tag) {
    for (const SurroundLayout& layout : kSurroundLayouts) {
        if (layout.tag == tag) {
            return &layout;
        }
    }
    return nullptr;
}

// 16.16 fixed point, in single precision: 24 significant bits of the rate survive.
double RateFromFixed(uint32_t fixed) {
    return static_cast<float>(fixed) * (1.0F / 65536.0F);
}

double DoubleFromBits(uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

void ReadVersion0(AtomFields& entry, SoundDescription& sound) {
    sound.rate = RateFromFixed(entry.Unsigned32(kSampleRate));
    sound.channels = entry.Unsigned16(kChannels);
    sound.bits = entry.Unsigned16(kSampleSize);
    sound.bytesPerFrame = sound.bits / 8 * sound.channels;
    sound.baseSize = 44;
}

// The stored frame size tells more than the stored sample size, which compressed formats set to 16
// whatever they hold.
void ReadVersion1(AtomFields& entry, SoundDescription& sound) {
    sound.rate = RateFromFixed(entry.Unsigned32(kSampleRate));
    sound.channels = entry.Unsigned16(kChannels);
    sound.bytesPerPacket = entry.Unsigned32(kBytesPerPacketV1);
    sound.bytesPerFrame = entry.Signed32(kBytesPerFrameV1);
    if (sound.bytesPerFrame == 0) {
        sound.bytesPerFrame = sound.channels * (entry.Unsigned16(kSampleSize) / 8);
    }
    if (sound.bytesPerFrame > 0 && sound.channels > 0) {
        sound.framesPerPacket = sound.bytesPerPacket / sound.bytesPerFrame;
        sound.bits = sound.bytesPerFrame * 8 / sound.channels;
    }
    sound.sampleIsFrame = entry.Unsigned32(kSamplesPerPacketV1) == 1;
    sound.baseSize = 60;
    sound.extensions = kFixedPartV1;
}

void ReadVersion2(AtomFields& entry, SoundDescription& sound) {
    sound.rate = DoubleFromBits(entry.Unsigned64(kSampleRateV2));
    sound.channels = entry.Unsigned32(kChannelsV2);
    sound.bits = entry.Unsigned32(kBitsPerChannelV2);
    sound.bytesPerFrame = sound.bits / 8 * sound.channels;
    sound.bytesPerPacket = entry.Unsigned32(kBytesPerPacketV2);
    sound.framesPerPacket = entry.Unsigned32(kFramesPerPacketV2);
    sound.baseSize = uint64_t{entry.Unsigned32(kStructSizeV2)} + 8;
    sound.extensions = kFixedPartV2;
}

struct Version {
    uint64_t fixedPart;
    void (*read)(AtomFields& entry, SoundDescription& sound);
};
// By version number.
constexpr Version kVersions[] = {
    {kFixedPartV0, ReadVersion0},
    {kFixedPartV1, ReadVersion1},
    {kFixedPartV2, ReadVersion2},
};
constexpr int kVersionCount = sizeof(kVersions) / sizeof(kVersions[0]);

uint32_t SampleKindFlags(uint32_t format) {
    if (format == kRaw) {
        return 0;
    }
    if (format == kFloat32 || format == kFloat64) {
        return kAudioFormatFlagIsFloat;
    }
    return kAudioFormatFlagIsSignedInteger;
}

// The first extension of a type from `offset` on, or null. Moves `offset` past it.
Atom* FindExtension(const AtomFields& entry, uint32_t type, uint64_t& offset) {
    while (Atom* const extension = entry.AtomAt(offset)) {
        offset += extension->Length();
        if (extension->Type() == type) {
            return extension;
        }
    }
    return nullptr;
}

bool HasExtensions(const AtomFields& entry, const SoundDescription& sound) {
    return sound.extensions != 0 && entry.Length() > sound.baseSize;
}

// The payload size of an "esds" that a "wave" ends in and that says it has 4 GiB or more, else 0.
// Walks do not see such an atom, since it passes the end of its parent.
uint64_t HugeEsdsSize(const Atom* waveAtom) {
    AtomFields wave(waveAtom);
    uint64_t offset = waveAtom->HeaderLength();
    while (const Atom* const child = wave.AtomAt(offset)) {
        offset += child->Length();
    }
    if (offset > wave.Length() || wave.Length() - offset < sizeof(Atom)) {
        return 0;
    }
    const Atom* const last = reinterpret_cast<const Atom*>(wave.Bytes(offset, sizeof(Atom)));
    if (last->Type() != kEsds || last->Length() < sizeof(Atom)) {
        return 0;
    }
    const uint64_t size = last->Length() - last->HeaderLength();
    return size > UINT32_MAX ? size : 0;
}

}  // namespace

long ReadSoundDescription(AtomFields& entry, SoundDescription& sound, Core::LogSite site) {
    const int version = entry.Signed16(kVersion);
    if (entry.Status() != 0) {
        return entry.Status();
    }
    if (version < 0 || version >= kVersionCount) {
        Core::LogLine(site, "Unsupported sound description version: %d\n", version);
        return Core::kStatusInvalid;
    }
    if (entry.Bytes(0, kVersions[version].fixedPart) == nullptr) {
        return entry.Status();
    }
    sound.format = entry.Type();
    kVersions[version].read(entry, sound);

    if (version == 1 && sound.bytesPerFrame <= 0) {
        Core::LogLine(site, "Unable to determine bytes per frame\n");
        return 0;
    }
    if (version == 1 && sound.channels == 0) {
        Core::LogLine(site, "Unable to determine number of channels\n");
        return 0;
    }
    if (sound.bytesPerFrame > UINT32_MAX || sound.bits > UINT32_MAX) {
        Core::LogLine(
            site, "Invalid sound description: %lld bytes per frame, %lld bits per channel\n",
            static_cast<long long>(sound.bytesPerFrame), static_cast<long long>(sound.bits));
        return Core::kStatusInvalid;
    }
    sound.isUsable = true;
    return 0;
}

AudioStreamBasicDescription StreamOf(const SoundDescription& sound) {
    AudioStreamBasicDescription stream = {};
    stream.mSampleRate = sound.rate;
    stream.mFormatFlags = SampleKindFlags(sound.format);
    stream.mBytesPerPacket = static_cast<uint32_t>(sound.bytesPerPacket);
    stream.mFramesPerPacket = static_cast<uint32_t>(sound.framesPerPacket);
    stream.mBytesPerFrame = static_cast<uint32_t>(sound.bytesPerFrame);
    stream.mChannelsPerFrame = static_cast<uint32_t>(sound.channels);
    stream.mBitsPerChannel = static_cast<uint32_t>(sound.bits);
    return stream;
}

long ReadSoundExtensions(const AtomFields& entry, const SoundDescription& sound,
                         SoundExtensions& extensions, Core::LogSite site) {
    extensions = {};
    extensions.isBigEndian = sound.format == kBigEndian16;
    const bool formatTellsOrder =
        sound.format == kRaw || sound.format == kLittleEndian16 || sound.format == kBigEndian16;
    if (formatTellsOrder || !HasExtensions(entry, sound)) {
        return 0;
    }
    extensions.isBigEndian = true;
    uint64_t offset = sound.extensions;
    Atom* const waveAtom = FindExtension(entry, kWave, offset);
    if (waveAtom == nullptr) {
        return 0;
    }
    extensions.esdsAtom = waveAtom->FindNextChildOfType(kEsds, nullptr);
    if (extensions.esdsAtom == nullptr) {
        extensions.hugeEsdsSize = HugeEsdsSize(waveAtom);
    }
    const Atom* const endaAtom = waveAtom->FindNextChildOfType(kEnda, nullptr);
    if (endaAtom == nullptr) {
        return 0;
    }
    constexpr uint64_t kLittleEndian = 8;
    AtomFields enda(endaAtom, site);
    extensions.isBigEndian = enda.Unsigned16(kLittleEndian) == 0;
    return enda.Status();
}

long FindSampleOrder(const AtomFields& entry, const SoundDescription& sound, SampleOrder& order,
                     Core::LogSite site) {
    order = SampleOrderUnknown;
    if (sound.channels == 1) {
        order = SampleOrderMono;
    } else if (sound.channels == 2) {
        order = SampleOrderStereo;
    }
    if (sound.channels != kSurroundChannels || !HasExtensions(entry, sound)) {
        return 0;
    }
    uint64_t offset = sound.extensions;
    while (const Atom* const chanAtom = FindExtension(entry, kChan, offset)) {
        constexpr uint64_t kLayoutTag = 12;
        AtomFields chan(chanAtom, site);
        const uint32_t tag = chan.Unsigned32(kLayoutTag);
        if (chan.Status() != 0) {
            return chan.Status();
        }
        const SurroundLayout* const layout = FindSurroundLayout(tag);
        if (layout == nullptr) {
            Core::LogLine(site, "Unrecognised 5.1 channel layout tag 0x%08x\n", tag);
            return Core::kStatusInvalid;
        }
        order = layout->order;
    }
    return 0;
}

}  // namespace KVX::QT
