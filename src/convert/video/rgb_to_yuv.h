// RGB to 4:2:2 in vector code, for all sources and both 4:2:2 layouts: matrix coefficients, luma,
// and chroma from a three-tap filter on the RGB words. Works on eight pixels at a time, in groups
// of 24.
#pragma once

#include <tmmintrin.h>

#include "convert/video/conversion.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

constexpr int kYUVGroupPixels = 24;
constexpr int kYUVGroupEights = kYUVGroupPixels / 8;

// Eight pixels, each component a 14-bit number in a word of 16 bits.
struct RGBWords {
    __m128i mBG[2];  // B and G in turn, four pixels each
    __m128i mR;
};

// The same eight pixels at the destination's depth.
struct YUVWords {
    __m128i mY;
    __m128i mChroma;  // Cb and Cr in turn, of the four even pixels
};

// Matrix rows in units of 1/32768, truncated toward zero, laid out for multiply-add of B with G and
// of R with nothing.
struct RGBToYUVCoefficients {
    explicit RGBToYUVCoefficients(const TransformMatrix& matrix)
        : mYFromBG(Pair(matrix, 2, 1)),
          mYFromR(Single(matrix, 0)),
          mCbFromBG(Pair(matrix, 5, 4)),
          mCbFromR(Single(matrix, 3)),
          mCrFromBG(Pair(matrix, 8, 7)),
          mCrFromR(Single(matrix, 6)) {}

    __m128i mYFromBG;
    __m128i mYFromR;
    __m128i mCbFromBG;
    __m128i mCbFromR;
    __m128i mCrFromBG;
    __m128i mCrFromR;

  private:
    static int Fixed(const TransformMatrix& matrix, int index) {
        return static_cast<int>(matrix.mCoefficient[index] * 32768.0f);
    }
    static KVX_ALWAYS_INLINE __m128i Pair(const TransformMatrix& matrix, int low, int high) {
        return _mm_set1_epi32((Fixed(matrix, low) & 0xFFFF) |
                              static_cast<int>(static_cast<unsigned>(Fixed(matrix, high)) << 16));
    }
    static KVX_ALWAYS_INLINE __m128i Single(const TransformMatrix& matrix, int index) {
        return _mm_set1_epi32(Fixed(matrix, index) & 0xFFFF);
    }
};

// What a 4:2:2 layout makes of the products, which are 14-bit numbers.
template <int kDepthShift, int kBlackLevel, int kLumaLimit, int kNeutralLevel>
struct YUVLevels {
    static KVX_ALWAYS_INLINE __m128i Luma(__m128i sum) {
        const __m128i level =
            _mm_add_epi16(_mm_srli_epi16(sum, kDepthShift), _mm_set1_epi16(kBlackLevel));
        return _mm_min_epi16(level, _mm_set1_epi16(kLumaLimit));
    }
    // No limit here: the matrices keep legal colours inside the range.
    static KVX_ALWAYS_INLINE __m128i Chroma(__m128i sum) {
        return _mm_add_epi16(_mm_srai_epi16(sum, kDepthShift), _mm_set1_epi16(kNeutralLevel));
    }
};

// The mean of words of up to 15 bits, truncated.
struct TruncatedMean {
    static KVX_ALWAYS_INLINE __m128i Of(__m128i a, __m128i b) {
        return _mm_srli_epi16(_mm_add_epi16(a, b), 1);
    }
};

// The same in one step for words whose two lowest bits are clear: both means that the filter takes
// are then whole.
struct WholeMean {
    static KVX_ALWAYS_INLINE __m128i Of(__m128i a, __m128i b) { return _mm_avg_epu16(a, b); }
};

// Luma of eight pixels and chroma of the even ones among them. Keeps the pixel to the left of the
// next eight.
template <typename Mean, typename Levels>
class RGBToYUV {
  public:
    // `first` holds the pixel that a run begins with: it is its own left neighbour.
    RGBToYUV(const RGBToYUVCoefficients& coefficients, const RGBWords& first)
        : mCoefficients(coefficients),
          mLeftBG(_mm_shuffle_epi32(first.mBG[0], 0)),
          mLeftR(_mm_shuffle_epi32(_mm_shufflelo_epi16(first.mR, 0), 0)) {}

    KVX_ALWAYS_INLINE YUVWords Convert(const RGBWords& rgb) {
        return {Levels::Luma(LumaSum(rgb)), Levels::Chroma(ChromaSum(rgb))};
    }

  private:
    // B with G and R are truncated apart before they are added.
    KVX_ALWAYS_INLINE __m128i LumaSum(const RGBWords& rgb) const {
        const __m128i zero = _mm_setzero_si128();
        const __m128i fromBG =
            _mm_packs_epi32(_mm_srli_epi32(_mm_madd_epi16(rgb.mBG[0], mCoefficients.mYFromBG), 15),
                            _mm_srli_epi32(_mm_madd_epi16(rgb.mBG[1], mCoefficients.mYFromBG), 15));
        const __m128i fromR = _mm_packs_epi32(
            _mm_srli_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(rgb.mR, zero), mCoefficients.mYFromR),
                           15),
            _mm_srli_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(rgb.mR, zero), mCoefficients.mYFromR),
                           15));
        return _mm_add_epi16(fromBG, fromR);
    }

    KVX_ALWAYS_INLINE __m128i ChromaSum(const RGBWords& rgb) {
        // Means of each pixel with the one to its left, then of an even one with the next.
        const __m128i means0 = Mean::Of(_mm_alignr_epi8(rgb.mBG[0], mLeftBG, 12), rgb.mBG[0]);
        const __m128i means1 = Mean::Of(_mm_alignr_epi8(rgb.mBG[1], rgb.mBG[0], 12), rgb.mBG[1]);
        const __m128i bg =
            Mean::Of(TakeDwords<0, 2>(means0, means1), TakeDwords<1, 3>(means0, means1));
        const __m128i meansR = Mean::Of(_mm_alignr_epi8(rgb.mR, mLeftR, 14), rgb.mR);
        const __m128i r = Mean::Of(meansR, _mm_srli_epi32(meansR, 16));
        mLeftBG = rgb.mBG[1];
        mLeftR = rgb.mR;

        // R stands in the even words; what is in the odd ones meets a coefficient of 0.
        const __m128i fromBG =
            _mm_packs_epi32(_mm_srai_epi32(_mm_madd_epi16(bg, mCoefficients.mCbFromBG), 15),
                            _mm_srai_epi32(_mm_madd_epi16(bg, mCoefficients.mCrFromBG), 15));
        const __m128i fromR =
            _mm_packs_epi32(_mm_srai_epi32(_mm_madd_epi16(r, mCoefficients.mCbFromR), 15),
                            _mm_srai_epi32(_mm_madd_epi16(r, mCoefficients.mCrFromR), 15));
        const __m128i planes = _mm_add_epi16(fromBG, fromR);
        return _mm_unpacklo_epi16(planes, _mm_unpackhi_epi64(planes, planes));
    }

    template <int kFirst, int kSecond>
    static KVX_ALWAYS_INLINE __m128i TakeDwords(__m128i low, __m128i high) {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(low), _mm_castsi128_ps(high),
                                               _MM_SHUFFLE(kSecond, kFirst, kSecond, kFirst)));
    }

    RGBToYUVCoefficients mCoefficients;
    __m128i mLeftBG;  // in the highest double word
    __m128i mLeftR;   // in the highest word
};

// Converts a run of whole groups. Source gives kBytesPerPixel, LoadEight, PrefetchGroup and its
// Mean; Layout gives its Levels, kGroupBytes and StoreGroup.
template <typename Source, typename Layout>
KVX_ALWAYS_INLINE void ConvertGroupsToYUV(const char* src, char* dst, ptrdiff_t groups,
                                          const RGBToYUVCoefficients& coefficients) {
    if (groups < 1) {
        return;
    }
    RGBToYUV<typename Source::Mean, typename Layout::Levels> stage(coefficients,
                                                                   Source::LoadEight(src));
    for (ptrdiff_t group = 0; group < groups; ++group) {
        Source::PrefetchGroup(src);
        YUVWords yuv[kYUVGroupEights];
        for (int eight = 0; eight < kYUVGroupEights; ++eight) {
            yuv[eight] = stage.Convert(Source::LoadEight(src));
            src += 8 * Source::kBytesPerPixel;
        }
        Layout::StoreGroup(dst, yuv);
        dst += Layout::kGroupBytes;
    }
}

}  // namespace KVX::Converter::Video
