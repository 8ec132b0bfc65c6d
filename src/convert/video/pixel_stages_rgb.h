// Stages from 10-bit RGB to RGB in other layouts.
#pragma once

#include <tmmintrin.h>

#include "convert/video/pixel_constants.h"
#include "convert/video/pixel_transform.h"
#include "convert/video/pixel_values.h"

namespace KVX::PixelConversion {

// Choices that stages leave open. There is one of each so far.
using PrecisionFlag = int;    // 0: levels are truncated
using PixelCenterFlag = int;  // 0: chroma stands at the even pixels

namespace details {

template <bool MISALIGNED>
__m128i LoadPixels(const char* from) {
    if constexpr (MISALIGNED) {
        return Converter::Video::MisalignedSource::Load(from);
    } else {
        return Converter::Video::AlignedSource::Load(from);
    }
}

inline __m128i SwapBytes(__m128i words) {
    return _mm_shuffle_epi8(words,
                            _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
}

template <bool MISALIGNED>
RGBv4 UnpackR210(const char* from) {
    const __m128i words = SwapBytes(LoadPixels<MISALIGNED>(from));
    return {_mm_and_si128(_mm_srli_epi32(words, 20), v4i_0x3ff),
            _mm_and_si128(_mm_srli_epi32(words, 10), v4i_0x3ff), _mm_and_si128(words, v4i_0x3ff)};
}

// Applies `convert` to the three components of each value of a block.
template <typename In, typename Convert>
In EachComponent(const In& in, Convert convert) {
    return MakeBlock<In::kCount>(in.row, [&](auto i) {
        return typename In::Value{convert(in.v[i].r), convert(in.v[i].g), convert(in.v[i].b)};
    });
}

// Lanes of 16 bits, or lanes of 32 whose upper half is zero and stays so. Black becomes 0, and all
// below it; white becomes 1020, and what is above it runs on to 1116.
inline __m128i StretchLevels(__m128i levels, __m128i black) {
    const __m128i aboveBlack = _mm_subs_epu16(levels, black);
    return _mm_mulhi_epu16(_mm_slli_epi16(aboveBlack, 1), EightLanes(38155));
}

inline __m128i Limit(__m128i levels, __m128i most) {
    return _mm_max_epi16(_mm_min_epi16(levels, most), _mm_setzero_si128());
}

// Two components of four pixels, in the lower and the upper halves of 32-bit lanes.
inline __m128i Join(__m128i lower, __m128i upper) {
    return _mm_or_si128(lower, _mm_slli_epi32(upper, 16));
}

// Four components of four pixels to a byte each. What does not fit a byte saturates.
inline PACKED PackBytes(__m128i firstTwo, __m128i lastTwo) {
    return {_mm_packus_epi16(_mm_unpacklo_epi32(firstTwo, lastTwo),
                             _mm_unpackhi_epi32(firstTwo, lastTwo))};
}

inline __m128i PackR10K(const RGBv4& rgb) {
    return _mm_or_si128(_mm_or_si128(_mm_slli_epi32(Limit(rgb.r, v4i_0x3ff), 22),
                                     _mm_slli_epi32(Limit(rgb.g, v4i_0x3ff), 12)),
                        _mm_slli_epi32(Limit(rgb.b, v4i_0x3ff), 2));
}

}  // namespace details

struct UNPACK_R210_TO_RGBv4 : STAGE {
    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kPixels / 4>(
            in.row, [&](auto i) { return details::UnpackR210<MISALIGNED>(in.pixels + 16 * i); });
    }
};

struct UNPACK_R210_TO_RGBv8 : STAGE {
    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kPixels / 8>(in.row, [&](auto i) {
            const RGBv4 low = details::UnpackR210<MISALIGNED>(in.pixels + 32 * i);
            const RGBv4 high = details::UnpackR210<MISALIGNED>(in.pixels + 32 * i + 16);
            return RGBv8{_mm_packs_epi32(low.r, high.r), _mm_packs_epi32(low.g, high.g),
                         _mm_packs_epi32(low.b, high.b)};
        });
    }
};

// Studio-range levels to those of a computer's screen.
template <int DEPTH, PrecisionFlag PRECISION>
struct RGBv4_STUDIO_TO_COMPUTER : STAGE {
    static_assert(DEPTH == 10 && PRECISION == 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(
            in, [](__m128i levels) { return details::StretchLevels(levels, FourLanes(64)); });
    }
};

template <int DEPTH, PrecisionFlag PRECISION>
struct RGBv8_STUDIO_TO_COMPUTER : STAGE {
    static_assert(DEPTH == 10 && PRECISION == 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(
            in, [](__m128i levels) { return details::StretchLevels(levels, EightLanes(64)); });
    }
};

// Fewer bits, by -BITS, truncated.
template <int BITS>
struct RGBv4_BITDEPTH : STAGE {
    static_assert(BITS < 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(in,
                                      [](__m128i levels) { return _mm_srai_epi32(levels, -BITS); });
    }
};

template <int BITS>
struct RGBv8_BITDEPTH : STAGE {
    static_assert(BITS < 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(in,
                                      [](__m128i levels) { return _mm_srai_epi16(levels, -BITS); });
    }
};

struct PACK_RGBv4_TO_ARGB : STAGE {
    using OUTPUT = BLOCK_FORM<4, 16, false>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount>(in.row, [&](auto i) {
            return details::PackBytes(details::Join(v4i_0x3fff, in.v[i].r),
                                      details::Join(in.v[i].g, in.v[i].b));
        });
    }
};

struct PACK_RGBv4_TO_RGBA : STAGE {
    using OUTPUT = BLOCK_FORM<4, 16, false>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount>(in.row, [&](auto i) {
            return details::PackBytes(details::Join(in.v[i].r, in.v[i].g),
                                      _mm_or_si128(in.v[i].b, v4i_0x3fff0000));
        });
    }
};

struct PACK_RGBv8_TO_BGRA : STAGE {
    using OUTPUT = BLOCK_FORM<8, 32, false>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<2 * In::kCount>(in.row, [&](auto i) {
            const RGBv8& rgb = in.v[i / 2];
            const __m128i br = _mm_packus_epi16(rgb.b, rgb.r);
            const __m128i ga = _mm_packus_epi16(rgb.g, v8i_0xff);
            const __m128i bg = _mm_unpacklo_epi8(br, ga);
            const __m128i ra = _mm_unpackhi_epi8(br, ga);
            return PACKED{i % 2 == 0 ? _mm_unpacklo_epi16(bg, ra) : _mm_unpackhi_epi16(bg, ra)};
        });
    }
};

// Four RGBA vectors to three without the fourth byte of each pixel.
struct PACK_RGBA_TO_RGB : STAGE {
    using OUTPUT = BLOCK_FORM<16, 48, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        // The colour bytes of four pixels, each part of them where it is when two of these twelve
        // bytes stand behind one another and sixteen are taken from there.
        const __m128i run0 = _mm_shuffle_epi8(
            in.v[0].v, _mm_setr_epi8(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14));
        const __m128i run1 = _mm_shuffle_epi8(
            in.v[1].v, _mm_setr_epi8(0, 1, 2, 4, -1, -1, -1, -1, 5, 6, 8, 9, 10, 12, 13, 14));
        const __m128i run2 = _mm_shuffle_epi8(
            in.v[2].v, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, -1, -1, -1, -1, 10, 12, 13, 14));
        const __m128i run3 = _mm_shuffle_epi8(
            in.v[3].v, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        return BLOCK<3, PACKED>{{{_mm_alignr_epi8(run1, run0, 4)},
                                 {_mm_alignr_epi8(run2, run1, 8)},
                                 {_mm_alignr_epi8(run3, run2, 12)}},
                                in.row};
    }
};

// R, G and B from the top bit down in a 32-bit word, two bits unused at its end.
struct PACK_RGBv4_TO_R10KLE : STAGE {
    using OUTPUT = BLOCK_FORM<4, 16, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount>(in.row,
                                     [&](auto i) { return PACKED{details::PackR10K(in.v[i])}; });
    }
};

struct PACK_RGBv4_TO_R10KBE : STAGE {
    using OUTPUT = BLOCK_FORM<4, 16, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount>(
            in.row, [&](auto i) { return PACKED{details::SwapBytes(details::PackR10K(in.v[i]))}; });
    }
};

struct PAD_R10KBE_WITH_1 : STAGE {
    using OUTPUT = BLOCK_FORM<4, 16, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kCount>(in.row, [&](auto i) {
            return PACKED{_mm_or_si128(in.v[i].v, details::v4i_r10kpaddingbe)};
        });
    }
};

struct PACK_RGBv8_TO_R210 : STAGE {
    using OUTPUT = BLOCK_FORM<8, 32, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<2 * In::kCount>(in.row, [&](auto i) {
            const __m128i r = details::Limit(in.v[i / 2].r, v8i_0x3ff);
            const __m128i g = details::Limit(in.v[i / 2].g, v8i_0x3ff);
            const __m128i b = details::Limit(in.v[i / 2].b, v8i_0x3ff);
            const __m128i words = _mm_or_si128(_mm_or_si128(_mm_slli_epi32(Widen<i % 2>(r), 20),
                                                            _mm_slli_epi32(Widen<i % 2>(g), 10)),
                                               Widen<i % 2>(b));
            return PACKED{details::SwapBytes(words)};
        });
    }

  private:
    template <int HALF>
    static __m128i Widen(__m128i lanes) {
        return HALF == 0 ? _mm_unpacklo_epi16(lanes, _mm_setzero_si128())
                         : _mm_unpackhi_epi16(lanes, _mm_setzero_si128());
    }
};

}  // namespace KVX::PixelConversion
