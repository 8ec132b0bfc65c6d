// Stages for one pixel at a time.
#pragma once

#include <algorithm>

#include "convert/pixel_family/transform.h"
#include "convert/pixel_family/values.h"

namespace KVX::PixelConversion {

// The big-endian word, read as little-endian, to R, G and B from 0 to 1.
struct UNPACK_R210_SCALAR : STAGE {
    template <bool MISALIGNED, bool FIRST, typename In>
    static VEC<3, float> apply(const In& in) {
        const unsigned int word = in.v[0];
        const unsigned int r = (word << 4 & 0x3F0) | (word >> 12 & 0xF);
        const unsigned int g = (word >> 2 & 0x3C0) | (word >> 18 & 0x3F);
        const unsigned int b = (word >> 8 & 0x300) | (word >> 24 & 0xFF);
        return {{Fraction(r), Fraction(g), Fraction(b)}};
    }

  private:
    static float Fraction(unsigned int level) { return static_cast<float>(level) / 1023.0f; }
};

struct RGB_STUDIO_TO_COMPUTER_SCALAR : STAGE {
    template <bool MISALIGNED, bool FIRST, typename In>
    static VEC<3, float> apply(const In& in) {
        return {{Stretch(in.v[0]), Stretch(in.v[1]), Stretch(in.v[2])}};
    }

  private:
    static float Stretch(float fraction) { return (fraction + -0.0625f) * 1.1643835f; }
};

struct PACK_BGRA_SCALAR : STAGE {
    using OUTPUT = BLOCK_FORM<1, 4, false>;

    template <bool MISALIGNED, bool FIRST, typename In>
    static VEC<4, unsigned char> apply(const In& in) {
        return {{Byte(in.v[2]), Byte(in.v[1]), Byte(in.v[0]), 0xFF}};
    }

  private:
    static unsigned char Byte(float fraction) {
        const float scaled = fraction * 255.0f;
        const float rounded = std::min(255.0f, scaled) + 0.5f;
        return scaled < 0.0f ? 0 : static_cast<unsigned char>(rounded);
    }
};

}  // namespace KVX::PixelConversion
