// Stages from RGB to 4:2:2, all in studio range: black stays where it is.
#pragma once

#include <cstddef>
#include <cstdint>

#include "convert/pixel_family/constants.h"
#include "convert/pixel_family/stages_rgb.h"
#include "convert/pixel_family/transform.h"
#include "convert/pixel_family/values.h"

namespace KVX::PixelConversion {

// Rows Y, Cb, Cr over columns R, G, B.
struct RGB2YUV {
    float m[9];
};

struct StudioRange601 {
    static constexpr RGB2YUV RGB2YUVMatrix() {
        return {{0.299f, 0.587f, 0.114f, -0.169f, -0.331f, 0.5f, 0.5f, -0.419f, -0.081f}};
    }
};

// Differs slightly from the r210 converter's Rec. 709 matrix. Pictures made with either exist, so
// both are kept.
struct StudioRange709 {
    static constexpr RGB2YUV RGB2YUVMatrix() {
        return {{0.2126f, 0.7152f, 0.0722f, -0.1146f, -0.3854f, 0.5f, 0.5f, -0.4542f, -0.0459f}};
    }
};

namespace details {

// One row of a matrix in units of 1/32768, truncated: the coefficients of B and G as a pair of
// words, and that of R.
struct COEFFICIENTS {
    uint32_t bg;
    uint32_t r;
};

template <typename RANGE, size_t MATRIX_ROW>
constexpr COEFFICIENTS CoefficientPairs() {
    constexpr RGB2YUV kMatrix = RANGE::RGB2YUVMatrix();
    const auto fixed = [](float coefficient) {
        return static_cast<uint16_t>(static_cast<int>(coefficient * 32768.0f));
    };
    return {static_cast<uint32_t>(fixed(kMatrix.m[3 * MATRIX_ROW + 1])) << 16 |
                fixed(kMatrix.m[3 * MATRIX_ROW + 2]),
            fixed(kMatrix.m[3 * MATRIX_ROW])};
}

// The same over the words B, G, R and A of two pixels.
template <typename RANGE, size_t MATRIX_ROW>
constexpr Integers Coefficients() {
    constexpr COEFFICIENTS kRow = CoefficientPairs<RANGE, MATRIX_ROW>();
    return FourLanes(kRow.bg, kRow.r, kRow.bg, kRow.r);
}

}  // namespace details

struct RGBv4_TO_BGRAv8 : STAGE {
    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<2 * In::kCount>(in.row, [&](auto i) {
            const RGBv4& rgb = in.v[i / 2];
            const Integers bg = details::Join(rgb.b, rgb.g);
            const Integers ra = details::Join(rgb.r, v4i_0xffff);
            return BGRAv8{i % 2 == 0 ? InterleaveLowDwords(bg, ra) : InterleaveHighDwords(bg, ra)};
        });
    }
};

// Luma of every pixel; chroma of every even one, from a [1 2 1] filter over it and its neighbours.
// The neighbour to the left may be the last pixel of the block before.
template <typename RANGE, int IN_DEPTH, int OUT_DEPTH, PrecisionFlag PRECISION,
          PixelCenterFlag PIXEL_CENTER>
struct BGRAv8_TO_UYVYv8 : STAGE {
    static_assert(PRECISION == 0 && PIXEL_CENTER == 0);
    static constexpr bool kIsFirstOwn = true;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        // A row's first pixel is its own neighbour.
        const Integers before = FIRST ? InterleaveLowQwords(in.v[0].v, in.v[0].v) : in.row->last.v;
        in.row->last = in.v[In::kCount - 1];
        return MakeBlock<In::kCount / 2>(in.row, [&](auto i) {
            const Integers low = in.v[2 * i].v;
            const Integers high = in.v[2 * i + 1].v;
            if constexpr (decltype(i)::value == 0) {
                return Convert(before, low, high);
            } else {
                return Convert(in.v[2 * i - 1].v, low, high);
            }
        });
    }

  private:
    static constexpr int kShift = 15 + IN_DEPTH - OUT_DEPTH;
    static constexpr uint32_t kNoChroma = 1u << (OUT_DEPTH - 1);

    static UYVYv8 Convert(Integers before, Integers low, Integers high) {
        const Integers even = InterleaveLowQwords(low, high);
        const Integers left = InterleaveHighQwords(before, low);
        const Integers right = InterleaveHighQwords(low, high);
        const Integers filtered = AverageUnsignedWords(even, AverageUnsignedWords(left, right));

        const Integers luma = Sum(Weigh<0>(low), Weigh<0>(high));
        const Integers chroma =
            AddDwords(Sum(Weigh<1>(filtered), Weigh<2>(filtered)), FourLanes(kNoChroma));
        // Y0 Y1 Y2 Y3 and Cb0 Cb2 Cr0 Cr2.
        return {ShuffleBytes(PackDwordsToWords(luma, chroma),
                             MakeBytes(8, 9, 0, 1, 12, 13, 2, 3, 10, 11, 4, 5, 14, 15, 6, 7))};
    }

    // Two terms for each pixel, truncated separately: that of B and G, and that of R.
    template <size_t MATRIX_ROW>
    static Integers Weigh(Integers pixels) {
        constexpr Integers kCoefficients = details::Coefficients<RANGE, MATRIX_ROW>();
        return ShiftDwordsRight<kShift>(MultiplyAddWords(pixels, kCoefficients));
    }

    static Integers Sum(Integers low, Integers high) {
        return MultiplyAddWords(PackDwordsToWords(low, high), v8i_1);
    }
};

struct PACK_UYVYv8_TO_UYVY : STAGE {
    struct OUTPUT : BLOCK_FORM<8, 16, false> {
        static size_t RowBytes(size_t width) { return (2 * width + 2) & ~size_t{3}; }
    };

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount / 2>(in.row, [&](auto i) {
            return PACKED{PackWordsToUnsignedBytes(in.v[2 * i].v, in.v[2 * i + 1].v)};
        });
    }
};

// Three samples to a word, the first in its lowest bits: six pixels in four words.
struct PACK_UYVYv8_TO_V210 : STAGE {
    struct OUTPUT : BLOCK_FORM<12, 32, true> {
        static size_t RowBytes(size_t width) { return (width + 5) / 6 * 16; }
    };

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        const Integers v0 = details::Limit(in.v[0].v, v8i_0x3ff);
        const Integers v1 = details::Limit(in.v[1].v, v8i_0x3ff);
        const Integers v2 = details::Limit(in.v[2].v, v8i_0x3ff);
        return BLOCK<2, PACKED>{{Pack(v0, v1), Pack(TakeBytes<8>(v1, v2), TakeBytes<8>(v2))},
                                in.row};
    }

  private:
    // Samples 0 to 7, and 8 to 11 in the lower half.
    static PACKED Pack(Integers low, Integers high) {
        const Integers from1 = TakeBytes<2>(low, high);
        const Integers from2 = TakeBytes<4>(low, high);
        const Integers from3 = TakeBytes<6>(low, high);
        const Integers from4 = TakeBytes<8>(low, high);
        const Integers from5 = TakeBytes<10>(low, high);
        // Lane n begins with sample 3n, and then with sample 3n + 2.
        const Integers pairs = PickLanes(low, from1, from2, from3);
        const Integers thirds = PickLanes(from2, from3, from4, from5);
        return {
            Or(MultiplyAddWords(pairs, FourLanes(1 << 10 << 16 | 1)), ShiftDwordsLeft<20>(thirds))};
    }

    static Integers PickLanes(Integers xxx0, Integers xx1x, Integers x2xx, Integers v3xxx) {
        return Or(Or(And(xxx0, v4i_mask_xxx0), And(xx1x, v4i_mask_xx1x)),
                  Or(And(x2xx, v4i_mask_x2xx), And(v3xxx, v4i_mask_3xxx)));
    }
};

}  // namespace KVX::PixelConversion
