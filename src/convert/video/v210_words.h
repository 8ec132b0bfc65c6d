// Words of v210 from samples: Cb0 Y0 Cr0, Y1 Cb2 Y2, Cr2 Y3 Cb4 and Y4 Cr4 Y5, lowest sample first.
//
// Samples go into place by whole bytes, the lowest of a word at its bit 0, the middle one at its
// bit 8, the highest at its bit 16, once they are 1, 4 or 16 times as much.
#pragma once

#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

// Factors of the sample kFirst of a run and the seven after it, from those of six samples.
template <int kFirst>
KVX_ALWAYS_INLINE Integers Repeat(const short (&six)[6]) {
    return MakeWords(six[kFirst % 6], six[(kFirst + 1) % 6], six[(kFirst + 2) % 6],
                     six[(kFirst + 3) % 6], six[(kFirst + 4) % 6], six[(kFirst + 5) % 6],
                     six[kFirst % 6], six[(kFirst + 1) % 6]);
}

template <int kFirst>
KVX_ALWAYS_INLINE Integers EnlargeForV210Luma(Integers y) {
    constexpr short kFactors[6] = {4, 1, 16, 4, 1, 16};
    return MultiplyWordsLow(y, Repeat<kFirst>(kFactors));
}

// Interleaved Cb and Cr.
template <int kFirst>
KVX_ALWAYS_INLINE Integers EnlargeForV210Chroma(Integers chroma) {
    constexpr short kFactors[6] = {1, 16, 4, 1, 16, 4};
    return MultiplyWordsLow(chroma, Repeat<kFirst>(kFactors));
}

// Six enlarged samples of each kind to four words.
KVX_ALWAYS_INLINE Integers MakeV210Words(Integers y, Integers chroma) {
    const Integers fromY =
        ShuffleBytes(y, MakeBytes(-1, 0, 1, -1, 2, 3, 4, 5, -1, 6, 7, -1, 8, 9, 10, 11));
    const Integers fromChroma =
        ShuffleBytes(chroma, MakeBytes(0, 1, 2, 3, -1, 4, 5, -1, 6, 7, 8, 9, -1, 10, 11, -1));
    return Or(fromY, fromChroma);
}

// What chroma below 0 has above its sixteen bits, from words that are all sign.
KVX_ALWAYS_INLINE Integers V210SignsOfChroma(Integers signs) {
    return ShuffleBytes(signs,
                        MakeBytes(-1, -1, 0, 1, -1, -1, -1, 4, -1, -1, 6, 7, -1, -1, -1, 10));
}

}  // namespace KVX::Converter::Video
