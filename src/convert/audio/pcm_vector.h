// Interleaved samples to planes of float, four frames at a time, for the forms that most sound has:
// integers of 16 and 32 bits and floats, in either byte order. A compiler makes vector code of a
// sample's arithmetic by itself, but not of taking channels apart. The results are those of the
// scalar code to the bit.
#pragma once

#include <tmmintrin.h>

#include <cstddef>

namespace KVX::Converter::Audio {

constexpr size_t kVectorFrames = 4;

// Four frames, a vector for each channel and 32 bits for each sample.
template <size_t kChannels>
struct ChannelVectors {
    __m128i v[kChannels];
};

// Samples of kBytes in the machine's byte order.
template <size_t kBytes, bool kSwap>
inline __m128i OrderBytes(__m128i samples) {
    if constexpr (!kSwap) {
        return samples;
    } else if constexpr (kBytes == 2) {
        return _mm_shuffle_epi8(
            samples, _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
    } else {
        return _mm_shuffle_epi8(
            samples, _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
    }
}

template <size_t kBytes, bool kSwap>
inline __m128i LoadSixteenBytes(const char* from) {
    return OrderBytes<kBytes, kSwap>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

inline __m128i LoadEightBytes(const char* from) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
}

// Lanes kA and kB of a, then kC and kD of b.
template <int kA, int kB, int kC, int kD>
inline __m128i TakeLanes(__m128i a, __m128i b) {
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(kD, kC, kB, kA)));
}

// Two samples of 16 bits in each lane, sign-extended: the lower, which comes first, and the upper.
inline __m128i LowerHalves(__m128i lanes) {
    return _mm_srai_epi32(_mm_slli_epi32(lanes, 16), 16);
}

inline __m128i UpperHalves(__m128i lanes) {
    return _mm_srai_epi32(lanes, 16);
}

// How samples of so many bytes and channels are taken apart.
template <size_t kBytes, size_t kChannels, bool kSwap>
struct Interleaved;

template <bool kSwap>
struct Interleaved<2, 1, kSwap> {
    static ChannelVectors<1> Load(const char* from) {
        const __m128i words = OrderBytes<2, kSwap>(LoadEightBytes(from));
        return {{UpperHalves(_mm_unpacklo_epi16(words, words))}};
    }
};

template <bool kSwap>
struct Interleaved<2, 2, kSwap> {
    static ChannelVectors<2> Load(const char* from) {
        const __m128i pairs = LoadSixteenBytes<2, kSwap>(from);
        return {{LowerHalves(pairs), UpperHalves(pairs)}};
    }
};

// A frame is three pairs.
template <bool kSwap>
struct Interleaved<2, 6, kSwap> {
    static ChannelVectors<6> Load(const char* from) {
        const __m128i a = LoadSixteenBytes<2, kSwap>(from);
        const __m128i b = LoadSixteenBytes<2, kSwap>(from + 16);
        const __m128i c = LoadSixteenBytes<2, kSwap>(from + 32);
        const __m128i first = TakeLanes<0, 3, 0, 2>(a, TakeLanes<2, 2, 1, 1>(b, c));
        const __m128i second =
            TakeLanes<0, 2, 0, 2>(TakeLanes<1, 1, 0, 0>(a, b), TakeLanes<3, 3, 2, 2>(b, c));
        const __m128i third = TakeLanes<0, 2, 0, 3>(TakeLanes<2, 2, 1, 1>(a, b), c);
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
        const __m128i low = LoadSixteenBytes<4, kSwap>(from);
        const __m128i high = LoadSixteenBytes<4, kSwap>(from + 16);
        return {{TakeLanes<0, 2, 0, 2>(low, high), TakeLanes<1, 3, 1, 3>(low, high)}};
    }
};

template <bool kSwap>
struct Interleaved<4, 6, kSwap> {
    static ChannelVectors<6> Load(const char* from) {
        constexpr size_t kFrame = 6 * sizeof(float);
        ChannelVectors<6> channels;
        for (size_t pair = 0; pair < 3; ++pair) {
            const char* const at = from + 8 * pair;
            const __m128i low = _mm_unpacklo_epi64(LoadEightBytes(at), LoadEightBytes(at + kFrame));
            const __m128i high = _mm_unpacklo_epi64(LoadEightBytes(at + 2 * kFrame),
                                                    LoadEightBytes(at + 3 * kFrame));
            channels.v[2 * pair] = OrderBytes<4, kSwap>(TakeLanes<0, 2, 0, 2>(low, high));
            channels.v[2 * pair + 1] = OrderBytes<4, kSwap>(TakeLanes<1, 3, 1, 3>(low, high));
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
    static __m128 Scale(__m128i values) {
        return _mm_div_ps(_mm_cvtepi32_ps(values), _mm_set1_ps(32767.0F));
    }
};

// As the scalar code has it, by a factor.
template <>
struct FourSamples<int> {
    static constexpr bool kExist = true;
    static __m128 Scale(__m128i values) {
        return _mm_mul_ps(_mm_cvtepi32_ps(values), _mm_set1_ps(0x1p-31F));
    }
};

template <>
struct FourSamples<float> {
    static constexpr bool kExist = true;
    static __m128 Scale(__m128i values) { return _mm_castsi128_ps(values); }
};

// Converts as many frames as go in fours and answers how many those are.
template <typename T, bool kSwap, size_t kChannels>
size_t WritePlanesInFours(const char* samples, float* const* planes, size_t frames) {
    size_t frame = 0;
    for (; frame + kVectorFrames <= frames; frame += kVectorFrames) {
        const auto channels =
            Interleaved<sizeof(T), kChannels, kSwap>::Load(samples + frame * kChannels * sizeof(T));
        for (size_t c = 0; c < kChannels; ++c) {
            _mm_storeu_ps(planes[c] + frame, FourSamples<T>::Scale(channels.v[c]));
        }
    }
    return frame;
}

}  // namespace KVX::Converter::Audio
