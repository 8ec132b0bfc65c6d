#pragma once

#include <cstddef>
#include <cstdint>

namespace kvx_cli {

// Filters a row of a PNG picture (its standard's chapter 9): what is left of each byte when a
// neighbour's is taken away, the left pixel's or that of the row above, whichever leaves less in
// sum. `row` and `above` have `count` bytes, pixels of `pixelBytes`; the row above the first is all
// zeros. Writes 1 + `count` bytes, the filter's number first, and uses as many of `scratch`.
void FilterRow(const uint8_t* row, const uint8_t* above, size_t count, size_t pixelBytes,
               uint8_t* filtered, uint8_t* scratch);

}  // namespace kvx_cli
