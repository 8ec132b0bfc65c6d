#include "hostkit/utf16.h"

namespace kvx_hostkit {

namespace {

constexpr uint32_t kReplacement = 0xFFFD;

struct Decoded {
    uint32_t character;
    size_t length;  // bytes
};

// The character at `index`; a byte that begins none counts as one replacement character.
Decoded DecodeAt(const std::string& text, size_t index) {
    const auto byteAt = [&text](size_t place) { return static_cast<unsigned char>(text[place]); };
    const uint32_t lead = byteAt(index);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || index + length > text.size()) {
        return {kReplacement, 1};
    }
    uint32_t character = lead & (0xFFU >> (length + 1));
    for (size_t trail = 1; trail < length; ++trail) {
        const uint32_t byte = byteAt(index + trail);
        if ((byte & 0xC0) != 0x80) {
            return {kReplacement, 1};
        }
        character = character << 6 | (byte & 0x3F);
    }
    constexpr uint32_t kFirstOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < kFirstOfLength[length] || surrogate || character > 0x10FFFF) {
        return {kReplacement, 1};
    }
    return {character, length};
}

}  // namespace

std::vector<prUTF16Char> ToHostPath(const std::string& path) {
    std::vector<prUTF16Char> units;
    units.reserve(path.size() + 1);
    for (size_t index = 0; index < path.size();) {
        const Decoded decoded = DecodeAt(path, index);
        index += decoded.length;
        if (decoded.character < 0x10000) {
            units.push_back(static_cast<prUTF16Char>(decoded.character));
        } else {
            const uint32_t offset = decoded.character - 0x10000;
            units.push_back(static_cast<prUTF16Char>(0xD800 + (offset >> 10)));
            units.push_back(static_cast<prUTF16Char>(0xDC00 + (offset & 0x3FF)));
        }
    }
    units.push_back(0);
    return units;
}

}  // namespace kvx_hostkit
