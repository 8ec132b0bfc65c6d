// Frames for the pixel conversion family, and how a conversion of one is held against the naive
// form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "convert/naive_pixel_family.h"
#include "convert/pixel_family_members.h"

namespace kvx_test {

struct FrameLayout {
    int width = 0;
    int height = 1;
    int sourceOffset = 0;  // of the first byte from a multiple of 64
    int destOffset = 0;
    int sourceRowBytes = 0;  // 0: as little as alignment allows
    int destRowBytes = 0;    // likewise
    bool upward = false;     // rows fall in memory, at both ends
};

// The word of a pixel, by its place in the frame.
using PixelMaker = std::function<uint32_t(int x, int y)>;

uint32_t PixelWord(unsigned int r, unsigned int g, unsigned int b);

// All 32 bits of every word are noise, the unused ones too.
PixelMaker Noise(uint64_t seed);

// Converts a frame and compares every byte of the destination, and of a margin around it, with
// what naive rows say.
void ExpectLikeNaive(const FamilyMember& member, const FrameLayout& layout,
                     const PixelMaker& pixel);

// Converts a single row and returns its bytes.
std::vector<uint8_t> ConvertRow(const std::string& name, const std::vector<uint32_t>& words);

}  // namespace kvx_test
