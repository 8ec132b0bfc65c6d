// What memory allows a conversion.
#pragma once

#include <cstddef>

namespace kvx_bench {

// Reads `sourceBytes` and writes `destinationBytes`, both once and evenly mixed, with aligned
// 16-byte loads and streamed stores. Sizes are multiples of 64.
void CopyAtTheLimit(const char* source, size_t sourceBytes, char* destination,
                    size_t destinationBytes);

}  // namespace kvx_bench
