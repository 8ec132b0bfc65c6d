// Sixteen pixels of 4:2:2 to the host's BGRA at once, for the matrices of video: the same sums as
// those of pack.h to the bit, at less than half the instructions.
//
// The gain is in 16-bit arithmetic on planes. A product of a sample at the top of its word and a
// coefficient is had in two halves; its high half is the product truncated as the sums want it.
// Where luma and chroma are truncated together, the carry out of the two low halves makes good for
// having truncated them apart.
#pragma once

#include <tmmintrin.h>

#include <cstddef>

#include "convert/video/conversion.h"
#include "convert/video/pack.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

constexpr int kPlanarPixels = 16;

// Eight pairs. Chroma less its neutral level fills its word, times 256 for 8-bit samples or 64 for
// 10-bit ones; luma less black does not fit that and has half as much, times 128 or 32.
struct PlanarYUV {
    __m128i mU;
    __m128i mV;
    __m128i mY0;
    __m128i mY1;
};

// Sums of 64 units to an 8-bit level, in 16 bits, of the even and the odd pixels.
struct PlanarSums {
    __m128i mEven;
    __m128i mOdd;
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
        const __m128i chromaG = _mm_add_epi16(uToG.mHigh, vToG.mHigh);
        const __m128i oddB =
            kSaturate ? _mm_adds_epi16(uToB.mHigh, y1.mHigh) : _mm_add_epi16(uToB.mHigh, y1.mHigh);
        return {{_mm_adds_epi16(uToB.mHigh, AddCarry(y0.mHigh, uToB, y0)), oddB},
                {AddCarry(_mm_add_epi16(chromaG, y0.mHigh), uToG, y0),
                 AddCarry(_mm_add_epi16(chromaG, y1.mHigh), vToG, y1)},
                {_mm_add_epi16(vToR.mHigh, y0.mHigh),
                 AddCarry(_mm_add_epi16(vToR.mHigh, y1.mHigh), vToR, y1)}};
    }

  private:
    struct Halves {
        __m128i mHigh;
        __m128i mLow;
    };
    // The largest sums: luma of 239 levels, chroma of 128 on either side.
    static constexpr int kMostLuma = 19200;
    static constexpr int kMostChroma = 29500;

    static int Fixed(float coefficient, float scale) {
        return static_cast<int>(coefficient * scale);
    }
    static bool IsBetween(int value, int lowest, int highest) {
        return value >= lowest && value <= highest;
    }
    static int Magnitude(int value) { return value < 0 ? -value : value; }
    static KVX_ALWAYS_INLINE __m128i Words(int value) {
        return _mm_set1_epi16(static_cast<short>(value));
    }

    static KVX_ALWAYS_INLINE Halves Multiply(__m128i samples, __m128i coefficient) {
        return {_mm_mulhi_epi16(samples, coefficient), _mm_mullo_epi16(samples, coefficient)};
    }

    // For a coefficient from 0x8000 to 0xFFFF, which a signed word holds as 0x10000 less.
    static KVX_ALWAYS_INLINE Halves MultiplyLarge(__m128i samples, __m128i coefficient) {
        return {_mm_add_epi16(_mm_mulhi_epi16(samples, coefficient), samples),
                _mm_mullo_epi16(samples, coefficient)};
    }

    // The low halves are multiples of 32, so that their sum is 0xFFFF only by saturation.
    static KVX_ALWAYS_INLINE __m128i AddCarry(__m128i sum, const Halves& a, const Halves& b) {
        const __m128i carry = _mm_cmpeq_epi16(_mm_adds_epu16(a.mLow, b.mLow), _mm_set1_epi16(-1));
        return _mm_sub_epi16(sum, carry);
    }

    bool mFits;
    __m128i mLuma;
    __m128i mVToR;
    __m128i mUToG;
    __m128i mVToG;
    __m128i mUToB;
};

// Words of B, G, R and A of sixteen pixels in the host's order, two pixels in a register, to
// `store(register, index)`.
template <typename Store>
KVX_ALWAYS_INLINE void Interleave(const PlanarRGB& rgb, __m128i alpha, Store store) {
    const auto half = [&](__m128i b, __m128i g, __m128i r, int first) {
        const __m128i bgLow = _mm_unpacklo_epi16(b, g);
        const __m128i bgHigh = _mm_unpackhi_epi16(b, g);
        const __m128i raLow = _mm_unpacklo_epi16(r, alpha);
        const __m128i raHigh = _mm_unpackhi_epi16(r, alpha);
        store(_mm_unpacklo_epi32(bgLow, raLow), first);
        store(_mm_unpackhi_epi32(bgLow, raLow), first + 1);
        store(_mm_unpacklo_epi32(bgHigh, raHigh), first + 2);
        store(_mm_unpackhi_epi32(bgHigh, raHigh), first + 3);
    };
    half(_mm_unpacklo_epi16(rgb.mB.mEven, rgb.mB.mOdd),
         _mm_unpacklo_epi16(rgb.mG.mEven, rgb.mG.mOdd),
         _mm_unpacklo_epi16(rgb.mR.mEven, rgb.mR.mOdd), 0);
    half(_mm_unpackhi_epi16(rgb.mB.mEven, rgb.mB.mOdd),
         _mm_unpackhi_epi16(rgb.mG.mEven, rgb.mG.mOdd),
         _mm_unpackhi_epi16(rgb.mR.mEven, rgb.mR.mOdd), 4);
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
        const __m128i b = Bytes(rgb.mB);
        const __m128i g = Bytes(rgb.mG);
        const __m128i r = Bytes(rgb.mR);
        const __m128i alpha = _mm_set1_epi8(-1);
        const __m128i bgLow = _mm_unpacklo_epi8(b, g);
        const __m128i bgHigh = _mm_unpackhi_epi8(b, g);
        const __m128i raLow = _mm_unpacklo_epi8(r, alpha);
        const __m128i raHigh = _mm_unpackhi_epi8(r, alpha);
        Stream(to, _mm_unpacklo_epi16(bgLow, raLow));
        Stream(to + 16, _mm_unpackhi_epi16(bgLow, raLow));
        Stream(to + 32, _mm_unpacklo_epi16(bgHigh, raHigh));
        Stream(to + 48, _mm_unpackhi_epi16(bgHigh, raHigh));
    }

  private:
    static KVX_ALWAYS_INLINE __m128i Bytes(const PlanarSums& sums) {
        // Shifts by six. Multipliers do them, since real shifts compete with shuffles.
        const __m128i kShift6 = _mm_set1_epi16(1 << (16 - 6));
        const __m128i planes = _mm_packus_epi16(_mm_mulhi_epi16(sums.mEven, kShift6),
                                                _mm_mulhi_epi16(sums.mOdd, kShift6));
        return _mm_shuffle_epi8(
            planes, _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
    }
};

struct PlanarPack16u {
    using Pack = Pack16u;
    static constexpr bool kSaturates = false;

    static KVX_ALWAYS_INLINE void Store(char* to, const PlanarRGB& sums) {
        // Sums below 0, those of B that have wrapped among them, make 0 from the start. Scaled, a
        // sum of B can pass 15 bits and makes 0 as well.
        PlanarRGB rgb = ForAll(sums, [](__m128i sum) {
            const __m128i raised = _mm_max_epi16(sum, _mm_setzero_si128());
            return _mm_add_epi16(raised, _mm_srli_epi16(raised, 8));
        });
        rgb.mB.mEven = _mm_max_epi16(rgb.mB.mEven, _mm_setzero_si128());
        rgb.mB.mOdd = _mm_max_epi16(rgb.mB.mOdd, _mm_setzero_si128());
        rgb = ForAll(rgb, [](__m128i scaled) {
            return _mm_slli_epi16(_mm_min_epi16(scaled, LoadConstant(kv8i_0x4000)), 1);
        });
        Interleave(rgb, _mm_set1_epi16(static_cast<short>(0x8000)),
                   [to](__m128i two, int index) { Stream(to + 16 * index, two); });
    }
};

struct PlanarPack32f {
    using Pack = Pack32f;
    static constexpr bool kSaturates = true;

    static KVX_ALWAYS_INLINE void Store(char* to, const PlanarRGB& sums) {
        // Limited before they are scaled: 255 levels make exactly 1.0.
        const __m128i white = _mm_set1_epi16(255 << 6);
        const PlanarRGB rgb = ForAll(sums, [white](__m128i sum) {
            return _mm_min_epi16(_mm_max_epi16(sum, _mm_setzero_si128()), white);
        });
        const __m128 scale = _mm_load_ps(kv4f_255thShift6);
        const __m128i zero = _mm_setzero_si128();
        Interleave(rgb, white, [=](__m128i two, int index) {
            char* const at = to + 32 * index;
            Stream(at, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(two, zero)), scale));
            Stream(at + 16, _mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(two, zero)), scale));
        });
    }
};

}  // namespace KVX::Converter::Video
