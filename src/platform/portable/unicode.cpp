#include "platform/portable/unicode.h"

#include "platform/portable/cf_object.h"

namespace KVX::Platform {

namespace {

// Well-formed UTF-8 by lead byte: the length, and the range of the second byte. The bytes after
// the second are 0x80 to 0xBF (Unicode Standard, table 3-7).
struct LeadBytes {
    uint8_t first;
    uint8_t last;
    uint8_t size;
    uint8_t secondFirst;
    uint8_t secondLast;
};

constexpr LeadBytes kLeadBytes[] = {
    {0x00, 0x7F, 1, 0x00, 0x00}, {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

const LeadBytes* FindLead(uint8_t byte) {
    for (const LeadBytes& lead : kLeadBytes) {
        if (byte >= lead.first && byte <= lead.last) {
            return &lead;
        }
    }
    return nullptr;
}

constexpr uint32_t kFirstSupplementary = 0x10000;

bool IsHighSurrogate(uint32_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
bool IsLowSurrogate(uint32_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

uint8_t TrailingByte(uint32_t codePoint, int shift) {
    return static_cast<uint8_t>(0x80 | (codePoint >> shift & 0x3F));
}

}  // namespace

DecodedCharacter DecodeUtf8(const uint8_t* bytes, size_t size) {
    const LeadBytes* lead = size == 0 ? nullptr : FindLead(bytes[0]);
    if (lead == nullptr || lead->size > size) {
        return {0, 0};
    }
    if (lead->size == 1) {
        return {bytes[0], 1};
    }
    if (bytes[1] < lead->secondFirst || bytes[1] > lead->secondLast) {
        return {0, 0};
    }
    uint32_t codePoint = bytes[0] & (0x7Fu >> lead->size);
    for (size_t index = 1; index < lead->size; ++index) {
        if ((bytes[index] & 0xC0) != 0x80) {
            return {0, 0};
        }
        codePoint = codePoint << 6 | (bytes[index] & 0x3F);
    }
    return {codePoint, lead->size};
}

EncodedCharacter EncodeUtf8(const uint16_t* units, size_t count) {
    Require(count >= 1);
    const uint32_t unit = units[0];
    if (unit < 0x80) {
        return {{static_cast<uint8_t>(unit)}, 1, 1};
    }
    if (unit < 0x800) {
        return {{static_cast<uint8_t>(0xC0 | unit >> 6), TrailingByte(unit, 0)}, 2, 1};
    }
    if (!IsHighSurrogate(unit) && !IsLowSurrogate(unit)) {
        return {
            {static_cast<uint8_t>(0xE0 | unit >> 12), TrailingByte(unit, 6), TrailingByte(unit, 0)},
            3,
            1};
    }
    if (!IsHighSurrogate(unit) || count < 2 || !IsLowSurrogate(units[1])) {
        return {{}, 0, 0};
    }
    const uint32_t codePoint = kFirstSupplementary + ((unit & 0x3FF) << 10 | (units[1] & 0x3FFu));
    return {{static_cast<uint8_t>(0xF0 | codePoint >> 18), TrailingByte(codePoint, 12),
             TrailingByte(codePoint, 6), TrailingByte(codePoint, 0)},
            4,
            2};
}

bool CountUtf16(const uint8_t* bytes, size_t size, size_t& units) {
    units = 0;
    for (size_t position = 0; position < size;) {
        const DecodedCharacter character = DecodeUtf8(bytes + position, size - position);
        if (character.bytes == 0) {
            return false;
        }
        position += character.bytes;
        units += character.codePoint < kFirstSupplementary ? 1 : 2;
    }
    return true;
}

void WriteUtf16(const uint8_t* bytes, size_t size, uint16_t* units) {
    for (size_t position = 0; position < size;) {
        const DecodedCharacter character = DecodeUtf8(bytes + position, size - position);
        position += character.bytes;
        if (character.codePoint < kFirstSupplementary) {
            *units++ = static_cast<uint16_t>(character.codePoint);
        } else {
            const uint32_t rest = character.codePoint - kFirstSupplementary;
            *units++ = static_cast<uint16_t>(0xD800 | rest >> 10);
            *units++ = static_cast<uint16_t>(0xDC00 | (rest & 0x3FF));
        }
    }
}

}  // namespace KVX::Platform
