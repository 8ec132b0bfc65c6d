// Chains to 10-bit RGB with their stages fused into fewer steps. The results are the same to the
// bit. One of them converts to the host's own 10-bit RGB.
#pragma once

#include "convert/pixel_family/constants.h"
#include "convert/pixel_family/stages_rgb.h"
#include "convert/pixel_family/transform.h"
#include "convert/pixel_family/values.h"

namespace KVX::PixelConversion {

namespace details {

// Eight pixels with their levels expanded to full range, packed as PackR10K does. The stages use a
// 32-bit lane for each component, half of it empty. Here two share a lane: R and B of a pixel, at
// their positions in the byte-swapped word (which scales R by 16), and G of pixels n and n + 4.
class StretchToR10K {
  public:
    // `finish` does the last steps of each half.
    template <bool MISALIGNED, typename In, typename Finish>
    static auto Convert(const In& in, Finish finish) {
        const Integers low = LoadPixels<MISALIGNED>(in.pixels);
        const Integers high = LoadPixels<MISALIGNED>(in.pixels + 16);
        const Integers g = StretchG(low, high);
        // The lower and the upper words of the lanes, each moved to bits 21-12.
        const Integers gLow = MultiplyAddWords(g, FourLanes(1 << 12));
        const Integers gHigh = MultiplyAddWords(g, FourLanes(1 << 12 << 16));
        return BLOCK<2, PACKED>{
            {{finish(Or(StretchRB(low), gLow))}, {finish(Or(StretchRB(high), gHigh))}}, in.row};
    }

  private:
    // A constant for R, in the upper halves, and one for B.
    static constexpr Integers RB(uint32_t r, uint32_t b) { return FourLanes(r << 4 << 16 | b); }

    // The expansion multiplies by 38155 / 32768, which is 1 + 10774 / 65536. A level scaled by 16
    // keeps four fraction bits, which are masked after clamping.
    static Integers StretchRB(Integers pixels) {
        const Integers levels = And(SwapBytes(pixels), RB(0x3FF, 0x3FF));
        const Integers aboveBlack = SubtractSaturatingUnsignedWords(levels, RB(64, 64));
        const Integers stretched =
            AddWords(aboveBlack, MultiplyUnsignedWordsHigh(aboveBlack, EightLanes(10774)));
        const Integers limited = MinWords(stretched, FourLanes(0x3FFF << 16 | 0x3FF));
        return ShiftWordsLeft<2>(And(limited, RB(0x3FF, 0x3FF)));
    }

    // Bytes 1 and 2 of each pixel hold G times 4, between bits of its neighbours.
    static Integers StretchG(Integers low, Integers high) {
        const Integers kLow = MakeBytes(2, 1, -1, -1, 6, 5, -1, -1, 10, 9, -1, -1, 14, 13, -1, -1);
        const Integers kHigh = MakeBytes(-1, -1, 2, 1, -1, -1, 6, 5, -1, -1, 10, 9, -1, -1, 14, 13);
        const Integers words = Or(ShuffleBytes(low, kLow), ShuffleBytes(high, kHigh));
        const Integers twice = ShiftUnsignedWordsRight<1>(And(words, EightLanes(0x3FF << 2)));
        const Integers aboveBlack = SubtractSaturatingUnsignedWords(twice, EightLanes(2 * 64));
        const Integers stretched = MultiplyUnsignedWordsHigh(aboveBlack, EightLanes(38155));
        return MinWords(stretched, v8i_0x3ff);
    }
};

// Eight pixels are expanded and go through `kFinish`; a single block goes through the stages.
template <typename ONE_BY_ONE, Integers (*kFinish)(Integers r10k)>
struct STRETCHED_R10K : STAGE {
    using OUTPUT = typename ONE_BY_ONE::OUTPUT;
    static constexpr int kBlocksAtOnce = 8 / OUTPUT::kPixels;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        if constexpr (In::kPixels == 8) {
            return StretchToR10K::Convert<MISALIGNED>(in, kFinish);
        } else {
            return ONE_BY_ONE::template apply<MISALIGNED, FIRST>(in);
        }
    }
};

inline Integers AsItIs(Integers r10k) {
    return r10k;
}

inline Integers SwapAndPad(Integers r10k) {
    return Or(SwapBytes(r10k), v4i_r10kpaddingbe);
}

inline Integers ToR210(Integers r10k) {
    return SwapBytes(ShiftUnsignedDwordsRight<2>(r10k));
}

// Unchanged levels only have to be shifted: two bits up, which drops the two unused ones.
template <typename PACK, Integers (*kFinish)(Integers r10k)>
struct MOVED_TO_R10K : STAGE {
    using OUTPUT = typename PACK::OUTPUT;
    static constexpr int kBlocksAtOnce = 2;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<In::kPixels / 4>(in.row, [&](auto i) {
            const Integers words = SwapBytes(LoadPixels<MISALIGNED>(in.pixels + 16 * i));
            return PACKED{kFinish(ShiftDwordsLeft<2>(words))};
        });
    }
};

}  // namespace details

template <>
struct BIND3<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KLE>
    : details::STRETCHED_R10K<
          BIND<UNPACK_R210_TO_RGBv4, BIND<RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KLE>>,
          details::AsItIs> {};

template <>
struct BIND3<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KBE>
    : details::STRETCHED_R10K<
          BIND<UNPACK_R210_TO_RGBv4, BIND<RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KBE>>,
          details::SwapBytes> {};

template <>
struct BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KBE,
             PAD_R10KBE_WITH_1>
    : details::STRETCHED_R10K<
          BIND<UNPACK_R210_TO_RGBv4,
               BIND3<RGBv4_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv4_TO_R10KBE, PAD_R10KBE_WITH_1>>,
          details::SwapAndPad> {};

template <>
struct BIND3<UNPACK_R210_TO_RGBv8, RGBv8_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv8_TO_R210>
    : details::STRETCHED_R10K<
          BIND<UNPACK_R210_TO_RGBv8, BIND<RGBv8_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv8_TO_R210>>,
          details::ToR210> {};

template <>
struct BIND<UNPACK_R210_TO_RGBv4, PACK_RGBv4_TO_R10KLE>
    : details::MOVED_TO_R10K<PACK_RGBv4_TO_R10KLE, details::AsItIs> {};

template <>
struct BIND<UNPACK_R210_TO_RGBv4, PACK_RGBv4_TO_R10KBE>
    : details::MOVED_TO_R10K<PACK_RGBv4_TO_R10KBE, details::SwapBytes> {};

}  // namespace KVX::PixelConversion
