#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvx_cli {

struct Utf8Character {
    size_t length = 0;  // bytes; 0: there is none
    uint32_t number = 0;
};

// The character that begins at `index`. None is what is cut off, longer than it need be, half of a
// surrogate pair or beyond the last that there is.
Utf8Character Utf8CharacterAt(const std::string& text, size_t index);

}  // namespace kvx_cli
