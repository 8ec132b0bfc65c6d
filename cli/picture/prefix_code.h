#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kvx_cli {

// A prefix code of deflate (RFC 1951, 3.2.2): more frequent symbols have shorter codes.
template <size_t Symbols>
struct PrefixCode {
    std::array<uint8_t, Symbols> lengths = {};  // bits; 0: the symbol has no code
    std::array<uint16_t, Symbols> codes = {};   // first bit lowest, as they are written
};

// Fills `lengths` and `codes` of `count` symbols. No code is longer than `limit` bits, for which
// two to the power of `limit` must be at least `count`. A symbol alone has a code of one bit.
void MakePrefixCode(const uint32_t* frequencies, size_t count, int limit, uint8_t* lengths,
                    uint16_t* codes);

template <size_t Symbols>
PrefixCode<Symbols> MakePrefixCode(const std::array<uint32_t, Symbols>& frequencies, int limit) {
    PrefixCode<Symbols> code;
    MakePrefixCode(frequencies.data(), Symbols, limit, code.lengths.data(), code.codes.data());
    return code;
}

}  // namespace kvx_cli
