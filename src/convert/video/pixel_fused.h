// A chain in fewer steps than its stages take one by one. It is the one that the host's 10-bit RGB
// goes through, and it has to keep up with memory.
#pragma once

#include <tmmintrin.h>

#include "convert/video/pixel_constants.h"
#include "convert/video/pixel_stages_rgb.h"
#include "convert/video/pixel_transform.h"
#include "convert/video/pixel_values.h"

namespace KVX::PixelConversion {

// The stages have a 32-bit lane for each component, half of it empty. Here two share a lane: R and
// B of a pixel, at their places in the byte-swapped word (R is 16 times its level there), and G of
// a pixel and of the one four further. The results are the same to the bit.
template <>
struct BIND3<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KLE> : STAGE {
    using OUTPUT = PACK_RGBv4_TO_R10KLE::OUTPUT;
    static constexpr int kBlocksAtOnce = 2;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        if constexpr (In::kPixels == 8) {
            const __m128i low = details::LoadPixels<MISALIGNED>(in.pixels);
            const __m128i high = details::LoadPixels<MISALIGNED>(in.pixels + 16);
            const __m128i g = StretchG(low, high);
            // Each half of the lanes by itself, moved to bits 21-12.
            const __m128i gLow = _mm_madd_epi16(g, FourLanes(1 << 12));
            const __m128i gHigh = _mm_madd_epi16(g, FourLanes(1 << 12 << 16));
            return BLOCK<2, PACKED>{
                {{_mm_or_si128(StretchRB(low), gLow)}, {_mm_or_si128(StretchRB(high), gHigh)}},
                in.row};
        } else {
            using ONE_BY_ONE = BIND<UNPACK_R210_TO_RGBv4,
                                    BIND<RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KLE>>;
            return ONE_BY_ONE::template apply<MISALIGNED, FIRST>(in);
        }
    }

  private:
    // A constant for R, in the upper halves, and one for B.
    static constexpr __m128i RB(uint32_t r, uint32_t b) { return FourLanes(r << 4 << 16 | b); }

    // The factor of the stretching, 38155 / 32768, less one: 10774 / 65536. A level times 16 keeps
    // four bits of fraction, which go after the limit.
    static __m128i StretchRB(__m128i pixels) {
        const __m128i levels = _mm_and_si128(details::SwapBytes(pixels), RB(0x3FF, 0x3FF));
        const __m128i aboveBlack = _mm_subs_epu16(levels, RB(64, 64));
        const __m128i stretched =
            _mm_add_epi16(aboveBlack, _mm_mulhi_epu16(aboveBlack, EightLanes(10774)));
        const __m128i limited = _mm_min_epi16(stretched, FourLanes(0x3FFF << 16 | 0x3FF));
        return _mm_slli_epi16(_mm_and_si128(limited, RB(0x3FF, 0x3FF)), 2);
    }

    // Bytes 1 and 2 of each pixel have four times G between bits of its neighbours.
    static __m128i StretchG(__m128i low, __m128i high) {
        const __m128i kLow =
            _mm_setr_epi8(2, 1, -1, -1, 6, 5, -1, -1, 10, 9, -1, -1, 14, 13, -1, -1);
        const __m128i kHigh =
            _mm_setr_epi8(-1, -1, 2, 1, -1, -1, 6, 5, -1, -1, 10, 9, -1, -1, 14, 13);
        const __m128i words =
            _mm_or_si128(_mm_shuffle_epi8(low, kLow), _mm_shuffle_epi8(high, kHigh));
        const __m128i twice = _mm_srli_epi16(_mm_and_si128(words, EightLanes(0x3FF << 2)), 1);
        const __m128i aboveBlack = _mm_subs_epu16(twice, EightLanes(2 * 64));
        const __m128i stretched = _mm_mulhi_epu16(aboveBlack, EightLanes(38155));
        return _mm_min_epi16(stretched, v8i_0x3ff);
    }
};

}  // namespace KVX::PixelConversion
