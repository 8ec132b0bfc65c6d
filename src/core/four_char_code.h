// Four-character codes: 32-bit numbers with the first character in the most significant byte, the
// order in which QuickTime files hold them.
#pragma once

#include <cstdint>

namespace KVX::Core {

constexpr uint32_t FourCharCode(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[3]));
}

}  // namespace KVX::Core
