#include "cli/output/utf8.h"

namespace kvx_cli {

Utf8Character Utf8CharacterAt(const std::string& text, size_t index) {
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
        return {};
    }
    uint32_t number = length == 1 ? lead : lead & (0x7FU >> length);
    for (size_t trail = 1; trail < length; ++trail) {
        if ((byte(index + trail) & 0xC0) != 0x80) {
            return {};
        }
        number = number << 6 | (byte(index + trail) & 0x3FU);
    }
    constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = number >= 0xD800 && number <= 0xDFFF;
    if (isSurrogate || number < kLeast[length] || number > 0x10FFFF) {
        return {};
    }
    return {length, number};
}

}  // namespace kvx_cli
