#include "convert/audio/pcm.h"

#include <cstring>
#include <type_traits>

#include "core/log.h"
#include "core/status.h"

namespace KVX::Converter::Audio {

namespace {

template <typename Value>
struct Pair {
    Value first;
    Value second;
};

// How samples of a size are fetched: One is the sample at `from`, Two are the neighbours there. A
// sample is little-endian unless it is swapped, and so is the machine.
//
// Two takes neighbours from a word that holds both, where there is one. So six channels are three
// words a frame, which compilers know how to take apart for several frames at once; six samples
// they do not.

template <typename Word>
Word Load(const char* from) {
    Word word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

struct Bits8 {
    static uint8_t One(const char* from, bool) { return Load<uint8_t>(from); }
    static Pair<uint8_t> Two(const char* from, bool) {
        const auto both = Load<uint16_t>(from);
        return {static_cast<uint8_t>(both), static_cast<uint8_t>(both >> 8)};
    }
};

struct Bits16 {
    static int32_t One(const char* from, bool swap) {
        const auto word = Load<uint16_t>(from);
        return static_cast<int16_t>(swap ? __builtin_bswap16(word) : word);
    }
    static Pair<int32_t> Two(const char* from, bool swap) {
        auto both = Load<uint32_t>(from);
        if (swap) {
            both = (both & 0x00FF00FF) << 8 | (both >> 8 & 0x00FF00FF);
        }
        return {static_cast<int32_t>(both << 16) >> 16, static_cast<int32_t>(both) >> 16};
    }
};

struct Bits32 {
    static uint32_t One(const char* from, bool swap) {
        const auto word = Load<uint32_t>(from);
        return swap ? __builtin_bswap32(word) : word;
    }
    static Pair<uint32_t> Two(const char* from, bool swap) {
        auto both = Load<uint64_t>(from);
        if (swap) {
            both = __builtin_bswap64(both);
            both = both >> 32 | both << 32;
        }
        return {static_cast<uint32_t>(both), static_cast<uint32_t>(both >> 32)};
    }
};

struct Bits24 {
    static int32_t One(const char* from, bool swap) {
        const auto first = static_cast<unsigned char>(from[0]);
        const auto middle = static_cast<unsigned char>(from[1]);
        const auto last = static_cast<unsigned char>(from[2]);
        return SInt24{{swap ? last : first, middle, swap ? first : last}};
    }
    // From words that overlap: nothing outside of the two samples is read.
    static Pair<int32_t> Two(const char* from, bool swap) {
        const uint32_t first = Bits32::One(from, swap);
        const uint32_t second = Bits32::One(from + 2, swap);
        return {static_cast<int32_t>(swap ? first : first << 8) >> 8,
                static_cast<int32_t>(swap ? second << 8 : second) >> 8};
    }
};

struct Bits64 {
    static uint64_t One(const char* from, bool swap) {
        const auto word = Load<uint64_t>(from);
        return swap ? __builtin_bswap64(word) : word;
    }
    static Pair<uint64_t> Two(const char* from, bool swap) {
        return {One(from, swap), One(from + sizeof(uint64_t), swap)};
    }
};

// What is fetched, and the float that it makes.
template <typename T>
struct Sample;

template <>
struct Sample<signed char> : Bits8 {
    static float Scale(uint8_t byte) {
        return static_cast<float>(static_cast<signed char>(byte)) / 127.0F;
    }
};

template <>
struct Sample<unsigned char> : Bits8 {
    static float Scale(uint8_t byte) { return (static_cast<float>(byte) + -128.0F) / 127.0F; }
};

template <>
struct Sample<short> : Bits16 {
    static float Scale(int32_t value) { return static_cast<float>(value) / 32767.0F; }
};

template <>
struct Sample<SInt24> : Bits24 {
    static float Scale(int32_t value) { return static_cast<float>(value) / 8388607.0F; }
};

template <>
struct Sample<int> : Bits32 {
    // Full scale is 2147483647.0, and the quotient is taken in double precision and narrowed. It
    // exceeds float(value) / 2^31, which is a float, by one part in 2^31; narrowing drops that,
    // since half a unit in a float's last place is at least one part in 2^25. So both are the same
    // number.
    static float Scale(uint32_t word) {
        return static_cast<float>(static_cast<int32_t>(word)) * 0x1p-31F;
    }
};

template <>
struct Sample<float> : Bits32 {
    static float Scale(uint32_t word) {
        float sample;
        std::memcpy(&sample, &word, sizeof(sample));
        return sample;
    }
};

template <>
struct Sample<double> : Bits64 {
    static float Scale(uint64_t word) {
        double sample;
        std::memcpy(&sample, &word, sizeof(sample));
        return static_cast<float>(sample);
    }
};

template <typename T>
float Read(const char* from, bool swap) {
    return Sample<T>::Scale(Sample<T>::One(from, swap));
}

template <typename T>
Pair<float> ReadTwo(const char* from, bool swap) {
    const auto two = Sample<T>::Two(from, swap);
    return {Sample<T>::Scale(two.first), Sample<T>::Scale(two.second)};
}

// Two channels are taken apart well sample by sample, but not when these are three bytes each.
template <typename T>
Pair<float> ReadStereo(const char* from, bool swap) {
    if constexpr (std::is_same_v<T, SInt24>) {
        return ReadTwo<T>(from, swap);
    } else {
        return {Read<T>(from, swap), Read<T>(from + sizeof(T), swap)};
    }
}

// The loops. No plane shares memory with the samples or with another plane.

template <typename T>
void WriteMono(const char* __restrict samples, bool swap, float* __restrict plane, size_t frames) {
    for (size_t f = 0; f < frames; ++f) {
        plane[f] = Read<T>(samples + f * sizeof(T), swap);
    }
}

template <typename T>
void WriteStereo(const char* __restrict samples, bool swap, float* __restrict left,
                 float* __restrict right, size_t frames) {
    for (size_t f = 0; f < frames; ++f) {
        const Pair<float> frame = ReadStereo<T>(samples + f * 2 * sizeof(T), swap);
        left[f] = frame.first;
        right[f] = frame.second;
    }
}

template <typename T>
void WriteSurround(const char* __restrict samples, bool swap, float* __restrict plane0,
                   float* __restrict plane1, float* __restrict plane2, float* __restrict plane3,
                   float* __restrict plane4, float* __restrict plane5, size_t frames) {
    for (size_t f = 0; f < frames; ++f) {
        const char* const frame = samples + f * 6 * sizeof(T);
        const Pair<float> channels01 = ReadTwo<T>(frame, swap);
        const Pair<float> channels23 = ReadTwo<T>(frame + 2 * sizeof(T), swap);
        const Pair<float> channels45 = ReadTwo<T>(frame + 4 * sizeof(T), swap);
        plane0[f] = channels01.first;
        plane1[f] = channels01.second;
        plane2[f] = channels23.first;
        plane3[f] = channels23.second;
        plane4[f] = channels45.first;
        plane5[f] = channels45.second;
    }
}

constexpr size_t kSurroundChannels = 6;

// Which of the host's planes (L R Ls Rs C LFE) takes each channel of a 5.1 frame.
struct SurroundOrder {
    QT::SampleOrder order;
    unsigned char planes[kSurroundChannels];
};
constexpr SurroundOrder kSurroundOrders[] = {
    {QT::SampleOrder51A, {0, 1, 4, 5, 2, 3}},
    {QT::SampleOrder51B, {0, 1, 2, 3, 4, 5}},
    {QT::SampleOrder51C, {0, 4, 1, 2, 3, 5}},
    {QT::SampleOrder51D, {4, 0, 1, 2, 3, 5}},
};

const SurroundOrder& FindSurroundOrder(QT::SampleOrder order) {
    for (const SurroundOrder& entry : kSurroundOrders) {
        if (entry.order == order) {
            return entry;
        }
    }
    // A track that names no layout is most often in the order of MPEG 5.1 A, which is also that of
    // WAVE files.
    return kSurroundOrders[0];
}

}  // namespace

template <typename T>
void PCM::Write(char* samples, bool swap, float** planes, unsigned int channels,
                unsigned int frames, QT::SampleOrder order) {
    if (channels == 1) {
        WriteMono<T>(samples, swap, planes[0], frames);
    } else if (channels == 2) {
        WriteStereo<T>(samples, swap, planes[0], planes[1], frames);
    } else if (channels == kSurroundChannels) {
        const unsigned char(&to)[kSurroundChannels] = FindSurroundOrder(order).planes;
        WriteSurround<T>(samples, swap, planes[to[0]], planes[to[1]], planes[to[2]], planes[to[3]],
                         planes[to[4]], planes[to[5]], frames);
    }
}

template void PCM::Write<signed char>(char*, bool, float**, unsigned int, unsigned int,
                                      QT::SampleOrder);
template void PCM::Write<unsigned char>(char*, bool, float**, unsigned int, unsigned int,
                                        QT::SampleOrder);
template void PCM::Write<short>(char*, bool, float**, unsigned int, unsigned int, QT::SampleOrder);
template void PCM::Write<SInt24>(char*, bool, float**, unsigned int, unsigned int, QT::SampleOrder);
template void PCM::Write<int>(char*, bool, float**, unsigned int, unsigned int, QT::SampleOrder);
template void PCM::Write<float>(char*, bool, float**, unsigned int, unsigned int, QT::SampleOrder);
template void PCM::Write<double>(char*, bool, float**, unsigned int, unsigned int, QT::SampleOrder);

namespace {

using WriteFunction = void (*)(char*, bool, float**, unsigned int, unsigned int, QT::SampleOrder);

// The flags that a stream must have under `mask` for a writer to take it.
struct Writer {
    uint32_t bits;
    uint32_t mask;
    uint32_t flags;
    WriteFunction write;
};
constexpr uint32_t kFloat = kAudioFormatFlagIsFloat;
constexpr uint32_t kSigned = kAudioFormatFlagIsSignedInteger;
constexpr Writer kWriters[] = {
    {8, kSigned, kSigned, PCM::Write<signed char>},
    {8, kSigned, 0, PCM::Write<unsigned char>},
    {16, 0, 0, PCM::Write<short>},
    {24, 0, 0, PCM::Write<SInt24>},
    {32, kFloat, kFloat, PCM::Write<float>},
    {32, kFloat, 0, PCM::Write<int>},
    {64, 0, 0, PCM::Write<double>},
};

WriteFunction FindWriter(uint32_t bits, uint32_t flags) {
    for (const Writer& writer : kWriters) {
        if (writer.bits == bits && (flags & writer.mask) == writer.flags) {
            return writer.write;
        }
    }
    return nullptr;
}

}  // namespace

long PCM::WriteSamples(QT::AudioTrack* track, char* samples, float** planes, unsigned long frames) {
    if (track == nullptr) {
        KVX_LOG("Invalid audio track pointer\n");
        return Core::kStatusInvalid;
    }
    const AudioStreamBasicDescription& stream = track->mStreamDescription;
    const uint32_t channels = stream.mChannelsPerFrame;
    const uint32_t bits = stream.mBitsPerChannel;
    const uint32_t flags = stream.mFormatFlags;
    if (channels != 1 && channels != 2 && channels != kSurroundChannels) {
        KVX_LOG("%d channel audio not supported\n", static_cast<int>(channels));
        return Core::kStatusInvalid;
    }
    if (bits != 8 && (flags & (kFloat | kSigned)) == 0) {
        KVX_LOG("Unsigned %d bit integer audio not supported\n", static_cast<int>(bits));
        return Core::kStatusInvalid;
    }
    if (bits == 64 && (flags & kFloat) == 0) {
        KVX_LOG("64 bit integer audio not supported\n");
        return Core::kStatusInvalid;
    }
    const WriteFunction write = FindWriter(bits, flags);
    if (write == nullptr) {
        KVX_LOG("%d bit audio not supported\n", static_cast<int>(bits));
        return Core::kStatusInvalid;
    }
    const bool swap = bits != 8 && (flags & kAudioFormatFlagIsBigEndian) != 0;
    write(samples, swap, planes, channels, static_cast<unsigned int>(frames), track->mSampleOrder);
    return 0;
}

}  // namespace KVX::Converter::Audio
