#pragma once

#include <cstddef>
#include <cstdint>

namespace kvx_test {

// The 64-bit FNV-1a hash.
inline std::uint64_t Fnv1a(const char* bytes, std::size_t size) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (std::size_t i = 0; i < size; ++i) {
        hash = (hash ^ static_cast<unsigned char>(bytes[i])) * 0x100000001B3u;
    }
    return hash;
}

}  // namespace kvx_test
