// Four pixels of YUV to the host's BGRA in vector code: the matrix and the finishing steps that
// uyvy and v210 share.
//
// A run of four pixels is two pairs in eight 16-bit words, U Y0 V Y1 U Y0 V Y1, less their black
// and neutral levels. The sums that the matrix makes of them are 32-bit numbers; 64 units are an
// 8-bit level.
#pragma once

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
    Integers mB;
    Integers mG;
    Integers mR;
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

    KVX_ALWAYS_INLINE RGBSums Sum(Integers words) const {
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
            mEven = MakeWords(u, y, v, 0, u, y, v, 0);
            mOdd = MakeWords(u, 0, v, y, u, 0, v, y);
        }

        template <int kRowShift>
        KVX_ALWAYS_INLINE Integers Sum(Integers words) const {
            const Integers even = ShiftDwordsRight<kRowShift>(MultiplyAddWords(words, mEven));
            const Integers odd = ShiftDwordsRight<kRowShift>(MultiplyAddWords(words, mOdd));
            return MultiplyAddWords(PackDwordsToWords(even, odd), EveryWord(1));
        }

        static short Fixed(float coefficient, float scale) {
            return static_cast<short>(TruncateToInt(coefficient * scale));
        }

        Integers mEven;
        Integers mOdd;
    };

    Row mR;
    Row mG;
    Row mB;
};

template <typename T>
KVX_ALWAYS_INLINE Integers LoadConstant(const T* constant) {
    return LoadAligned(constant);
}

// The low 16 bits of the sums, B with G and R with `alpha`, a word each.
KVX_ALWAYS_INLINE Integers JoinWords(Integers low, Integers high) {
    return Or(And(low, EveryDword(0xFFFF)), ShiftDwordsLeft<16>(high));
}

KVX_ALWAYS_INLINE Integers JoinAlpha(Integers low, const int* alpha) {
    return Or(And(low, EveryDword(0xFFFF)), LoadConstant(alpha));
}

// Four pixels, 16 bytes. A sum past 16 bits wraps.
KVX_ALWAYS_INLINE void rgb8u_pack8(char* to, const RGBSums& sums) {
    const Integers bg = ShiftWordsRight<6>(JoinWords(sums.mB, sums.mG));
    const Integers ra = ShiftWordsRight<6>(JoinAlpha(sums.mR, kv4i_0x3fff0000));
    Stream(to, ShuffleBytes(PackWordsToUnsignedBytes(bg, ra),
                            MakeBytes(0, 1, 8, 9, 4, 5, 12, 13, 2, 3, 10, 11, 6, 7, 14, 15)));
}

// Four pixels, 32 bytes. Scales 64 units to 64.25, so that 255 levels make 16384; a sum past 16
// bits wraps to 0.
KVX_ALWAYS_INLINE void rgb16u_pack8(char* to, const RGBSums& sums) {
    const auto scale = [](Integers sum) { return AddDwords(sum, ShiftDwordsRight<8>(sum)); };
    const auto finish = [](Integers words) {
        const Integers raised = MaxWords(words, Zero());
        return ShiftWordsLeft<1>(MinWords(raised, LoadConstant(kv8i_0x4000)));
    };
    const Integers bg = finish(JoinWords(scale(sums.mB), scale(sums.mG)));
    const Integers ra = finish(JoinAlpha(scale(sums.mR), kv4i_0x40000000));
    const Integers even = InterleaveLowDwords(bg, ra);
    const Integers odd = InterleaveHighDwords(bg, ra);
    Stream(to, InterleaveLowQwords(even, odd));
    Stream(to + 16, InterleaveHighQwords(even, odd));
}

// Four pixels, 64 bytes.
KVX_ALWAYS_INLINE void rgb32f_pack8(char* to, const RGBSums& sums) {
    const Floats one = EveryFloat(1.0f);
    const auto finish = [one](Integers sum) {
        const Floats scaled = MultiplyFloats(ToFloats(sum), LoadAlignedFloats(kv4f_255thShift6));
        return MinFloats(MaxFloats(scaled, ZeroFloats()), one);
    };
    const Floats b = finish(sums.mB);
    const Floats g = finish(sums.mG);
    const Floats r = finish(sums.mR);
    const Floats bgEven = InterleaveLowFloats(b, g);
    const Floats bgOdd = InterleaveHighFloats(b, g);
    const Floats raEven = InterleaveLowFloats(r, one);
    const Floats raOdd = InterleaveHighFloats(r, one);
    Stream(to, JoinLowFloats(bgEven, raEven));
    Stream(to + 16, JoinLowFloats(bgOdd, raOdd));
    Stream(to + 32, JoinHighFloats(bgEven, raEven));
    Stream(to + 48, JoinHighFloats(bgOdd, raOdd));
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
