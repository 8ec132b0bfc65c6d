#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvx_test {

struct PngContents {
    int width = 0;
    int height = 0;
    int depth = 0;              // bits of a component
    int channels = 0;           // 3: R, G, B
    bool hasAspect = false;     // has a pHYs chunk
    uint32_t pixelsAcross = 0;  // of it, for some unit of length
    uint32_t pixelsDown = 0;
    std::vector<uint8_t> samples;  // from the top down, 16-bit ones big-endian
};

// A width of 0 if there is no such picture or it is not whole.
PngContents ReadPng(const std::string& path);

}  // namespace kvx_test
