#include "cli/page/html.h"

#include <cstddef>
#include <cstdint>

#include "cli/output/utf8.h"

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
    const Utf8Character character = Utf8CharacterAt(text, index);
    return character.length == 0 ? Character{1, false}
                                 : Character{character.length, IsShown(character.number)};
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
