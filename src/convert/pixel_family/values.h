// What the stages of a pixel conversion pass to each other.
#pragma once

#include <utility>

#include "convert/vector128.h"

namespace KVX::PixelConversion {

using namespace Vector128;

// R, G and B of four pixels, a 32-bit lane each.
struct RGBv4 {
    Integers r;
    Integers g;
    Integers b;
};

// R, G and B of eight pixels, a 16-bit lane each.
struct RGBv8 {
    Integers r;
    Integers g;
    Integers b;
};

// Two pixels in 16-bit lanes: B, G, R, A, B, G, R, A.
struct BGRAv8 {
    Integers v;
};

// Four pixels in 16-bit lanes: Cb, Y, Cr, Y, Cb, Y, Cr, Y.
struct UYVYv8 {
    Integers v;
};

// 16 bytes in the destination's layout.
struct PACKED {
    Integers v;
};

// N values of one type: all that scalar stages pass.
template <int N, typename T>
struct VEC {
    T v[N];
};

// What is carried from one block of a row to the next.
struct ROW {
    BGRAv8 last;  // the last two pixels before the block, where a stage asks for them
};

// A block of source pixels, still in memory.
template <int PIXELS>
struct SOURCE {
    static constexpr int kPixels = PIXELS;

    const char* pixels;
    ROW* row;
};

// A block on its way through the chain, as N values of one type.
template <int N, typename T>
struct BLOCK {
    using Value = T;
    static constexpr int kCount = N;

    T v[N];
    ROW* row;
};

template <typename Make, int... I>
KVX_ALWAYS_INLINE auto MakeBlock(ROW* row, Make make, std::integer_sequence<int, I...>) {
    using Value = decltype(make(std::integral_constant<int, 0>()));
    return BLOCK<sizeof...(I), Value>{{make(std::integral_constant<int, I>())...}, row};
}

// A block of N values, each from `make` with its index, which is a constant to the compiler.
template <int N, typename Make>
KVX_ALWAYS_INLINE auto MakeBlock(ROW* row, Make make) {
    return MakeBlock(row, make, std::make_integer_sequence<int, N>());
}

}  // namespace KVX::PixelConversion
