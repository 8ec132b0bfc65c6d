// Words of v210 from samples: Cb0 Y0 Cr0, Y1 Cb2 Y2, Cr2 Y3 Cb4 and Y4 Cr4 Y5, lowest sample first.
//
// Samples go into place by whole bytes, the lowest of a word at its bit 0, the middle one at its
// bit 8, the highest at its bit 16, once they are 1, 4 or 16 times as much.
#pragma once

#include <tmmintrin.h>

#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

// Factors of the sample kFirst of a run and the seven behind it, from those of six samples.
template <int kFirst>
KVX_ALWAYS_INLINE __m128i Repeat(const short (&six)[6]) {
    return _mm_setr_epi16(six[kFirst % 6], six[(kFirst + 1) % 6], six[(kFirst + 2) % 6],
                          six[(kFirst + 3) % 6], six[(kFirst + 4) % 6], six[(kFirst + 5) % 6],
                          six[kFirst % 6], six[(kFirst + 1) % 6]);
}

template <int kFirst>
KVX_ALWAYS_INLINE __m128i EnlargeForV210Luma(__m128i y) {
    constexpr short kFactors[6] = {4, 1, 16, 4, 1, 16};
    return _mm_mullo_epi16(y, Repeat<kFirst>(kFactors));
}

// Cb and Cr in turn.
template <int kFirst>
KVX_ALWAYS_INLINE __m128i EnlargeForV210Chroma(__m128i chroma) {
    constexpr short kFactors[6] = {1, 16, 4, 1, 16, 4};
    return _mm_mullo_epi16(chroma, Repeat<kFirst>(kFactors));
}

// Six enlarged samples of each kind to four words.
KVX_ALWAYS_INLINE __m128i MakeV210Words(__m128i y, __m128i chroma) {
    const __m128i fromY =
        _mm_shuffle_epi8(y, _mm_setr_epi8(-1, 0, 1, -1, 2, 3, 4, 5, -1, 6, 7, -1, 8, 9, 10, 11));
    const __m128i fromChroma = _mm_shuffle_epi8(
        chroma, _mm_setr_epi8(0, 1, 2, 3, -1, 4, 5, -1, 6, 7, 8, 9, -1, 10, 11, -1));
    return _mm_or_si128(fromY, fromChroma);
}

// What chroma below 0 has above its sixteen bits, from words that are all sign.
KVX_ALWAYS_INLINE __m128i V210SignsOfChroma(__m128i signs) {
    return _mm_shuffle_epi8(
        signs, _mm_setr_epi8(-1, -1, 0, 1, -1, -1, -1, 4, -1, -1, 6, 7, -1, -1, -1, 10));
}

}  // namespace KVX::Converter::Video
