// The two 4:2:2 layouts as destinations of ConvertGroupsToYUV.
#pragma once

#include "convert/video/rgb_to_yuv.h"
#include "convert/video/v210_words.h"
#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

// U Y0 V Y1, a byte each.
struct UYVYLayout {
    using Levels = YUVLevels<6, 16, 255, 128>;
    static constexpr int kGroupBytes = 2 * kYUVGroupPixels;

    static KVX_ALWAYS_INLINE void StoreGroup(char* to, const YUVWords (&yuv)[kYUVGroupEights]) {
        for (const YUVWords& eight : yuv) {
            Stream(to, Or(eight.mChroma, ShiftWordsLeft<8>(eight.mY)));
            to += 16;
        }
    }
};

// Six pixels in four 32-bit words; stored plainly.
template <typename LayoutLevels>
struct V210Layout {
    using Levels = LayoutLevels;
    static constexpr int kGroupBytes = kYUVGroupPixels / 6 * 16;

    static KVX_ALWAYS_INLINE void StoreGroup(char* to, const YUVWords (&yuv)[kYUVGroupEights]) {
        const Samples first = Enlarge<0>(yuv[0]);
        const Samples second = Enlarge<8>(yuv[1]);
        const Samples third = Enlarge<16>(yuv[2]);
        // Every six luma words go with six chroma words, three pairs.
        StoreSix(to, first);
        StoreSix(to + 16, Join<12>(first, second));
        StoreSix(to + 32, Join<8>(second, third));
        StoreSix(to + 48, Join<4>(third, third));
    }

  private:
    struct Samples {
        Integers mY;
        Integers mChroma;
        Integers mSigns;  // of chroma
    };

    template <int kFirst>
    static KVX_ALWAYS_INLINE Samples Enlarge(const YUVWords& yuv) {
        return {EnlargeForV210Luma<kFirst>(yuv.mY), EnlargeForV210Chroma<kFirst>(yuv.mChroma),
                ShiftWordsRight<15>(yuv.mChroma)};
    }

    // The sixteen bytes from kByte on.
    template <int kByte>
    static KVX_ALWAYS_INLINE Samples Join(const Samples& low, const Samples& high) {
        return {TakeBytes<kByte>(low.mY, high.mY), TakeBytes<kByte>(low.mChroma, high.mChroma),
                TakeBytes<kByte>(low.mSigns, high.mSigns)};
    }

    // Chroma of superwhite colours can pass 10 bits; samples are laid over one another then.
    static KVX_ALWAYS_INLINE void StoreSix(char* to, const Samples& samples) {
        const Integers words =
            Or(MakeV210Words(samples.mY, samples.mChroma), V210SignsOfChroma(samples.mSigns));
        Store(to, words);
    }
};

}  // namespace KVX::Converter::Video
