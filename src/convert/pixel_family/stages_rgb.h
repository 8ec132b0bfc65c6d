// Stages from 10-bit RGB to RGB in other layouts.
#pragma once

#include "convert/pixel_family/constants.h"
#include "convert/pixel_family/transform.h"
#include "convert/pixel_family/values.h"

namespace KVX::PixelConversion {

// Options of stages. Each has one value so far.
using PrecisionFlag = int;    // 0: levels are truncated
using PixelCenterFlag = int;  // 0: chroma is sited at the even pixels

namespace details {

template <bool MISALIGNED>
Integers LoadPixels(const char* from) {
    if constexpr (MISALIGNED) {
        return Converter::Video::MisalignedSource::Load(from);
    } else {
        return Converter::Video::AlignedSource::Load(from);
    }
}

inline Integers SwapBytes(Integers words) {
    return ShuffleBytes(words, MakeBytes(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
}

template <bool MISALIGNED>
RGBv4 UnpackR210(const char* from) {
    const Integers words = SwapBytes(LoadPixels<MISALIGNED>(from));
    return {And(ShiftUnsignedDwordsRight<20>(words), v4i_0x3ff),
            And(ShiftUnsignedDwordsRight<10>(words), v4i_0x3ff), And(words, v4i_0x3ff)};
}

// Applies `convert` to the three components of each value of a block.
template <typename In, typename Convert>
In EachComponent(const In& in, Convert convert) {
    return MakeBlock<In::kCount>(in.row, [&](auto i) {
        return typename In::Value{convert(in.v[i].r), convert(in.v[i].g), convert(in.v[i].b)};
    });
}

// Takes 16-bit lanes, or 32-bit lanes whose upper half is zero and stays zero. Black and what is
// below it become 0, white becomes 1020; levels above white are not clamped and go up to 1116.
inline Integers StretchLevels(Integers levels, Integers black) {
    const Integers aboveBlack = SubtractSaturatingUnsignedWords(levels, black);
    return MultiplyUnsignedWordsHigh(ShiftWordsLeft<1>(aboveBlack), EightLanes(38155));
}

inline Integers Limit(Integers levels, Integers most) {
    return MaxWords(MinWords(levels, most), Zero());
}

// Two components of four pixels, in the lower and the upper halves of 32-bit lanes.
inline Integers Join(Integers lower, Integers upper) {
    return Or(lower, ShiftDwordsLeft<16>(upper));
}

// Four components of four pixels to a byte each, saturated.
inline PACKED PackBytes(Integers firstTwo, Integers lastTwo) {
    return {PackWordsToUnsignedBytes(InterleaveLowDwords(firstTwo, lastTwo),
                                     InterleaveHighDwords(firstTwo, lastTwo))};
}

inline Integers PackR10K(const RGBv4& rgb) {
    return Or(Or(ShiftDwordsLeft<22>(Limit(rgb.r, v4i_0x3ff)),
                 ShiftDwordsLeft<12>(Limit(rgb.g, v4i_0x3ff))),
              ShiftDwordsLeft<2>(Limit(rgb.b, v4i_0x3ff)));
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
            return RGBv8{PackDwordsToWords(low.r, high.r), PackDwordsToWords(low.g, high.g),
                         PackDwordsToWords(low.b, high.b)};
        });
    }
};

// Expands studio-range levels to full range.
template <int DEPTH, PrecisionFlag PRECISION>
struct RGBv4_STUDIO_TO_COMPUTER : STAGE {
    static_assert(DEPTH == 10 && PRECISION == 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(
            in, [](Integers levels) { return details::StretchLevels(levels, FourLanes(64)); });
    }
};

template <int DEPTH, PrecisionFlag PRECISION>
struct RGBv8_STUDIO_TO_COMPUTER : STAGE {
    static_assert(DEPTH == 10 && PRECISION == 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(
            in, [](Integers levels) { return details::StretchLevels(levels, EightLanes(64)); });
    }
};

// Reduces the bit depth by -BITS, truncating.
template <int BITS>
struct RGBv4_BITDEPTH : STAGE {
    static_assert(BITS < 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(
            in, [](Integers levels) { return ShiftDwordsRight<-BITS>(levels); });
    }
};

template <int BITS>
struct RGBv8_BITDEPTH : STAGE {
    static_assert(BITS < 0);

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return details::EachComponent(
            in, [](Integers levels) { return ShiftWordsRight<-BITS>(levels); });
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
                                      Or(in.v[i].b, v4i_0x3fff0000));
        });
    }
};

struct PACK_RGBv8_TO_BGRA : STAGE {
    using OUTPUT = BLOCK_FORM<8, 32, false>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<2 * In::kCount>(in.row, [&](auto i) {
            const RGBv8& rgb = in.v[i / 2];
            const Integers br = PackWordsToUnsignedBytes(rgb.b, rgb.r);
            const Integers ga = PackWordsToUnsignedBytes(rgb.g, v8i_0xff);
            const Integers bg = InterleaveLowBytes(br, ga);
            const Integers ra = InterleaveHighBytes(br, ga);
            return PACKED{i % 2 == 0 ? InterleaveLowWords(bg, ra) : InterleaveHighWords(bg, ra)};
        });
    }
};

// Four vectors of RGBA to three of RGB.
struct PACK_RGBA_TO_RGB : STAGE {
    using OUTPUT = BLOCK_FORM<16, 48, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        // The twelve colour bytes of each four pixels, placed so that sixteen bytes out of two
        // neighbours joined are one vector of the result.
        const Integers run0 = ShuffleBytes(
            in.v[0].v, MakeBytes(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14));
        const Integers run1 = ShuffleBytes(
            in.v[1].v, MakeBytes(0, 1, 2, 4, -1, -1, -1, -1, 5, 6, 8, 9, 10, 12, 13, 14));
        const Integers run2 = ShuffleBytes(
            in.v[2].v, MakeBytes(0, 1, 2, 4, 5, 6, 8, 9, -1, -1, -1, -1, 10, 12, 13, 14));
        const Integers run3 = ShuffleBytes(
            in.v[3].v, MakeBytes(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        return BLOCK<3, PACKED>{
            {{TakeBytes<4>(run0, run1)}, {TakeBytes<8>(run1, run2)}, {TakeBytes<12>(run2, run3)}},
            in.row};
    }
};

// R, G and B from the most significant bit down in a 32-bit word; the lowest two bits are unused.
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
        return MakeBlock<In::kCount>(
            in.row, [&](auto i) { return PACKED{Or(in.v[i].v, details::v4i_r10kpaddingbe)}; });
    }
};

struct PACK_RGBv8_TO_R210 : STAGE {
    using OUTPUT = BLOCK_FORM<8, 32, true>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static auto apply(const In& in) {
        return MakeBlock<2 * In::kCount>(in.row, [&](auto i) {
            const Integers r = details::Limit(in.v[i / 2].r, v8i_0x3ff);
            const Integers g = details::Limit(in.v[i / 2].g, v8i_0x3ff);
            const Integers b = details::Limit(in.v[i / 2].b, v8i_0x3ff);
            const Integers words =
                Or(Or(ShiftDwordsLeft<20>(Widen<i % 2>(r)), ShiftDwordsLeft<10>(Widen<i % 2>(g))),
                   Widen<i % 2>(b));
            return PACKED{details::SwapBytes(words)};
        });
    }

  private:
    template <int HALF>
    static Integers Widen(Integers lanes) {
        return HALF == 0 ? InterleaveLowWords(lanes, Zero()) : InterleaveHighWords(lanes, Zero());
    }
};

}  // namespace KVX::PixelConversion
