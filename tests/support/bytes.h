// Big-endian byte strings, the raw material of hand-made QuickTime files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvx_test {

// Bytes are concatenated with +, so an atom's payload reads like the format's own field tables:
// big32(0) + big32(1) + big32(100).
using Bytes = std::string;

// Each takes the low bits of the number, so that negative fields are written as they come.
Bytes big16(int64_t value);
Bytes big32(int64_t value);
Bytes big64(int64_t value);

// An IEEE double, as sound descriptions of version 2 hold the sample rate.
Bytes bigDouble(double value);

Bytes zeros(size_t count);

}  // namespace kvx_test
