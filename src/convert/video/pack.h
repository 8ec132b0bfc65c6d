// Four pixels of YUV to the host's BGRA in vector code: the matrix and the finishing steps that
// uyvy and v210 share.
//
// A run of four pixels is two pairs in eight 16-bit words, U Y0 V Y1 U Y0 V Y1, less their black
// and neutral levels. The sums that the matrix makes of them stand in 32 bits and count 64 units to
// an 8-bit level.
#pragma once

#include <tmmintrin.h>

#include "convert/video/conversion.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

alignas(16) inline constexpr int kv4i_0x3fff0000[4] = {0x3FFF0000, 0x3FFF0000, 0x3FFF0000,
                                                       0x3FFF0000};  // opaque in 8u: 255.98 levels
alignas(16) inline constexpr int kv4i_0x40000000[4] = {0x40000000, 0x40000000, 0x40000000,
                                                       0x40000000};  // opaque in 16u: half of it
alignas(16) inline constexpr short kv8i_0x4000[8] = {0x4000, 0x4000, 0x4000, 0x4000,
                                                     0x4000, 0x4000, 0x4000, 0x4000};
alignas(16) inline constexpr float kv4f_255thShift6[4] = {1.0f / (255 << 6), 1.0f / (255 << 6),
                                                          1.0f / (255 << 6), 1.0f / (255 << 6)};

// The three sums of four pixels, in the order even, even, odd, odd.
struct RGBSums {
    __m128i mB;
    __m128i mG;
    __m128i mR;
};

// Matrix rows as pairs of 16-bit words for the even and the odd pixel of a pair. Rows R and G count
// 1/16384, row B 1/8192, since its largest does not fit 16 bits otherwise; kShift, which goes with
// R and G, is 8 for 8-bit samples and 10 for 10-bit ones, and one less for B.
template <int kShift>
class YUVToRGBCoefficients {
  public:
    explicit YUVToRGBCoefficients(const TransformMatrix& matrix)
        : mR(matrix.mCoefficient, 16384.0f),
          mG(matrix.mCoefficient + 3, 16384.0f),
          mB(matrix.mCoefficient + 6, 8192.0f) {}

    KVX_ALWAYS_INLINE RGBSums Sum(__m128i words) const {
        return {mB.template Sum<kShift - 1>(words), mG.template Sum<kShift>(words),
                mR.template Sum<kShift>(words)};
    }

  private:
    // The luma of the even pixel is truncated together with U, that of the odd one with V.
    struct Row {
        Row(const float* coefficients, float scale) {
            const short y = Fixed(coefficients[0], scale);
            const short u = Fixed(coefficients[1], scale);
            const short v = Fixed(coefficients[2], scale);
            mEven = _mm_setr_epi16(u, y, v, 0, u, y, v, 0);
            mOdd = _mm_setr_epi16(u, 0, v, y, u, 0, v, y);
        }

        template <int kRowShift>
        KVX_ALWAYS_INLINE __m128i Sum(__m128i words) const {
            const __m128i even = _mm_srai_epi32(_mm_madd_epi16(words, mEven), kRowShift);
            const __m128i odd = _mm_srai_epi32(_mm_madd_epi16(words, mOdd), kRowShift);
            return _mm_madd_epi16(_mm_packs_epi32(even, odd), _mm_set1_epi16(1));
        }

        static short Fixed(float coefficient, float scale) {
            return static_cast<short>(static_cast<int>(coefficient * scale));
        }

        __m128i mEven;
        __m128i mOdd;
    };

    Row mR;
    Row mG;
    Row mB;
};

template <typename T>
KVX_ALWAYS_INLINE __m128i LoadConstant(const T* constant) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(constant));
}

// The low 16 bits of the sums, B with G and R with `alpha`, a word each.
KVX_ALWAYS_INLINE __m128i JoinWords(__m128i low, __m128i high) {
    return _mm_or_si128(_mm_and_si128(low, _mm_set1_epi32(0xFFFF)), _mm_slli_epi32(high, 16));
}

KVX_ALWAYS_INLINE __m128i JoinAlpha(__m128i low, const int* alpha) {
    return _mm_or_si128(_mm_and_si128(low, _mm_set1_epi32(0xFFFF)), LoadConstant(alpha));
}

// Four pixels, 16 bytes. A sum past 16 bits wraps.
KVX_ALWAYS_INLINE void rgb8u_pack8(char* to, const RGBSums& sums) {
    const __m128i bg = _mm_srai_epi16(JoinWords(sums.mB, sums.mG), 6);
    const __m128i ra = _mm_srai_epi16(JoinAlpha(sums.mR, kv4i_0x3fff0000), 6);
    Stream(to, _mm_shuffle_epi8(_mm_packus_epi16(bg, ra), _mm_setr_epi8(0, 1, 8, 9, 4, 5, 12, 13, 2,
                                                                        3, 10, 11, 6, 7, 14, 15)));
}

// Four pixels, 32 bytes. Scales 64 units to 64.25, so that 255 levels make 16384; a sum past 16
// bits wraps to 0.
KVX_ALWAYS_INLINE void rgb16u_pack8(char* to, const RGBSums& sums) {
    const auto scale = [](__m128i sum) { return _mm_add_epi32(sum, _mm_srai_epi32(sum, 8)); };
    const auto finish = [](__m128i words) {
        const __m128i raised = _mm_max_epi16(words, _mm_setzero_si128());
        return _mm_slli_epi16(_mm_min_epi16(raised, LoadConstant(kv8i_0x4000)), 1);
    };
    const __m128i bg = finish(JoinWords(scale(sums.mB), scale(sums.mG)));
    const __m128i ra = finish(JoinAlpha(scale(sums.mR), kv4i_0x40000000));
    const __m128i even = _mm_unpacklo_epi32(bg, ra);
    const __m128i odd = _mm_unpackhi_epi32(bg, ra);
    Stream(to, _mm_unpacklo_epi64(even, odd));
    Stream(to + 16, _mm_unpackhi_epi64(even, odd));
}

// Four pixels, 64 bytes.
KVX_ALWAYS_INLINE void rgb32f_pack8(char* to, const RGBSums& sums) {
    const __m128 one = _mm_set1_ps(1.0f);
    const auto finish = [one](__m128i sum) {
        const __m128 scaled = _mm_mul_ps(_mm_cvtepi32_ps(sum), _mm_load_ps(kv4f_255thShift6));
        return _mm_min_ps(_mm_max_ps(scaled, _mm_setzero_ps()), one);
    };
    const __m128 b = finish(sums.mB);
    const __m128 g = finish(sums.mG);
    const __m128 r = finish(sums.mR);
    const __m128 bgEven = _mm_unpacklo_ps(b, g);
    const __m128 bgOdd = _mm_unpackhi_ps(b, g);
    const __m128 raEven = _mm_unpacklo_ps(r, one);
    const __m128 raOdd = _mm_unpackhi_ps(r, one);
    Stream(to, _mm_movelh_ps(bgEven, raEven));
    Stream(to + 16, _mm_movelh_ps(bgOdd, raOdd));
    Stream(to + 32, _mm_movehl_ps(raEven, bgEven));
    Stream(to + 48, _mm_movehl_ps(raOdd, bgOdd));
}

// The finishing steps as parameters of the converters' loops.
struct Pack8u {
    static constexpr int kBytesPerPixel = 4;
    static KVX_ALWAYS_INLINE void Store(char* to, const RGBSums& sums) { rgb8u_pack8(to, sums); }
};

struct Pack16u {
    static constexpr int kBytesPerPixel = 8;
    static KVX_ALWAYS_INLINE void Store(char* to, const RGBSums& sums) { rgb16u_pack8(to, sums); }
};

struct Pack32f {
    static constexpr int kBytesPerPixel = 16;
    static KVX_ALWAYS_INLINE void Store(char* to, const RGBSums& sums) { rgb32f_pack8(to, sums); }
};

}  // namespace KVX::Converter::Video
