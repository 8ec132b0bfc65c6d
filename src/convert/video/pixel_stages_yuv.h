// Stages from RGB to 4:2:2, all in studio range: black stays where it is.
#pragma once

#include <tmmintrin.h>

#include <cstddef>
#include <cstdint>

#include "convert/video/pixel_constants.h"
#include "convert/video/pixel_stages_rgb.h"
#include "convert/video/pixel_transform.h"
#include "convert/video/pixel_values.h"

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

// Not quite the matrix that the r210 converter has for Rec. 709. Pictures of both kinds are about,
// so each keeps its own.
struct StudioRange709 {
    static constexpr RGB2YUV RGB2YUVMatrix() {
        return {{0.2126f, 0.7152f, 0.0722f, -0.1146f, -0.3854f, 0.5f, 0.5f, -0.4542f, -0.0459f}};
    }
};

namespace details {

// One row of a matrix in 1/32768, truncated: the coefficients of B and G, as pairs of words have
// them, and that of R.
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
constexpr __m128i Coefficients() {
    constexpr COEFFICIENTS kRow = CoefficientPairs<RANGE, MATRIX_ROW>();
    return FourLanes(kRow.bg, kRow.r, kRow.bg, kRow.r);
}

}  // namespace details

struct RGBv4_TO_BGRAv8 : STAGE {
    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<2 * In::kCount>(in.row, [&](auto i) {
            const RGBv4& rgb = in.v[i / 2];
            const __m128i bg = details::Join(rgb.b, rgb.g);
            const __m128i ra = details::Join(rgb.r, v4i_0xffff);
            return BGRAv8{i % 2 == 0 ? _mm_unpacklo_epi32(bg, ra) : _mm_unpackhi_epi32(bg, ra)};
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
        const __m128i before = FIRST ? _mm_unpacklo_epi64(in.v[0].v, in.v[0].v) : in.row->last.v;
        in.row->last = in.v[In::kCount - 1];
        return MakeBlock<In::kCount / 2>(in.row, [&](auto i) {
            const __m128i low = in.v[2 * i].v;
            const __m128i high = in.v[2 * i + 1].v;
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

    static UYVYv8 Convert(__m128i before, __m128i low, __m128i high) {
        const __m128i even = _mm_unpacklo_epi64(low, high);
        const __m128i left = _mm_unpackhi_epi64(before, low);
        const __m128i right = _mm_unpackhi_epi64(low, high);
        const __m128i filtered = _mm_avg_epu16(even, _mm_avg_epu16(left, right));

        const __m128i luma = Sum(Weigh<0>(low), Weigh<0>(high));
        const __m128i chroma =
            _mm_add_epi32(Sum(Weigh<1>(filtered), Weigh<2>(filtered)), FourLanes(kNoChroma));
        // Y0 Y1 Y2 Y3 and Cb0 Cb2 Cr0 Cr2.
        return {
            _mm_shuffle_epi8(_mm_packs_epi32(luma, chroma),
                             _mm_setr_epi8(8, 9, 0, 1, 12, 13, 2, 3, 10, 11, 4, 5, 14, 15, 6, 7))};
    }

    // Two parts to a pixel, truncated each: that of B and G, and that of R.
    template <size_t MATRIX_ROW>
    static __m128i Weigh(__m128i pixels) {
        constexpr __m128i kCoefficients = details::Coefficients<RANGE, MATRIX_ROW>();
        return _mm_srai_epi32(_mm_madd_epi16(pixels, kCoefficients), kShift);
    }

    static __m128i Sum(__m128i low, __m128i high) {
        return _mm_madd_epi16(_mm_packs_epi32(low, high), v8i_1);
    }
};

struct PACK_UYVYv8_TO_UYVY : STAGE {
    struct OUTPUT : BLOCK_FORM<8, 16, false> {
        static size_t RowBytes(size_t width) { return (2 * width + 2) & ~size_t{3}; }
    };

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount / 2>(in.row, [&](auto i) {
            return PACKED{_mm_packus_epi16(in.v[2 * i].v, in.v[2 * i + 1].v)};
        });
    }
};

// Three samples to a word, from the low bits up: six pixels in four words.
struct PACK_UYVYv8_TO_V210 : STAGE {
    struct OUTPUT : BLOCK_FORM<12, 32, true> {
        static size_t RowBytes(size_t width) { return (width + 5) / 6 * 16; }
    };

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        const __m128i v0 = details::Limit(in.v[0].v, v8i_0x3ff);
        const __m128i v1 = details::Limit(in.v[1].v, v8i_0x3ff);
        const __m128i v2 = details::Limit(in.v[2].v, v8i_0x3ff);
        return BLOCK<2, PACKED>{
            {Pack(v0, v1), Pack(_mm_alignr_epi8(v2, v1, 8), _mm_srli_si128(v2, 8))}, in.row};
    }

  private:
    // Samples 0 to 7, and 8 to 11 in the lower half.
    static PACKED Pack(__m128i low, __m128i high) {
        const __m128i from1 = _mm_alignr_epi8(high, low, 2);
        const __m128i from2 = _mm_alignr_epi8(high, low, 4);
        const __m128i from3 = _mm_alignr_epi8(high, low, 6);
        const __m128i from4 = _mm_alignr_epi8(high, low, 8);
        const __m128i from5 = _mm_alignr_epi8(high, low, 10);
        // Lane n begins with sample 3n, and then with sample 3n + 2.
        const __m128i pairs = PickLanes(low, from1, from2, from3);
        const __m128i thirds = PickLanes(from2, from3, from4, from5);
        return {_mm_or_si128(_mm_madd_epi16(pairs, FourLanes(1 << 10 << 16 | 1)),
                             _mm_slli_epi32(thirds, 20))};
    }

    static __m128i PickLanes(__m128i xxx0, __m128i xx1x, __m128i x2xx, __m128i v3xxx) {
        return _mm_or_si128(
            _mm_or_si128(_mm_and_si128(xxx0, v4i_mask_xxx0), _mm_and_si128(xx1x, v4i_mask_xx1x)),
            _mm_or_si128(_mm_and_si128(x2xx, v4i_mask_x2xx), _mm_and_si128(v3xxx, v4i_mask_3xxx)));
    }
};

}  // namespace KVX::PixelConversion
