// Vector constants of the pixel family. They are constant-initialised, so that they are ready
// before any thread runs.
#pragma once

#include <cstdint>

#include "convert/vector128.h"

namespace KVX::PixelConversion {

using namespace Vector128;

constexpr Integers FourLanes(uint32_t lane0, uint32_t lane1, uint32_t lane2, uint32_t lane3) {
    return FromHalves(static_cast<uint64_t>(lane1) << 32 | lane0,
                      static_cast<uint64_t>(lane3) << 32 | lane2);
}

constexpr Integers FourLanes(uint32_t lane) {
    return FourLanes(lane, lane, lane, lane);
}

constexpr Integers EightLanes(uint16_t lane) {
    return FourLanes(static_cast<uint32_t>(lane) << 16 | lane);
}

inline constexpr Integers v4i_0x3fff0000 = FourLanes(0x3FFF0000);
inline constexpr Integers v4i_0xffff = FourLanes(0xFFFF);
inline constexpr Integers v4i_0x3ff = FourLanes(0x3FF);
inline constexpr Integers v4i_0x3fff = FourLanes(0x3FFF);
inline constexpr Integers v8i_1 = EightLanes(1);
inline constexpr Integers v8i_0xff = EightLanes(0xFF);
inline constexpr Integers v8i_0x3ff = EightLanes(0x3FF);

// One 32-bit lane of four.
inline constexpr Integers v4i_mask_xxx0 = FourLanes(0xFFFFFFFF, 0, 0, 0);
inline constexpr Integers v4i_mask_xx1x = FourLanes(0, 0xFFFFFFFF, 0, 0);
inline constexpr Integers v4i_mask_x2xx = FourLanes(0, 0, 0xFFFFFFFF, 0);
inline constexpr Integers v4i_mask_3xxx = FourLanes(0, 0, 0, 0xFFFFFFFF);

namespace details {

// The three colour bytes of one RGBA pixel of four.
inline constexpr Integers v4i_mask_p0 = FourLanes(0x00FFFFFF, 0, 0, 0);
inline constexpr Integers v4i_mask_p1 = FourLanes(0, 0x00FFFFFF, 0, 0);
inline constexpr Integers v4i_mask_p2 = FourLanes(0, 0, 0x00FFFFFF, 0);
inline constexpr Integers v4i_mask_p3 = FourLanes(0, 0, 0, 0x00FFFFFF);

// Bits 1-0 of big-endian words.
inline constexpr Integers v4i_r10kpaddingbe = FourLanes(0x03000000);

}  // namespace details

}  // namespace KVX::PixelConversion
