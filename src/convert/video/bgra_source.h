// The host's BGRA formats as sources of ConvertGroupsToYUV. Alpha is dropped.
#pragma once

#include "convert/video/rgb_to_yuv.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

// Words of two pixels B G R A B G R A each, four registers of them, in the order of RGBWords.
KVX_ALWAYS_INLINE RGBWords ArrangeRGBWords(const Integers (&pixels)[4]) {
    const Integers kR = MakeBytes(4, 5, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const auto bg = [](Integers low, Integers high) { return TakeDwords<0, 2, 0, 2>(low, high); };
    const auto r = [kR](Integers low, Integers high) {
        return InterleaveLowDwords(ShuffleBytes(low, kR), ShuffleBytes(high, kR));
    };
    return {{bg(pixels[0], pixels[1]), bg(pixels[2], pixels[3])},
            InterleaveLowQwords(r(pixels[0], pixels[1]), r(pixels[2], pixels[3]))};
}

template <typename Memory, int kPrefetchDistance>
struct BGRA8uSource {
    using Arithmetic = WideArithmetic;
    static constexpr int kBytesPerPixel = 4;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
        PrefetchAhead<Memory, kPrefetchDistance>(from);
    }

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        const Integers low = Memory::Load(from);
        const Integers high = Memory::Load(from + 16);
        const Integers kBG = MakeBytes(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1);
        const Integers kR = MakeBytes(2, -1, 6, -1, 10, -1, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1);
        return {{Widen(ShuffleBytes(low, kBG)), Widen(ShuffleBytes(high, kBG))},
                Widen(InterleaveLowQwords(ShuffleBytes(low, kR), ShuffleBytes(high, kR)))};
    }

  private:
    static KVX_ALWAYS_INLINE Integers Widen(Integers words) { return ShiftWordsLeft<6>(words); }
};

template <typename Memory, int kPrefetchDistance>
struct BGRA16uSource {
    using Arithmetic = WideArithmetic;
    static constexpr int kBytesPerPixel = 8;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
        PrefetchAhead<Memory, kPrefetchDistance>(from);
    }

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        Integers pixels[4];
        for (int i = 0; i < 4; ++i) {
            pixels[i] = ShiftUnsignedWordsRight<1>(Memory::Load(from + 16 * i));
        }
        return ArrangeRGBWords(pixels);
    }
};

template <typename Memory, int kPrefetchDistance, int kSecondPrefetchDistance>
struct BGRA32fSource {
    using Arithmetic = WideArithmetic;
    static constexpr int kBytesPerPixel = 16;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
        PrefetchAhead<Memory, kPrefetchDistance, kSecondPrefetchDistance>(from);
    }

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        Integers pixels[4];
        for (int i = 0; i < 4; ++i) {
            pixels[i] = PackDwordsToWords(LoadOne(from + 32 * i), LoadOne(from + 32 * i + 16));
        }
        return ArrangeRGBWords(pixels);
    }

  private:
    static KVX_ALWAYS_INLINE Integers LoadOne(const char* from) {
        const Floats pixel = AsFloats(Memory::Load(from));
        const Floats limited = MinFloats(MaxFloats(pixel, ZeroFloats()), EveryFloat(1.0f));
        return RoundToDwords(MultiplyFloats(limited, EveryFloat(16384.0f)));
    }
};

}  // namespace KVX::Converter::Video
