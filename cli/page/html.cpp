#include "cli/page/html.h"

#include <cstddef>
#include <cstdint>

namespace kvx_cli {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

struct Character {
    size_t length;  // bytes
    bool isShown;
};

bool IsShown(uint32_t character) {
    const bool isControl = (character < 0x20 && character != '\n' && character != '\t') ||
                           (character >= 0x7F && character < 0xA0);
    // Those that turn the direction of what follows would let a name read as another.
    const bool isTurn = character == 0x061C || character == 0x200E || character == 0x200F ||
                        (character >= 0x202A && character <= 0x202E) ||
                        (character >= 0x2066 && character <= 0x2069);
    return !isControl && !isTurn;
}

// The character that begins at `index`; a single byte where none does.
Character CharacterAt(const std::string& text, size_t index) {
    constexpr Character kNone = {1, false};
    const auto byte = [&](size_t place) {
        return place < text.size() ? static_cast<uint8_t>(text[place]) : uint8_t{0};
    };
    const uint8_t lead = byte(index);
    const size_t length = lead < 0x80                    ? 1
                          : lead >= 0xC2 && lead <= 0xDF ? 2
                          : lead >= 0xE0 && lead <= 0xEF ? 3
                          : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                         : 0;
    if (length == 0) {
        return kNone;
    }
    uint32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    for (size_t trail = 1; trail < length; ++trail) {
        if ((byte(index + trail) & 0xC0) != 0x80) {
            return kNone;
        }
        character = character << 6 | (byte(index + trail) & 0x3FU);
    }
    constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (isSurrogate || character < kLeast[length] || character > 0x10FFFF) {
        return kNone;
    }
    return {length, IsShown(character)};
}

}  // namespace

std::string HtmlText(const std::string& text) {
    std::string html;
    for (size_t index = 0; index < text.size();) {
        const Character character = CharacterAt(text, index);
        switch (text[index]) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += character.isShown ? text.substr(index, character.length) : kReplacement;
        }
        index += character.length;
    }
    return html;
}

}  // namespace kvx_cli
