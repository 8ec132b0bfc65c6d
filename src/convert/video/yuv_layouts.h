// The two 4:2:2 layouts as destinations of ConvertGroupsToYUV.
#pragma once

#include <tmmintrin.h>

#include "convert/video/rgb_to_yuv.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

// U Y0 V Y1, a byte each.
struct UYVYLayout {
    using Levels = YUVLevels<6, 16, 255, 128>;
    static constexpr int kGroupBytes = 2 * kYUVGroupPixels;

    static KVX_ALWAYS_INLINE void StoreGroup(char* to, const YUVWords (&yuv)[kYUVGroupEights]) {
        for (const YUVWords& eight : yuv) {
            Stream(to, _mm_or_si128(eight.mChroma, _mm_slli_epi16(eight.mY, 8)));
            to += 16;
        }
    }
};

// Six pixels in four 32-bit words; stored plainly.
template <typename LayoutLevels>
struct V210Layout {
    using Levels = LayoutLevels;
    static constexpr int kGroupBytes = kYUVGroupPixels / 6 * 16;

    static KVX_ALWAYS_INLINE void StoreGroup(char* to, const YUVWords (&yuv)[kYUVGroupEights]) {
        // Every six luma words go with six chroma words, three pairs.
        StoreSix(to, yuv[0].mY, yuv[0].mChroma);
        StoreSix(to + 16, _mm_alignr_epi8(yuv[1].mY, yuv[0].mY, 12),
                 _mm_alignr_epi8(yuv[1].mChroma, yuv[0].mChroma, 12));
        StoreSix(to + 32, _mm_alignr_epi8(yuv[2].mY, yuv[1].mY, 8),
                 _mm_alignr_epi8(yuv[2].mChroma, yuv[1].mChroma, 8));
        StoreSix(to + 48, _mm_srli_si128(yuv[2].mY, 4), _mm_srli_si128(yuv[2].mChroma, 4));
    }

  private:
    // From luma Y0 to Y5 and chroma Cb0 Cr0 Cb2 Cr2 Cb4 Cr4 the words Cb0 Y0 Cr0, Y1 Cb2 Y2,
    // Cr2 Y3 Cb4 and Y4 Cr4 Y5, lowest sample first.
    static KVX_ALWAYS_INLINE void StoreSix(char* to, __m128i y, __m128i chroma) {
        const __m128i lowAndMiddle = _mm_or_si128(
            _mm_shuffle_epi8(y,
                             _mm_setr_epi8(-1, -1, 0, 1, 2, 3, -1, -1, -1, -1, 6, 7, 8, 9, -1, -1)),
            _mm_shuffle_epi8(
                chroma, _mm_setr_epi8(0, 1, -1, -1, -1, -1, 4, 5, 6, 7, -1, -1, -1, -1, 10, 11)));
        const __m128i high = _mm_or_si128(
            _mm_shuffle_epi8(
                y, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, 4, 5, -1, -1, -1, -1, -1, -1, 10, 11)),
            _mm_shuffle_epi8(
                chroma, _mm_setr_epi8(-1, -1, 2, 3, -1, -1, -1, -1, -1, -1, 8, 9, -1, -1, -1, -1)));
        // Chroma of superwhite colours can pass 10 bits; samples are laid over one another then.
        const __m128i low = _mm_madd_epi16(lowAndMiddle, _mm_set1_epi32(1));
        const __m128i middle = _mm_madd_epi16(lowAndMiddle, _mm_set1_epi32(1 << (16 + 10)));
        const __m128i words =
            _mm_or_si128(_mm_or_si128(low, middle), _mm_slli_epi32(high, 20 - 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), words);
    }
};

}  // namespace KVX::Converter::Video
