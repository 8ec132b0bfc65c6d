#pragma once

#include <cstdint>

// The host's record of the colour that a clip was matted with.
struct matteColRec {
    uint8_t first;
    uint8_t second;
    uint8_t third;
};
static_assert(sizeof(matteColRec) == 3, "three bytes in the host's records");
