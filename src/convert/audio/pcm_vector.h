// Interleaved samples to planes of float, four frames at a time, for the forms that most sound has:
// integers of 16 and 32 bits and floats, in either byte order. A compiler makes vector code of a
// sample's arithmetic by itself, but not of taking channels apart. The results are those of the
// scalar code to the bit.
#pragma once

#include <cstddef>

#include "convert/vector128.h"

namespace KVX::Converter::Audio {

using namespace Vector128;

constexpr size_t kVectorFrames = 4;

// Four frames, a vector for each channel and 32 bits for each sample.
template <size_t kChannels>
struct ChannelVectors {
    Integers v[kChannels];
};

// Samples of kBytes in the machine's byte order.
template <size_t kBytes, bool kSwap>
inline Integers OrderBytes(Integers samples) {
    if constexpr (!kSwap) {
        return samples;
    } else if constexpr (kBytes == 2) {
        return ShuffleBytes(samples,
                            MakeBytes(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
    } else {
        return ShuffleBytes(samples,
                            MakeBytes(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
    }
}

template <size_t kBytes, bool kSwap>
inline Integers LoadSixteenBytes(const char* from) {
    return OrderBytes<kBytes, kSwap>(Load(from));
}

// Two samples of 16 bits in each lane, sign-extended: the lower, which comes first, and the upper.
inline Integers LowerHalves(Integers lanes) {
    return ShiftDwordsRight<16>(ShiftDwordsLeft<16>(lanes));
}

inline Integers UpperHalves(Integers lanes) {
    return ShiftDwordsRight<16>(lanes);
}

// How samples of so many bytes and channels are taken apart.
template <size_t kBytes, size_t kChannels, bool kSwap>
struct Interleaved;

template <bool kSwap>
struct Interleaved<2, 1, kSwap> {
    static ChannelVectors<1> Load(const char* from) {
        const Integers words = OrderBytes<2, kSwap>(LoadEightBytes(from));
        return {{UpperHalves(InterleaveLowWords(words, words))}};
    }
};

template <bool kSwap>
struct Interleaved<2, 2, kSwap> {
    static ChannelVectors<2> Load(const char* from) {
        const Integers pairs = LoadSixteenBytes<2, kSwap>(from);
        return {{LowerHalves(pairs), UpperHalves(pairs)}};
    }
};

// A frame is three pairs.
template <bool kSwap>
struct Interleaved<2, 6, kSwap> {
    static ChannelVectors<6> Load(const char* from) {
        const Integers a = LoadSixteenBytes<2, kSwap>(from);
        const Integers b = LoadSixteenBytes<2, kSwap>(from + 16);
        const Integers c = LoadSixteenBytes<2, kSwap>(from + 32);
        const Integers first = TakeDwords<0, 3, 0, 2>(a, TakeDwords<2, 2, 1, 1>(b, c));
        const Integers second =
            TakeDwords<0, 2, 0, 2>(TakeDwords<1, 1, 0, 0>(a, b), TakeDwords<3, 3, 2, 2>(b, c));
        const Integers third = TakeDwords<0, 2, 0, 3>(TakeDwords<2, 2, 1, 1>(a, b), c);
        return {{LowerHalves(first), UpperHalves(first), LowerHalves(second), UpperHalves(second),
                 LowerHalves(third), UpperHalves(third)}};
    }
};

template <bool kSwap>
struct Interleaved<4, 1, kSwap> {
    static ChannelVectors<1> Load(const char* from) { return {{LoadSixteenBytes<4, kSwap>(from)}}; }
};

template <bool kSwap>
struct Interleaved<4, 2, kSwap> {
    static ChannelVectors<2> Load(const char* from) {
        const Integers low = LoadSixteenBytes<4, kSwap>(from);
        const Integers high = LoadSixteenBytes<4, kSwap>(from + 16);
        return {{TakeDwords<0, 2, 0, 2>(low, high), TakeDwords<1, 3, 1, 3>(low, high)}};
    }
};

template <bool kSwap>
struct Interleaved<4, 6, kSwap> {
    static ChannelVectors<6> Load(const char* from) {
        constexpr size_t kFrame = 6 * sizeof(float);
        ChannelVectors<6> channels;
        for (size_t pair = 0; pair < 3; ++pair) {
            const char* const at = from + 8 * pair;
            const Integers low =
                InterleaveLowQwords(LoadEightBytes(at), LoadEightBytes(at + kFrame));
            const Integers high = InterleaveLowQwords(LoadEightBytes(at + 2 * kFrame),
                                                      LoadEightBytes(at + 3 * kFrame));
            channels.v[2 * pair] = OrderBytes<4, kSwap>(TakeDwords<0, 2, 0, 2>(low, high));
            channels.v[2 * pair + 1] = OrderBytes<4, kSwap>(TakeDwords<1, 3, 1, 3>(low, high));
        }
        return channels;
    }
};

// What becomes of four samples.
template <typename T>
struct FourSamples {
    static constexpr bool kExist = false;
};

template <>
struct FourSamples<short> {
    static constexpr bool kExist = true;
    static Floats Scale(Integers values) {
        return DivideFloats(ToFloats(values), EveryFloat(32767.0F));
    }
};

// As the scalar code has it, by a factor.
template <>
struct FourSamples<int> {
    static constexpr bool kExist = true;
    static Floats Scale(Integers values) {
        return MultiplyFloats(ToFloats(values), EveryFloat(0x1p-31F));
    }
};

template <>
struct FourSamples<float> {
    static constexpr bool kExist = true;
    static Floats Scale(Integers values) { return AsFloats(values); }
};

// Converts as many frames as go in fours and answers how many those are.
template <typename T, bool kSwap, size_t kChannels>
size_t WritePlanesInFours(const char* samples, float* const* planes, size_t frames) {
    size_t frame = 0;
    for (; frame + kVectorFrames <= frames; frame += kVectorFrames) {
        const auto channels =
            Interleaved<sizeof(T), kChannels, kSwap>::Load(samples + frame * kChannels * sizeof(T));
        for (size_t c = 0; c < kChannels; ++c) {
            Store(planes[c] + frame, FourSamples<T>::Scale(channels.v[c]));
        }
    }
    return frame;
}

}  // namespace KVX::Converter::Audio
