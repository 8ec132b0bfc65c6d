// Chains to 4:2:2 with their stages fused into fewer steps. The results are the same to the bit.
#pragma once

#include <cstdint>

#include "convert/pixel_family/constants.h"
#include "convert/pixel_family/stages_rgb.h"
#include "convert/pixel_family/stages_yuv.h"
#include "convert/pixel_family/transform.h"
#include "convert/pixel_family/values.h"
#include "convert/video/v210_words.h"

namespace KVX::PixelConversion {

namespace details {

// Luma of eight pixels, and interleaved Cb and Cr of the even ones, in 16-bit lanes.
struct EIGHT_YUV {
    Integers y;
    Integers chroma;
};

// Eight pixels at a time as planes: even and odd pixels are in separate vectors, in which B and G
// share a 32-bit lane; R is in words, in the order of the pixels. The stages truncate the terms of
// a sum separately, and so does this, in 16 bits where the levels' range allows it.
template <typename RANGE, int OUT_DEPTH>
class EightsToYUV {
  public:
    template <bool MISALIGNED, bool FIRST, typename In>
    static auto Convert(const In& in) {
        constexpr int kEights = In::kPixels / 8;
        Odd before = Before<FIRST>(in.row->last);
        return MakeBlock<kEights>(in.row, [&](auto i) {
            const Levels levels = Load<MISALIGNED>(in.pixels + 32 * i);
            if (FIRST && i == 0) {
                // A row's first pixel is its own neighbour.
                before = {TakeDwords<0, 0, 0, 0>(levels.evenBG),
                          TakeDwords<0, 0, 0, 0>(EvenR(levels.r))};
            }
            const Odd odd = {levels.oddBG, OddR(levels.r)};
            const EIGHT_YUV eight = {Luma(levels), Chroma(levels, odd, before)};
            before = odd;
            if (i == kEights - 1) {
                in.row->last = {
                    InterleaveHighDwords(levels.oddBG, ShiftUnsignedDwordsRight<16>(levels.r))};
            }
            return eight;
        });
    }

  private:
    static_assert(OUT_DEPTH == 8 || OUT_DEPTH == 10);
    static constexpr int kShift = 15 + 10 - OUT_DEPTH;
    static constexpr uint16_t kNoChroma = 1U << (OUT_DEPTH - 1);

    struct Levels {
        Integers evenBG;
        Integers oddBG;
        Integers r;
    };

    // The odd pixels, with R twice in each 32-bit lane. An even pixel needs the one to its left;
    // that of the first one is in the highest lane of the previous eight.
    struct Odd {
        Integers bg;
        Integers r;
    };

    template <bool FIRST>
    static Odd Before(const BGRAv8& last) {
        if constexpr (FIRST) {
            return {Zero(), Zero()};
        } else {
            return {TakeDwords<2, 2, 2, 2>(last.v), TakeHighWords<2, 2, 2, 2>(last.v)};
        }
    }

    template <bool MISALIGNED>
    static Levels Load(const char* from) {
        const Integers low = LoadPixels<MISALIGNED>(from);
        const Integers high = LoadPixels<MISALIGNED>(from + 16);
        const Integers even = TakeDwords<0, 2, 0, 2>(low, high);
        const Integers odd = TakeDwords<1, 3, 1, 3>(low, high);
        const Integers r = Or(
            ShuffleBytes(even, MakeBytes(1, 0, -1, -1, 5, 4, -1, -1, 9, 8, -1, -1, 13, 12, -1, -1)),
            ShuffleBytes(odd, MakeBytes(-1, -1, 1, 0, -1, -1, 5, 4, -1, -1, 9, 8, -1, -1, 13, 12)));
        return {LoadBG(even), LoadBG(odd), ShiftUnsignedWordsRight<6>(ShiftWordsLeft<2>(r))};
    }

    // The multiplication drops the bits above a component, the shift those below it.
    static Integers LoadBG(Integers pixels) {
        const Integers words =
            ShuffleBytes(pixels, MakeBytes(3, 2, 2, 1, 7, 6, 6, 5, 11, 10, 10, 9, 15, 14, 14, 13));
        return ShiftUnsignedWordsRight<6>(
            MultiplyWordsLow(words, FourLanes(1 << 4 << 16 | 1 << 6)));
    }

    static Integers EvenR(Integers r) {
        return ShuffleBytes(r, MakeBytes(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13));
    }
    static Integers OddR(Integers r) {
        return ShuffleBytes(r, MakeBytes(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15));
    }

    // The coefficients of B and G, and that of R.
    template <size_t MATRIX_ROW>
    static constexpr Integers CoefficientsOfBG() {
        return FourLanes(CoefficientPairs<RANGE, MATRIX_ROW>().bg);
    }
    template <size_t MATRIX_ROW>
    static constexpr uint32_t CoefficientOfR() {
        return CoefficientPairs<RANGE, MATRIX_ROW>().r;
    }

    // Words times coefficients in units of 1/32768, truncated to the destination's depth.
    static Integers WeighR(Integers r, Integers coefficients) {
        if constexpr (kShift == 15) {
            return MultiplyWordsHigh(AddWords(r, r), coefficients);
        } else {
            return ShiftWordsRight<kShift - 16>(MultiplyWordsHigh(r, coefficients));
        }
    }

    static Integers Luma(const Levels& levels) {
        const Integers even = MultiplyAddWords(levels.evenBG, CoefficientsOfBG<0>());
        const Integers odd = MultiplyAddWords(levels.oddBG, CoefficientsOfBG<0>());
        const Integers oddAbove =
            kShift == 15 ? ShiftDwordsLeft<1>(odd) : ShiftUnsignedDwordsRight<1>(odd);
        const Integers bg =
            Or(ShiftUnsignedDwordsRight<kShift>(even), And(oddAbove, UpperHalves()));
        return AddWords(bg, WeighR(levels.r, EightLanes(CoefficientOfR<0>())));
    }

    static Integers Chroma(const Levels& levels, const Odd& odd, const Odd& before) {
        const auto filter = [](Integers even, Integers right, Integers rightBefore) {
            const Integers left = TakeBytes<12>(rightBefore, right);
            return AverageUnsignedWords(even, AverageUnsignedWords(left, right));
        };
        const Integers bg = filter(levels.evenBG, odd.bg, before.bg);
        const Integers r = filter(EvenR(levels.r), odd.r, before.r);
        const Integers sum = AddWords(
            WeighBG(bg), WeighR(r, FourLanes(CoefficientOfR<2>() << 16 | CoefficientOfR<1>())));
        return AddWords(sum, EightLanes(kNoChroma));
    }

    // To interleaved Cb and Cr. Sums divided by 2^16 are the upper words of their lanes.
    static Integers WeighBG(Integers bg) {
        const Integers enlarged = kShift == 15 ? AddWords(bg, bg) : bg;
        const Integers cb = MultiplyAddWords(enlarged, CoefficientsOfBG<1>());
        const Integers cr = MultiplyAddWords(enlarged, CoefficientsOfBG<2>());
        const Integers both = Or(ShiftUnsignedDwordsRight<16>(cb), And(cr, UpperHalves()));
        if constexpr (kShift == 15) {
            return both;
        } else {
            return ShiftWordsRight<kShift - 16>(both);
        }
    }

    static constexpr Integers UpperHalves() { return FourLanes(0xFFFF0000); }
};

inline PACKED InterleaveBytes(const EIGHT_YUV& eight) {
    return {ShuffleBytes(PackWordsToUnsignedBytes(eight.chroma, eight.y),
                         MakeBytes(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15))};
}

// Three times eight pixels to four vectors of v210. The coefficients keep luma within ten bits, so
// that only chroma is clamped.
inline BLOCK<4, PACKED> PackV210(const BLOCK<3, EIGHT_YUV>& block) {
    using namespace Converter::Video;
    const auto limit = [](Integers chroma) { return Limit(chroma, v8i_0x3ff); };
    const Integers y0 = EnlargeForV210Luma<0>(block.v[0].y);
    const Integers y1 = EnlargeForV210Luma<8>(block.v[1].y);
    const Integers y2 = EnlargeForV210Luma<16>(block.v[2].y);
    const Integers c0 = EnlargeForV210Chroma<0>(limit(block.v[0].chroma));
    const Integers c1 = EnlargeForV210Chroma<8>(limit(block.v[1].chroma));
    const Integers c2 = EnlargeForV210Chroma<16>(limit(block.v[2].chroma));
    return {{{MakeV210Words(y0, c0)},
             {MakeV210Words(TakeBytes<12>(y0, y1), TakeBytes<12>(c0, c1))},
             {MakeV210Words(TakeBytes<8>(y1, y2), TakeBytes<8>(c1, c2))},
             {MakeV210Words(TakeBytes<4>(y2), TakeBytes<4>(c2))}},
            block.row};
}

using TO_BGRAv8 = BIND<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8>;

}  // namespace details

template <typename RANGE>
struct BIND3<details::TO_BGRAv8, BGRAv8_TO_UYVYv8<RANGE, 10, 8, 0, 0>, PACK_UYVYv8_TO_UYVY>
    : STAGE {
    using OUTPUT = PACK_UYVYv8_TO_UYVY::OUTPUT;
    static constexpr bool kIsFirstOwn = true;
    static constexpr int kBlocksAtOnce = 2;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        const auto eights = details::EightsToYUV<RANGE, 8>::template Convert<MISALIGNED, FIRST>(in);
        return MakeBlock<In::kPixels / 8>(
            in.row, [&](auto i) { return details::InterleaveBytes(eights.v[i]); });
    }
};

// Two blocks at a time; a single block goes through the stages.
template <typename RANGE>
struct BIND3<details::TO_BGRAv8, BGRAv8_TO_UYVYv8<RANGE, 10, 10, 0, 0>, PACK_UYVYv8_TO_V210>
    : STAGE {
    using OUTPUT = PACK_UYVYv8_TO_V210::OUTPUT;
    static constexpr bool kIsFirstOwn = true;
    static constexpr int kBlocksAtOnce = 2;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        if constexpr (In::kPixels == 2 * OUTPUT::kPixels) {
            return details::PackV210(
                details::EightsToYUV<RANGE, 10>::template Convert<MISALIGNED, FIRST>(in));
        } else {
            using ONE_BY_ONE =
                BIND<details::TO_BGRAv8,
                     BIND<BGRAv8_TO_UYVYv8<RANGE, 10, 10, 0, 0>, PACK_UYVYv8_TO_V210>>;
            return ONE_BY_ONE::template apply<MISALIGNED, FIRST>(in);
        }
    }
};

}  // namespace KVX::PixelConversion
