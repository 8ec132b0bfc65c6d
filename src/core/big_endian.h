// Reads and writes of big-endian fields, at any alignment. QuickTime files are big-endian
// throughout (QuickTime File Format, "Atoms").
#pragma once

#include <cstdint>
#include <cstring>

namespace KVX::Core {

inline uint16_t ReadBig16(const void* from) {
    uint16_t word;
    std::memcpy(&word, from, sizeof(word));
    return __builtin_bswap16(word);
}

inline uint32_t ReadBig32(const void* from) {
    uint32_t word;
    std::memcpy(&word, from, sizeof(word));
    return __builtin_bswap32(word);
}

inline uint64_t ReadBig64(const void* from) {
    uint64_t word;
    std::memcpy(&word, from, sizeof(word));
    return __builtin_bswap64(word);
}

inline void WriteBig16(void* to, uint16_t value) {
    const uint16_t word = __builtin_bswap16(value);
    std::memcpy(to, &word, sizeof(word));
}

}  // namespace KVX::Core
