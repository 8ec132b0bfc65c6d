// Chains to 8-bit RGB with their stages fused into fewer steps. The results are the same to the
// bit.
#pragma once

#include "convert/pixel_family/constants.h"
#include "convert/pixel_family/stages_rgb.h"
#include "convert/pixel_family/transform.h"
#include "convert/pixel_family/values.h"

namespace KVX::PixelConversion {

namespace details {

// Eight pixels with their levels expanded to full range, a byte for each component, in one of the
// component orders. Two components share a 32-bit lane, R scaled by 16; G is kept in words of its
// own. Bits of other components above one are removed by a multiplication or a mask.
//
// The stages truncate level x 38155 / 2^15 and then a quarter of it; truncating level x 38155 /
// 2^17 once gives the same.
class StretchToBytes {
  public:
    struct Halves {
        Integers low;
        Integers high;
    };

    // B, G, R and A of each pixel; R, G, B and A; A, R, G and B.
    static Halves BGRA(Integers low, Integers high) {
        return Interleave(Two<kBR>(low, high), GAndAlpha(low, high));
    }
    static Halves RGBA(Integers low, Integers high) {
        return Interleave(Two<kRB>(low, high), GAndAlpha(low, high));
    }
    static Halves ARGB(Integers low, Integers high) {
        return Interleave(AlphaAndG(low, high), Two<kRB>(low, high));
    }

  private:
    static constexpr int kFactor = 38155;
    static constexpr int kBlack = 64;
    static constexpr int kWhite = 255;

    // The two components of a lane in this order: the position of each one's bytes in the source,
    // and its distance in bits from the top of its word.
    struct Pair {
        int firstByte;
        int firstShift;
        int secondByte;
        int secondShift;
    };
    static constexpr Pair kRB = {1, 2, 3, 6};
    static constexpr Pair kBR = {3, 6, 1, 2};

    static Halves Interleave(Integers a, Integers b) {
        return {InterleaveLowBytes(a, b), InterleaveHighBytes(a, b)};
    }

    template <const Pair& kPair>
    static Integers Two(Integers low, Integers high) {
        return PackWordsToUnsignedBytes(Stretch<kPair>(low), Stretch<kPair>(high));
    }

    // From 0 to 279.
    template <const Pair& kPair>
    static Integers Stretch(Integers pixels) {
        constexpr char a = kPair.firstByte;
        constexpr char b = kPair.secondByte;
        const Integers words =
            ShuffleBytes(pixels, MakeBytes(a, a - 1, b, b - 1, a + 4, a + 3, b + 4, b + 3, a + 8,
                                           a + 7, b + 8, b + 7, a + 12, a + 11, b + 12, b + 11));
        const Integers highest = MultiplyWordsLow(
            words, FourLanes(1U << kPair.secondShift << 16 | 1U << kPair.firstShift));
        const Integers levels = And(highest, EightLanes(0x3FF << 6));
        const Integers aboveBlack =
            SubtractSaturatingUnsignedWords(levels, EightLanes(kBlack << 6));
        return ShiftUnsignedWordsRight<6 + 1>(
            MultiplyUnsignedWordsHigh(aboveBlack, EightLanes(kFactor)));
    }

    // Bytes 1 and 2 of each pixel hold G times 4, between bits of its neighbours. The result is
    // scaled by 8, with fraction bits.
    static Integers StretchG(Integers low, Integers high) {
        const Integers kLow = MakeBytes(2, 1, 6, 5, 10, 9, 14, 13, -1, -1, -1, -1, -1, -1, -1, -1);
        const Integers kHigh = MakeBytes(-1, -1, -1, -1, -1, -1, -1, -1, 2, 1, 6, 5, 10, 9, 14, 13);
        const Integers words = Or(ShuffleBytes(low, kLow), ShuffleBytes(high, kHigh));
        const Integers levels = And(words, EightLanes(0x3FF << 2));
        const Integers aboveBlack =
            SubtractSaturatingUnsignedWords(levels, EightLanes(kBlack << 2));
        const Integers stretched = MultiplyUnsignedWordsHigh(aboveBlack, EightLanes(kFactor));
        return MinWords(stretched, EightLanes(kWhite << 3 | 7));
    }

    static Integers GAndAlpha(Integers low, Integers high) {
        return Or(ShiftUnsignedWordsRight<3>(StretchG(low, high)), EightLanes(0xFF00));
    }

    // Alpha overwrites the fraction bits.
    static Integers AlphaAndG(Integers low, Integers high) {
        return Or(ShiftWordsLeft<5>(StretchG(low, high)), EightLanes(0x00FF));
    }
};

// `convert` for every eight pixels.
template <bool MISALIGNED, typename In>
auto ConvertEights(const In& in, StretchToBytes::Halves (*convert)(Integers low, Integers high)) {
    return MakeBlock<In::kPixels / 4>(in.row, [&](auto i) {
        constexpr int kEight = decltype(i)::value / 2 * 32;
        const auto halves = convert(LoadPixels<MISALIGNED>(in.pixels + kEight),
                                    LoadPixels<MISALIGNED>(in.pixels + kEight + 16));
        return PACKED{decltype(i)::value % 2 == 0 ? halves.low : halves.high};
    });
}

// A single block goes through the stages.
template <typename ONE_BY_ONE, StretchToBytes::Halves (*kConvert)(Integers low, Integers high)>
struct STRETCHED_BYTES : STAGE {
    using OUTPUT = typename ONE_BY_ONE::OUTPUT;
    static constexpr int kBlocksAtOnce = 8 / OUTPUT::kPixels;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        if constexpr (In::kPixels == 8) {
            return ConvertEights<MISALIGNED>(in, kConvert);
        } else {
            return ONE_BY_ONE::template apply<MISALIGNED, FIRST>(in);
        }
    }
};

// The stages that the chains to 8 bits share, ending with the one that packs.
template <typename PACK>
using TO_BYTES =
    BIND<UNPACK_R210_TO_RGBv4, BIND3<RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>, PACK>>;

}  // namespace details

template <>
struct BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>,
             PACK_RGBv4_TO_ARGB> : details::STRETCHED_BYTES<details::TO_BYTES<PACK_RGBv4_TO_ARGB>,
                                                            details::StretchToBytes::ARGB> {};

template <>
struct BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>,
             PACK_RGBv4_TO_RGBA> : details::STRETCHED_BYTES<details::TO_BYTES<PACK_RGBv4_TO_RGBA>,
                                                            details::StretchToBytes::RGBA> {};

template <>
struct BIND4<UNPACK_R210_TO_RGBv8, RGBv8_STUDIO_TO_COMPUTER<10, 0>, RGBv8_BITDEPTH<-2>,
             PACK_RGBv8_TO_BGRA> : STAGE {
    using OUTPUT = PACK_RGBv8_TO_BGRA::OUTPUT;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::ConvertEights<MISALIGNED>(in, details::StretchToBytes::BGRA);
    }
};

template <>
struct BIND4<UNPACK_R210_TO_RGBv4, RGBv4_STUDIO_TO_COMPUTER<10, 0>, RGBv4_BITDEPTH<-2>,
             BIND<PACK_RGBv4_TO_RGBA, PACK_RGBA_TO_RGB>> : STAGE {
    using OUTPUT = PACK_RGBA_TO_RGB::OUTPUT;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return PACK_RGBA_TO_RGB::template apply<MISALIGNED, FIRST>(
            details::ConvertEights<MISALIGNED>(in, details::StretchToBytes::RGBA));
    }
};

}  // namespace KVX::PixelConversion
