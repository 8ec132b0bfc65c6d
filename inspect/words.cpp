#include "inspect/words.h"

#include <cstdio>

namespace kvx_inspect {

std::string Quoted(uint32_t code) {
    std::string text = "\"";
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned int character = code >> shift & 0xFF;
        if (character >= 0x20 && character < 0x7F) {
            text += static_cast<char>(character);
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", character);
            text += escape;
        }
    }
    return text + "\"";
}

std::string Seconds(double units, int64_t scale) {
    if (scale < 1) {
        return "?";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.3f s", units / static_cast<double>(scale));
    return text;
}

std::string Counted(int64_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace kvx_inspect
