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

// Eight pixels, each component a 14-bit number in a word of 16 bits; B and G are kBGFactor times as
// much where an arithmetic wants them so.
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
          mCrFromR(Single(matrix, 6)),
          mYFromRWords(_mm_or_si128(mYFromR, _mm_slli_epi32(mYFromR, 16))),
          mCbCrFromRWords(_mm_or_si128(mCbFromR, _mm_slli_epi32(mCrFromR, 16))) {}

    __m128i mYFromBG;
    __m128i mYFromR;
    __m128i mCbFromBG;
    __m128i mCbFromR;
    __m128i mCrFromBG;
    __m128i mCrFromR;

    // The same of R in every word, and of Cb and Cr in turn.
    __m128i mYFromRWords;
    __m128i mCbCrFromRWords;

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

// How the words of a source are averaged and weighed. In all forms B with G and R are truncated
// apart before they are added.

// Words of up to 15 bits, and any matrix.
struct WideArithmetic {
    static constexpr int kBGFactor = 1;

    static KVX_ALWAYS_INLINE __m128i Mean(__m128i a, __m128i b) {
        return _mm_srli_epi16(_mm_add_epi16(a, b), 1);
    }

    static KVX_ALWAYS_INLINE __m128i LumaOfBG(const __m128i (&bg)[2],
                                              const RGBToYUVCoefficients& coefficients) {
        const auto weigh = [&coefficients](__m128i words) {
            return _mm_srli_epi32(_mm_madd_epi16(words, coefficients.mYFromBG), 15);
        };
        return _mm_packs_epi32(weigh(bg[0]), weigh(bg[1]));
    }

    static KVX_ALWAYS_INLINE __m128i ChromaOfBG(__m128i bg,
                                                const RGBToYUVCoefficients& coefficients) {
        return TakeTurns(
            _mm_packs_epi32(_mm_srai_epi32(_mm_madd_epi16(bg, coefficients.mCbFromBG), 15),
                            _mm_srai_epi32(_mm_madd_epi16(bg, coefficients.mCrFromBG), 15)));
    }

    static KVX_ALWAYS_INLINE __m128i PrepareR(__m128i r) { return r; }

    static KVX_ALWAYS_INLINE __m128i LumaOfR(__m128i r, const RGBToYUVCoefficients& coefficients) {
        const __m128i zero = _mm_setzero_si128();
        const auto weigh = [&](__m128i words) {
            return _mm_srli_epi32(_mm_madd_epi16(words, coefficients.mYFromR), 15);
        };
        return _mm_packs_epi32(weigh(_mm_unpacklo_epi16(r, zero)),
                               weigh(_mm_unpackhi_epi16(r, zero)));
    }

    // From means of each pixel with the one to its left.
    static KVX_ALWAYS_INLINE __m128i ChromaOfR(__m128i means,
                                               const RGBToYUVCoefficients& coefficients) {
        // R stands in the even words; what is in the odd ones meets a coefficient of 0.
        const __m128i r = Mean(means, _mm_srli_epi32(means, 16));
        return TakeTurns(
            _mm_packs_epi32(_mm_srai_epi32(_mm_madd_epi16(r, coefficients.mCbFromR), 15),
                            _mm_srai_epi32(_mm_madd_epi16(r, coefficients.mCrFromR), 15)));
    }

    // Four words of Cb and four of Cr to Cb and Cr in turn.
    static KVX_ALWAYS_INLINE __m128i TakeTurns(__m128i chroma) {
        return _mm_shuffle_epi8(
            chroma, _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    }
};

// Words of 14 bits whose two lowest bits are clear: both means that the filter takes are whole. A
// product of R doubled is had shifted by 15, if it is not negative where it makes luma. With B and
// G doubled as well, their sums stand in the upper halves of double words, as words.
struct NarrowArithmetic {
    static constexpr int kBGFactor = 2;

    static bool Fits(const RGBToYUVCoefficients& coefficients) {
        return _mm_extract_epi16(coefficients.mYFromR, 0) < 0x8000;
    }

    static KVX_ALWAYS_INLINE __m128i Mean(__m128i a, __m128i b) { return _mm_avg_epu16(a, b); }

    static KVX_ALWAYS_INLINE __m128i LumaOfBG(const __m128i (&bg)[2],
                                              const RGBToYUVCoefficients& coefficients) {
        const auto weigh = [&coefficients](__m128i words) {
            return _mm_srli_epi32(_mm_madd_epi16(words, coefficients.mYFromBG), 16);
        };
        return _mm_packs_epi32(weigh(bg[0]), weigh(bg[1]));
    }

    static KVX_ALWAYS_INLINE __m128i ChromaOfBG(__m128i bg,
                                                const RGBToYUVCoefficients& coefficients) {
        const __m128i cb = _mm_madd_epi16(bg, coefficients.mCbFromBG);
        const __m128i cr = _mm_madd_epi16(bg, coefficients.mCrFromBG);
        const __m128i upperHalves = _mm_set1_epi32(static_cast<int>(0xFFFF0000));
        return _mm_or_si128(_mm_srli_epi32(cb, 16), _mm_and_si128(cr, upperHalves));
    }

    static KVX_ALWAYS_INLINE __m128i PrepareR(__m128i r) { return _mm_add_epi16(r, r); }

    static KVX_ALWAYS_INLINE __m128i LumaOfR(__m128i r, const RGBToYUVCoefficients& coefficients) {
        return _mm_mulhi_epi16(r, coefficients.mYFromRWords);
    }

    static KVX_ALWAYS_INLINE __m128i ChromaOfR(__m128i means,
                                               const RGBToYUVCoefficients& coefficients) {
        const __m128i swapped = _mm_shuffle_epi8(
            means, _mm_setr_epi8(2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13));
        return _mm_mulhi_epi16(Mean(means, swapped), coefficients.mCbCrFromRWords);
    }
};

// Luma of eight pixels and chroma of the even ones among them. Keeps the pixel to the left of the
// next eight.
template <typename Arithmetic, typename Levels>
class RGBToYUV {
  public:
    // `first` holds the pixel that a run begins with: it is its own left neighbour.
    RGBToYUV(const RGBToYUVCoefficients& coefficients, const RGBWords& first)
        : mCoefficients(coefficients),
          mLeftBG(_mm_shuffle_epi32(first.mBG[0], 0)),
          mLeftR(_mm_shuffle_epi32(_mm_shufflelo_epi16(Arithmetic::PrepareR(first.mR), 0), 0)) {}

    KVX_ALWAYS_INLINE YUVWords Convert(const RGBWords& rgb) {
        const __m128i r = Arithmetic::PrepareR(rgb.mR);
        return {Levels::Luma(_mm_add_epi16(Arithmetic::LumaOfBG(rgb.mBG, mCoefficients),
                                           Arithmetic::LumaOfR(r, mCoefficients))),
                Levels::Chroma(_mm_add_epi16(ChromaOfBG(rgb), ChromaOfR(r)))};
    }

  private:
    // Means of each pixel with the one to its left, then of an even one with the next.
    KVX_ALWAYS_INLINE __m128i ChromaOfBG(const RGBWords& rgb) {
        const __m128i means0 =
            Arithmetic::Mean(_mm_alignr_epi8(rgb.mBG[0], mLeftBG, 12), rgb.mBG[0]);
        const __m128i means1 =
            Arithmetic::Mean(_mm_alignr_epi8(rgb.mBG[1], rgb.mBG[0], 12), rgb.mBG[1]);
        mLeftBG = rgb.mBG[1];
        const __m128i bg =
            Arithmetic::Mean(TakeDwords<0, 2>(means0, means1), TakeDwords<1, 3>(means0, means1));
        return Arithmetic::ChromaOfBG(bg, mCoefficients);
    }

    KVX_ALWAYS_INLINE __m128i ChromaOfR(__m128i r) {
        const __m128i means = Arithmetic::Mean(_mm_alignr_epi8(r, mLeftR, 14), r);
        mLeftR = r;
        return Arithmetic::ChromaOfR(means, mCoefficients);
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
// Arithmetic; Layout gives its Levels, kGroupBytes and StoreGroup.
template <typename Source, typename Layout>
KVX_ALWAYS_INLINE void ConvertGroupsToYUV(const char* src, char* dst, ptrdiff_t groups,
                                          const RGBToYUVCoefficients& coefficients) {
    if (groups < 1) {
        return;
    }
    constexpr ptrdiff_t kEightBytes = 8 * Source::kBytesPerPixel;
    RGBToYUV<typename Source::Arithmetic, typename Layout::Levels> stage(coefficients,
                                                                         Source::LoadEight(src));
    for (ptrdiff_t group = 0; group < groups; ++group) {
        Source::PrefetchGroup(src);
        const YUVWords yuv[kYUVGroupEights] = {
            stage.Convert(Source::LoadEight(src)),
            stage.Convert(Source::LoadEight(src + kEightBytes)),
            stage.Convert(Source::LoadEight(src + 2 * kEightBytes))};
        Layout::StoreGroup(dst, yuv);
        src += kYUVGroupEights * kEightBytes;
        dst += Layout::kGroupBytes;
    }
}

}  // namespace KVX::Converter::Video
