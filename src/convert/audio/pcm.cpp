#include "convert/audio/pcm.h"

#include <cstring>

#include "convert/audio/pcm_vector.h"
#include "core/log.h"
#include "core/status.h"

namespace KVX::Converter::Audio {

namespace {

// A sample is little-endian unless it is swapped, and so is the machine.
uint32_t Load32(const char* from, bool swap) {
    uint32_t word;
    std::memcpy(&word, from, sizeof(word));
    return swap ? __builtin_bswap32(word) : word;
}

uint64_t Load64(const char* from, bool swap) {
    uint64_t word;
    std::memcpy(&word, from, sizeof(word));
    return swap ? __builtin_bswap64(word) : word;
}

// How a sample type is fetched and scaled. Read gives the value in a register type, Scale the float
// for the plane. They stand apart so that a block's reads, which are byte shuffling, and its
// scaling, which is arithmetic on equal lanes, are two simple loops.
template <typename T>
struct Sample;

template <>
struct Sample<signed char> {
    using Value = int32_t;
    static Value Read(const char* from, bool) { return static_cast<signed char>(*from); }
    static float Scale(Value value) { return static_cast<float>(value) / 127.0F; }
};

template <>
struct Sample<unsigned char> {
    using Value = int32_t;
    static Value Read(const char* from, bool) { return static_cast<unsigned char>(*from); }
    static float Scale(Value value) { return (static_cast<float>(value) + -128.0F) / 127.0F; }
};

template <>
struct Sample<short> {
    using Value = int32_t;
    static Value Read(const char* from, bool swap) {
        uint16_t word;
        std::memcpy(&word, from, sizeof(word));
        return static_cast<int16_t>(swap ? __builtin_bswap16(word) : word);
    }
    static float Scale(Value value) { return static_cast<float>(value) / 32767.0F; }
};

template <>
struct Sample<SInt24> {
    using Value = int32_t;
    static Value Read(const char* from, bool swap) {
        SInt24 sample;
        std::memcpy(&sample, from, sizeof(sample));
        return swap ? SInt24{{sample.mBytes[2], sample.mBytes[1], sample.mBytes[0]}} : sample;
    }
    static float Scale(Value value) { return static_cast<float>(value) / 8388607.0F; }
};

template <>
struct Sample<int> {
    using Value = int32_t;
    static Value Read(const char* from, bool swap) {
        return static_cast<int32_t>(Load32(from, swap));
    }
    // The rule is float(value) / 2147483647.0 in double precision, narrowed. The quotient exceeds
    // float(value) / 2^31, which is a float, by one part in 2^31; narrowing drops that, since half
    // a unit in a float's last place is at least one part in 2^25. So both are the same number.
    static float Scale(Value value) { return static_cast<float>(value) * 0x1p-31F; }
};

template <>
struct Sample<float> {
    using Value = uint32_t;
    static Value Read(const char* from, bool swap) { return Load32(from, swap); }
    static float Scale(Value value) {
        float sample;
        std::memcpy(&sample, &value, sizeof(sample));
        return sample;
    }
};

template <>
struct Sample<double> {
    using Value = uint64_t;
    static Value Read(const char* from, bool swap) { return Load64(from, swap); }
    static float Scale(Value value) {
        double sample;
        std::memcpy(&sample, &value, sizeof(sample));
        return static_cast<float>(sample);
    }
};

// Read for a sample that has another one behind it in the buffer.
template <typename T>
typename Sample<T>::Value ReadAhead(const char* from, bool swap) {
    return Sample<T>::Read(from, swap);
}

// One load in place of three, which takes the byte after the sample along.
template <>
int32_t ReadAhead<SInt24>(const char* from, bool swap) {
    const uint32_t word = Load32(from, swap);
    return static_cast<int32_t>(swap ? word : word << 8) >> 8;
}

// The frames of one block. Its loops have constant bounds, which is what lets a compiler turn the
// scaling loop into vector code at -O2.
constexpr size_t kBlockFrames = 64;

template <typename T, bool kSwap, size_t kChannels>
void WritePlanes(const char* samples, float* const* planes, size_t frames) {
    using S = Sample<T>;
    constexpr size_t kFrameBytes = kChannels * sizeof(T);

    size_t frame = 0;
    if constexpr (FourSamples<T>::kExist) {
        frame = WritePlanesInFours<T, kSwap, kChannels>(samples, planes, frames);
    }
    // At least one frame stays behind for the loop below, so that ReadAhead is within the buffer.
    for (; frames - frame > kBlockFrames; frame += kBlockFrames) {
        typename S::Value values[kChannels][kBlockFrames];
        for (size_t f = 0; f < kBlockFrames; ++f) {
            for (size_t c = 0; c < kChannels; ++c) {
                values[c][f] =
                    ReadAhead<T>(samples + (frame + f) * kFrameBytes + c * sizeof(T), kSwap);
            }
        }
        for (size_t c = 0; c < kChannels; ++c) {
            float* plane = planes[c] + frame;
            for (size_t f = 0; f < kBlockFrames; ++f) {
                plane[f] = S::Scale(values[c][f]);
            }
        }
    }
    for (; frame < frames; ++frame) {
        for (size_t c = 0; c < kChannels; ++c) {
            planes[c][frame] =
                S::Scale(S::Read(samples + frame * kFrameBytes + c * sizeof(T), kSwap));
        }
    }
}

template <typename T, size_t kChannels>
void WritePlanes(const char* samples, bool swap, float* const* planes, size_t frames) {
    if (swap) {
        WritePlanes<T, true, kChannels>(samples, planes, frames);
    } else {
        WritePlanes<T, false, kChannels>(samples, planes, frames);
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
        WritePlanes<T, 1>(samples, swap, planes, frames);
    } else if (channels == 2) {
        WritePlanes<T, 2>(samples, swap, planes, frames);
    } else if (channels == kSurroundChannels) {
        const SurroundOrder& surround = FindSurroundOrder(order);
        float* ordered[kSurroundChannels];
        for (size_t c = 0; c < kSurroundChannels; ++c) {
            ordered[c] = planes[surround.planes[c]];
        }
        WritePlanes<T, kSurroundChannels>(samples, swap, ordered, frames);
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
