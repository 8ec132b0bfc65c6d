// RGB to 4:2:2 in vector code, for all sources and both 4:2:2 layouts: matrix coefficients, luma,
// and chroma from a three-tap filter on the RGB words. Works on eight pixels at a time, in groups
// of 24.
#pragma once

#include "convert/video/conversion.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

constexpr int kYUVGroupPixels = 24;
constexpr int kYUVGroupEights = kYUVGroupPixels / 8;

// Eight pixels, each component a 14-bit number in a word of 16 bits; B and G are kBGFactor times as
// much where an arithmetic wants them so.
struct RGBWords {
    Integers mBG[2];  // B and G interleaved, four pixels each
    Integers mR;
};

// The same eight pixels at the destination's depth.
struct YUVWords {
    Integers mY;
    Integers mChroma;  // Cb and Cr interleaved, of the four even pixels
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
          mYFromRWords(Or(mYFromR, ShiftDwordsLeft<16>(mYFromR))),
          mCbCrFromRWords(Or(mCbFromR, ShiftDwordsLeft<16>(mCrFromR))) {}

    Integers mYFromBG;
    Integers mYFromR;
    Integers mCbFromBG;
    Integers mCbFromR;
    Integers mCrFromBG;
    Integers mCrFromR;

    // The same of R in every word, and of Cb and Cr interleaved.
    Integers mYFromRWords;
    Integers mCbCrFromRWords;

  private:
    static int Fixed(const TransformMatrix& matrix, int index) {
        return TruncateToInt(matrix.mCoefficient[index] * 32768.0f);
    }
    static KVX_ALWAYS_INLINE Integers Pair(const TransformMatrix& matrix, int low, int high) {
        return EveryDword((Fixed(matrix, low) & 0xFFFF) |
                          static_cast<int>(static_cast<unsigned>(Fixed(matrix, high)) << 16));
    }
    static KVX_ALWAYS_INLINE Integers Single(const TransformMatrix& matrix, int index) {
        return EveryDword(Fixed(matrix, index) & 0xFFFF);
    }
};

// What a 4:2:2 layout makes of the products, which are 14-bit numbers.
template <int kDepthShift, int kBlackLevel, int kLumaLimit, int kNeutralLevel>
struct YUVLevels {
    static KVX_ALWAYS_INLINE Integers Luma(Integers sum) {
        const Integers level =
            AddWords(ShiftUnsignedWordsRight<kDepthShift>(sum), EveryWord(kBlackLevel));
        return MinWords(level, EveryWord(kLumaLimit));
    }
    // No limit here: the matrices keep legal colours inside the range.
    static KVX_ALWAYS_INLINE Integers Chroma(Integers sum) {
        return AddWords(ShiftWordsRight<kDepthShift>(sum), EveryWord(kNeutralLevel));
    }
};

// How the words of a source are averaged and weighed. In all forms B with G and R are truncated
// apart before they are added.

// Words of up to 15 bits, and any matrix.
struct WideArithmetic {
    static constexpr int kBGFactor = 1;

    static KVX_ALWAYS_INLINE Integers Mean(Integers a, Integers b) {
        return ShiftUnsignedWordsRight<1>(AddWords(a, b));
    }

    static KVX_ALWAYS_INLINE Integers LumaOfBG(const Integers (&bg)[2],
                                               const RGBToYUVCoefficients& coefficients) {
        const auto weigh = [&coefficients](Integers words) {
            return ShiftUnsignedDwordsRight<15>(MultiplyAddWords(words, coefficients.mYFromBG));
        };
        return PackDwordsToWords(weigh(bg[0]), weigh(bg[1]));
    }

    static KVX_ALWAYS_INLINE Integers ChromaOfBG(Integers bg,
                                                 const RGBToYUVCoefficients& coefficients) {
        return InterleaveChroma(
            PackDwordsToWords(ShiftDwordsRight<15>(MultiplyAddWords(bg, coefficients.mCbFromBG)),
                              ShiftDwordsRight<15>(MultiplyAddWords(bg, coefficients.mCrFromBG))));
    }

    static KVX_ALWAYS_INLINE Integers PrepareR(Integers r) { return r; }

    static KVX_ALWAYS_INLINE Integers LumaOfR(Integers r,
                                              const RGBToYUVCoefficients& coefficients) {
        const Integers zero = Zero();
        const auto weigh = [&](Integers words) {
            return ShiftUnsignedDwordsRight<15>(MultiplyAddWords(words, coefficients.mYFromR));
        };
        return PackDwordsToWords(weigh(InterleaveLowWords(r, zero)),
                                 weigh(InterleaveHighWords(r, zero)));
    }

    // From means of each pixel with the one to its left.
    static KVX_ALWAYS_INLINE Integers ChromaOfR(Integers means,
                                                const RGBToYUVCoefficients& coefficients) {
        // R is in the even words; what is in the odd ones is multiplied by 0.
        const Integers r = Mean(means, ShiftUnsignedDwordsRight<16>(means));
        return InterleaveChroma(
            PackDwordsToWords(ShiftDwordsRight<15>(MultiplyAddWords(r, coefficients.mCbFromR)),
                              ShiftDwordsRight<15>(MultiplyAddWords(r, coefficients.mCrFromR))));
    }

    // Interleaves four words of Cb and four of Cr.
    static KVX_ALWAYS_INLINE Integers InterleaveChroma(Integers chroma) {
        return ShuffleBytes(chroma,
                            MakeBytes(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    }
};

// Words of 14 bits whose two lowest bits are clear: both means that the filter takes are exact. The
// high half of a product with R doubled is the product shifted by 15, if luma's coefficient is not
// negative. With B and G doubled as well, their sums are in the upper halves of double words.
struct NarrowArithmetic {
    static constexpr int kBGFactor = 2;

    static bool Fits(const RGBToYUVCoefficients& coefficients) {
        return FirstWord(coefficients.mYFromR) < 0x8000;
    }

    static KVX_ALWAYS_INLINE Integers Mean(Integers a, Integers b) {
        return AverageUnsignedWords(a, b);
    }

    static KVX_ALWAYS_INLINE Integers LumaOfBG(const Integers (&bg)[2],
                                               const RGBToYUVCoefficients& coefficients) {
        const auto weigh = [&coefficients](Integers words) {
            return ShiftUnsignedDwordsRight<16>(MultiplyAddWords(words, coefficients.mYFromBG));
        };
        return PackDwordsToWords(weigh(bg[0]), weigh(bg[1]));
    }

    static KVX_ALWAYS_INLINE Integers ChromaOfBG(Integers bg,
                                                 const RGBToYUVCoefficients& coefficients) {
        const Integers cb = MultiplyAddWords(bg, coefficients.mCbFromBG);
        const Integers cr = MultiplyAddWords(bg, coefficients.mCrFromBG);
        const Integers upperHalves = EveryDword(static_cast<int>(0xFFFF0000));
        return Or(ShiftUnsignedDwordsRight<16>(cb), And(cr, upperHalves));
    }

    static KVX_ALWAYS_INLINE Integers PrepareR(Integers r) { return AddWords(r, r); }

    static KVX_ALWAYS_INLINE Integers LumaOfR(Integers r,
                                              const RGBToYUVCoefficients& coefficients) {
        return MultiplyWordsHigh(r, coefficients.mYFromRWords);
    }

    static KVX_ALWAYS_INLINE Integers ChromaOfR(Integers means,
                                                const RGBToYUVCoefficients& coefficients) {
        const Integers swapped =
            ShuffleBytes(means, MakeBytes(2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13));
        return MultiplyWordsHigh(Mean(means, swapped), coefficients.mCbCrFromRWords);
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
          mLeftBG(TakeDwords<0, 0, 0, 0>(first.mBG[0])),
          mLeftR(TakeDwords<0, 0, 0, 0>(TakeLowWords<0, 0, 0, 0>(Arithmetic::PrepareR(first.mR)))) {
    }

    KVX_ALWAYS_INLINE YUVWords Convert(const RGBWords& rgb) {
        const Integers r = Arithmetic::PrepareR(rgb.mR);
        return {Levels::Luma(AddWords(Arithmetic::LumaOfBG(rgb.mBG, mCoefficients),
                                      Arithmetic::LumaOfR(r, mCoefficients))),
                Levels::Chroma(AddWords(ChromaOfBG(rgb), ChromaOfR(r)))};
    }

  private:
    // Means of each pixel with the one to its left, then of an even one with the next.
    KVX_ALWAYS_INLINE Integers ChromaOfBG(const RGBWords& rgb) {
        const Integers means0 = Arithmetic::Mean(TakeBytes<12>(mLeftBG, rgb.mBG[0]), rgb.mBG[0]);
        const Integers means1 = Arithmetic::Mean(TakeBytes<12>(rgb.mBG[0], rgb.mBG[1]), rgb.mBG[1]);
        mLeftBG = rgb.mBG[1];
        const Integers bg = Arithmetic::Mean(TakeDwords<0, 2, 0, 2>(means0, means1),
                                             TakeDwords<1, 3, 1, 3>(means0, means1));
        return Arithmetic::ChromaOfBG(bg, mCoefficients);
    }

    KVX_ALWAYS_INLINE Integers ChromaOfR(Integers r) {
        const Integers means = Arithmetic::Mean(TakeBytes<14>(mLeftR, r), r);
        mLeftR = r;
        return Arithmetic::ChromaOfR(means, mCoefficients);
    }

    RGBToYUVCoefficients mCoefficients;
    Integers mLeftBG;  // in the highest double word
    Integers mLeftR;   // in the highest word
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
