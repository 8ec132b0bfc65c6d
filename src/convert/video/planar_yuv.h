// Sixteen pixels of 4:2:2 to the host's BGRA at once, for the matrices of video: the same sums as
// those of pack.h to the bit, at less than half the instructions.
//
// The gain is in 16-bit arithmetic on planes. A product of a sample at the top of its word and a
// coefficient is computed in two halves; its high half is the product, truncated as the sums need
// it. Where luma and chroma are to be truncated together, the carry out of the two low halves
// corrects for having truncated them separately.
#pragma once

#include <cstddef>

#include "convert/video/conversion.h"
#include "convert/video/pack.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

constexpr int kPlanarPixels = 16;

// Eight pairs. Chroma less its neutral level fills its word, times 256 for 8-bit samples or 64 for
// 10-bit ones; luma less black does not fit that and has half as much, times 128 or 32.
struct PlanarYUV {
    Integers mU;
    Integers mV;
    Integers mY0;
    Integers mY1;
};

// Sums of 64 units to an 8-bit level, in 16 bits, of the even and the odd pixels.
struct PlanarSums {
    Integers mEven;
    Integers mOdd;
};

struct PlanarRGB {
    PlanarSums mB;
    PlanarSums mG;
    PlanarSums mR;
};

class PlanarCoefficients {
  public:
    explicit PlanarCoefficients(const TransformMatrix& matrix) {
        const float* m = matrix.mCoefficient;
        const int lumaR = Fixed(m[0], 16384.0f);
        const int lumaG = Fixed(m[3], 16384.0f);
        const int lumaB = Fixed(m[6], 8192.0f);
        const int uFromR = Fixed(m[1], 16384.0f);
        const int uFromG = Fixed(m[4], 16384.0f);
        const int uFromB = Fixed(m[7], 8192.0f);
        const int vFromR = Fixed(m[2], 16384.0f);
        const int vFromG = Fixed(m[5], 16384.0f);
        const int vFromB = Fixed(m[8], 8192.0f);
        // One luma term for all rows, R without U and B without V, and sums that stay in 16 bits:
        // that of B alone may pass them, upward.
        mFits = lumaR == lumaG && lumaR == 2 * lumaB && IsBetween(lumaR, 0x4000, kMostLuma) &&
                uFromR == 0 && vFromB == 0 && IsBetween(vFromR, -kMostChroma, kMostChroma) &&
                IsBetween(Magnitude(uFromG) + Magnitude(vFromG), 0, kMostChroma) &&
                IsBetween(uFromB, 0x4000, kMostChroma);
        mLuma = Words(2 * lumaR);
        mVToR = Words(vFromR);
        mUToG = Words(uFromG);
        mVToG = Words(vFromG);
        mUToB = Words(2 * uFromB);
    }

    // Whether the matrix is one that Sum is made for. Rec. 601 and Rec. 709 are.
    bool Fits() const { return mFits; }

    // kSaturate tells what becomes of odd pixels' B past 16 bits: the largest value, or wrapped.
    template <bool kSaturate>
    KVX_ALWAYS_INLINE PlanarRGB Sum(const PlanarYUV& yuv) const {
        const Halves y0 = MultiplyLarge(yuv.mY0, mLuma);
        const Halves y1 = MultiplyLarge(yuv.mY1, mLuma);
        const Halves vToR = Multiply(yuv.mV, mVToR);
        const Halves uToG = Multiply(yuv.mU, mUToG);
        const Halves vToG = Multiply(yuv.mV, mVToG);
        const Halves uToB = MultiplyLarge(yuv.mU, mUToB);

        // Luma is truncated together with U in even pixels, with V in odd ones.
        const Integers chromaG = AddWords(uToG.mHigh, vToG.mHigh);
        const Integers oddB =
            kSaturate ? AddSaturatingWords(uToB.mHigh, y1.mHigh) : AddWords(uToB.mHigh, y1.mHigh);
        return {
            {AddSaturatingWords(uToB.mHigh, AddCarry(y0.mHigh, uToB, y0)), oddB},
            {AddCarry(AddWords(chromaG, y0.mHigh), uToG, y0),
             AddCarry(AddWords(chromaG, y1.mHigh), vToG, y1)},
            {AddWords(vToR.mHigh, y0.mHigh), AddCarry(AddWords(vToR.mHigh, y1.mHigh), vToR, y1)}};
    }

  private:
    struct Halves {
        Integers mHigh;
        Integers mLow;
    };
    // The largest sums: luma of 239 levels, chroma of 128 on either side.
    static constexpr int kMostLuma = 19200;
    static constexpr int kMostChroma = 29500;

    static int Fixed(float coefficient, float scale) { return TruncateToInt(coefficient * scale); }
    static bool IsBetween(int value, int lowest, int highest) {
        return value >= lowest && value <= highest;
    }
    static int Magnitude(int value) { return value < 0 ? -value : value; }
    static KVX_ALWAYS_INLINE Integers Words(int value) { return EveryWord(value); }

    static KVX_ALWAYS_INLINE Halves Multiply(Integers samples, Integers coefficient) {
        return {MultiplyWordsHigh(samples, coefficient), MultiplyWordsLow(samples, coefficient)};
    }

    // For a coefficient from 0x8000 to 0xFFFF, which a signed word holds as 0x10000 less.
    static KVX_ALWAYS_INLINE Halves MultiplyLarge(Integers samples, Integers coefficient) {
        return {AddWords(MultiplyWordsHigh(samples, coefficient), samples),
                MultiplyWordsLow(samples, coefficient)};
    }

    // The low halves are multiples of 32, so that their sum is 0xFFFF only by saturation.
    static KVX_ALWAYS_INLINE Integers AddCarry(Integers sum, const Halves& a, const Halves& b) {
        const Integers carry =
            EqualWords(AddSaturatingUnsignedWords(a.mLow, b.mLow), EveryWord(-1));
        return SubtractWords(sum, carry);
    }

    bool mFits;
    Integers mLuma;
    Integers mVToR;
    Integers mUToG;
    Integers mVToG;
    Integers mUToB;
};

// Words of B, G, R and A of sixteen pixels in the host's order, two pixels in a register, to
// `store(register, index)`.
template <typename Store>
KVX_ALWAYS_INLINE void Interleave(const PlanarRGB& rgb, Integers alpha, Store store) {
    const auto half = [&](Integers b, Integers g, Integers r, int first) {
        const Integers bgLow = InterleaveLowWords(b, g);
        const Integers bgHigh = InterleaveHighWords(b, g);
        const Integers raLow = InterleaveLowWords(r, alpha);
        const Integers raHigh = InterleaveHighWords(r, alpha);
        store(InterleaveLowDwords(bgLow, raLow), first);
        store(InterleaveHighDwords(bgLow, raLow), first + 1);
        store(InterleaveLowDwords(bgHigh, raHigh), first + 2);
        store(InterleaveHighDwords(bgHigh, raHigh), first + 3);
    };
    half(InterleaveLowWords(rgb.mB.mEven, rgb.mB.mOdd),
         InterleaveLowWords(rgb.mG.mEven, rgb.mG.mOdd),
         InterleaveLowWords(rgb.mR.mEven, rgb.mR.mOdd), 0);
    half(InterleaveHighWords(rgb.mB.mEven, rgb.mB.mOdd),
         InterleaveHighWords(rgb.mG.mEven, rgb.mG.mOdd),
         InterleaveHighWords(rgb.mR.mEven, rgb.mR.mOdd), 4);
}

template <typename Step>
KVX_ALWAYS_INLINE PlanarRGB ForAll(const PlanarRGB& rgb, Step step) {
    return {{step(rgb.mB.mEven), step(rgb.mB.mOdd)},
            {step(rgb.mG.mEven), step(rgb.mG.mOdd)},
            {step(rgb.mR.mEven), step(rgb.mR.mOdd)}};
}

// The finishing steps of pack.h for sixteen pixels.
struct PlanarPack8u {
    using Pack = Pack8u;
    static constexpr bool kSaturates = false;

    static KVX_ALWAYS_INLINE void Store(char* to, const PlanarRGB& rgb) {
        const Integers b = Bytes(rgb.mB);
        const Integers g = Bytes(rgb.mG);
        const Integers r = Bytes(rgb.mR);
        const Integers alpha = EveryByte(-1);
        const Integers bgLow = InterleaveLowBytes(b, g);
        const Integers bgHigh = InterleaveHighBytes(b, g);
        const Integers raLow = InterleaveLowBytes(r, alpha);
        const Integers raHigh = InterleaveHighBytes(r, alpha);
        Stream(to, InterleaveLowWords(bgLow, raLow));
        Stream(to + 16, InterleaveHighWords(bgLow, raLow));
        Stream(to + 32, InterleaveLowWords(bgHigh, raHigh));
        Stream(to + 48, InterleaveHighWords(bgHigh, raHigh));
    }

  private:
    static KVX_ALWAYS_INLINE Integers Bytes(const PlanarSums& sums) {
        // Shifts by six. Multipliers do them, since real shifts compete with shuffles.
        const Integers kShift6 = EveryWord(1 << (16 - 6));
        const Integers planes = PackWordsToUnsignedBytes(MultiplyWordsHigh(sums.mEven, kShift6),
                                                         MultiplyWordsHigh(sums.mOdd, kShift6));
        return ShuffleBytes(planes,
                            MakeBytes(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
    }
};

struct PlanarPack16u {
    using Pack = Pack16u;
    static constexpr bool kSaturates = false;

    static KVX_ALWAYS_INLINE void Store(char* to, const PlanarRGB& sums) {
        // Sums below 0, those of B that have wrapped among them, make 0 from the start. Scaled, a
        // sum of B can pass 15 bits and makes 0 as well.
        PlanarRGB rgb = ForAll(sums, [](Integers sum) {
            const Integers raised = MaxWords(sum, Zero());
            return AddWords(raised, ShiftUnsignedWordsRight<8>(raised));
        });
        rgb.mB.mEven = MaxWords(rgb.mB.mEven, Zero());
        rgb.mB.mOdd = MaxWords(rgb.mB.mOdd, Zero());
        rgb = ForAll(rgb, [](Integers scaled) {
            return ShiftWordsLeft<1>(MinWords(scaled, LoadConstant(kv8i_0x4000)));
        });
        Interleave(rgb, EveryWord(0x8000),
                   [to](Integers two, int index) { Stream(to + 16 * index, two); });
    }
};

struct PlanarPack32f {
    using Pack = Pack32f;
    static constexpr bool kSaturates = true;

    static KVX_ALWAYS_INLINE void Store(char* to, const PlanarRGB& sums) {
        // Limited before they are scaled: 255 levels make exactly 1.0.
        const Integers white = EveryWord(255 << 6);
        const PlanarRGB rgb =
            ForAll(sums, [white](Integers sum) { return MinWords(MaxWords(sum, Zero()), white); });
        const Floats scale = LoadAlignedFloats(kv4f_255thShift6);
        const Integers zero = Zero();
        Interleave(rgb, white, [=](Integers two, int index) {
            char* const at = to + 32 * index;
            Stream(at, MultiplyFloats(ToFloats(InterleaveLowWords(two, zero)), scale));
            Stream(at + 16, MultiplyFloats(ToFloats(InterleaveHighWords(two, zero)), scale));
        });
    }
};

}  // namespace KVX::Converter::Video
