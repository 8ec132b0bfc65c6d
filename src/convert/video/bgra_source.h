// The host's BGRA formats as sources of ConvertGroupsToYUV. Alpha is dropped.
#pragma once

#include <tmmintrin.h>

#include "convert/video/rgb_to_yuv.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

// Words of two pixels B G R A B G R A each, four registers of them, in the order of RGBWords.
KVX_ALWAYS_INLINE RGBWords ArrangeRGBWords(const __m128i (&pixels)[4]) {
    const __m128i kR = _mm_setr_epi8(4, 5, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const auto bg = [](__m128i low, __m128i high) {
        return _mm_castps_si128(
            _mm_shuffle_ps(_mm_castsi128_ps(low), _mm_castsi128_ps(high), _MM_SHUFFLE(2, 0, 2, 0)));
    };
    const auto r = [kR](__m128i low, __m128i high) {
        return _mm_unpacklo_epi32(_mm_shuffle_epi8(low, kR), _mm_shuffle_epi8(high, kR));
    };
    return {{bg(pixels[0], pixels[1]), bg(pixels[2], pixels[3])},
            _mm_unpacklo_epi64(r(pixels[0], pixels[1]), r(pixels[2], pixels[3]))};
}

template <typename Memory, int kPrefetchDistance>
struct BGRA8uSource {
    using Arithmetic = WideArithmetic;
    static constexpr int kBytesPerPixel = 4;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
        PrefetchAhead<Memory, kPrefetchDistance>(from);
    }

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        const __m128i low = Memory::Load(from);
        const __m128i high = Memory::Load(from + 16);
        const __m128i kBG = _mm_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1);
        const __m128i kR =
            _mm_setr_epi8(2, -1, 6, -1, 10, -1, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1);
        return {{Widen(_mm_shuffle_epi8(low, kBG)), Widen(_mm_shuffle_epi8(high, kBG))},
                Widen(_mm_unpacklo_epi64(_mm_shuffle_epi8(low, kR), _mm_shuffle_epi8(high, kR)))};
    }

  private:
    static KVX_ALWAYS_INLINE __m128i Widen(__m128i words) { return _mm_slli_epi16(words, 6); }
};

template <typename Memory, int kPrefetchDistance>
struct BGRA16uSource {
    using Arithmetic = WideArithmetic;
    static constexpr int kBytesPerPixel = 8;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
        PrefetchAhead<Memory, kPrefetchDistance>(from);
    }

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        __m128i pixels[4];
        for (int i = 0; i < 4; ++i) {
            pixels[i] = _mm_srli_epi16(Memory::Load(from + 16 * i), 1);
        }
        return ArrangeRGBWords(pixels);
    }
};

template <typename Memory, int kPrefetchDistance, int kSecondPrefetchDistance>
struct BGRA32fSource {
    using Arithmetic = WideArithmetic;
    static constexpr int kBytesPerPixel = 16;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
        PrefetchAhead<Memory, kPrefetchDistance, kSecondPrefetchDistance>(from);
    }

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        __m128i pixels[4];
        for (int i = 0; i < 4; ++i) {
            pixels[i] = _mm_packs_epi32(LoadOne(from + 32 * i), LoadOne(from + 32 * i + 16));
        }
        return ArrangeRGBWords(pixels);
    }

  private:
    static KVX_ALWAYS_INLINE __m128i LoadOne(const char* from) {
        const __m128 pixel = _mm_castsi128_ps(Memory::Load(from));
        const __m128 limited = _mm_min_ps(_mm_max_ps(pixel, _mm_setzero_ps()), _mm_set1_ps(1.0f));
        return _mm_cvtps_epi32(_mm_mul_ps(limited, _mm_set1_ps(16384.0f)));
    }
};

}  // namespace KVX::Converter::Video
