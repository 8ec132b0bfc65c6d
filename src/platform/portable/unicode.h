// Single steps between UTF-8 and UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KVX::Platform {

struct DecodedCharacter {
    uint32_t codePoint;
    size_t bytes;  // 0: nothing well-formed is here
};

struct EncodedCharacter {
    uint8_t bytes[4];
    size_t size;
    size_t units;  // 0: an unpaired surrogate is here
};

// The first of the `size` bytes' characters, well-formed by table 3-7 of the Unicode Standard: no
// overlong form, no surrogate, nothing above U+10FFFF.
DecodedCharacter DecodeUtf8(const uint8_t* bytes, size_t size);

// The first character of the `count` units, in UTF-8. `count` is at least 1.
EncodedCharacter EncodeUtf8(const uint16_t* units, size_t count);

// Counts the UTF-16 units of UTF-8 text. False when it is not well-formed throughout.
bool CountUtf16(const uint8_t* bytes, size_t size, size_t& units);

// Writes well-formed UTF-8 as UTF-16; `units` has room for what CountUtf16 said.
void WriteUtf16(const uint8_t* bytes, size_t size, uint16_t* units);

}  // namespace KVX::Platform
