#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/per_thread_buffer.h"
#include "platform/core_foundation.h"
#include "util/printer.h"

namespace KVX::Util::Printer {

const char* kUnknownString = "Unknown";
const char* kMemoryErrorString = "<memory error>";

namespace {

char CharacterAt(unsigned int code, int shift) {
    return static_cast<char>(code >> shift & 0xFF);
}

}  // namespace

const char* Unknown(long value) {
    constexpr unsigned long kPiece = 64;
    char* text = Core::GetPerThreadBuffer(kPiece);
    if (text == nullptr) {
        return kUnknownString;
    }
    const unsigned int code = static_cast<unsigned int>(value);
    std::snprintf(text, kPiece, "%s (%ld, 0x%08lx, '%c%c%c%c')", kUnknownString, value,
                  static_cast<unsigned long>(value), CharacterAt(code, 24), CharacterAt(code, 16),
                  CharacterAt(code, 8), CharacterAt(code, 0));
    return text;
}

const char* Fcc(int value, int) {
    constexpr unsigned long kPiece = 32;
    char* text = Core::GetPerThreadBuffer(kPiece);
    if (text == nullptr) {
        return kMemoryErrorString;
    }
    const unsigned int code = static_cast<unsigned int>(value);
    if (code < 0x10000) {
        std::snprintf(text, kPiece, "0x%x (%d)", code, value);
    } else {
        std::snprintf(text, kPiece, "'%c%c%c%c'", CharacterAt(code, 24), CharacterAt(code, 16),
                      CharacterAt(code, 8), CharacterAt(code, 0));
    }
    return text;
}

const char* FixedShort(unsigned short value, int) {
    constexpr unsigned long kPiece = 32;
    char* text = Core::GetPerThreadBuffer(kPiece);
    if (text == nullptr) {
        return kMemoryErrorString;
    }
    std::snprintf(text, kPiece, "%d.%d", value >> 8, value & 0xFF);
    return text;
}

const char* MatteColour(matteColRec colour, int) {
    constexpr unsigned long kPiece = 16;
    char* text = Core::GetPerThreadBuffer(kPiece);
    if (text == nullptr) {
        return kMemoryErrorString;
    }
    std::snprintf(text, kPiece, "r%x:b%x:g%x", colour.first, colour.second, colour.third);
    return text;
}

const char* StringList(const char* list, int) {
    constexpr size_t kPiece = 1024;
    char* text = Core::GetPerThreadBuffer(kPiece);
    if (text == nullptr) {
        return kMemoryErrorString;
    }
    if (*list == '\0') {
        return std::strcpy(text, "\"\"");
    }
    size_t used = 0;
    for (const char* item = list; *item != '\0' && used < kPiece; item += std::strlen(item) + 1) {
        used += static_cast<size_t>(
            std::snprintf(text + used, kPiece - used, "%s\"%s\"", used == 0 ? "" : " ", item));
    }
    return text;
}

const char* UTF16(const unsigned short* text, int length) {
    constexpr unsigned long kPiece = 1024;
    constexpr CFIndex kQuotesAndTerminator = 3;
    constexpr UInt8 kLossByte = '?';
    if (text == nullptr) {
        return "<NULL>";
    }
    char* quoted = Core::GetPerThreadBuffer(kPiece);
    if (quoted == nullptr) {
        return kMemoryErrorString;
    }
    const CFIndex count = std::max(length, 0);
    // Kept for good, as the caller keeps the characters: such lines are few and far between.
    CFStringRef string =
        CFStringCreateWithCharactersNoCopy(kCFAllocatorDefault, text, count, kCFAllocatorNull);
    if (string == nullptr) {
        return kMemoryErrorString;
    }
    CFIndex used = 0;
    quoted[0] = '"';
    CFStringGetBytes(string, CFRangeMake(0, count), kCFStringEncodingASCII, kLossByte, false,
                     reinterpret_cast<UInt8*>(quoted + 1), kPiece - kQuotesAndTerminator, &used);
    quoted[used + 1] = '"';
    quoted[used + 2] = '\0';
    return quoted;
}

const char* BundleName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const char* name = slash == nullptr ? path : slash + 1;
    const char* extension = std::strstr(name, ".bundle");
    const size_t length =
        extension == nullptr ? std::strlen(name) : static_cast<size_t>(extension - name);
    char* text = Core::GetPerThreadBuffer(length + 1);
    if (text == nullptr) {
        return name;
    }
    std::memcpy(text, name, length);
    text[length] = '\0';
    return text;
}

}  // namespace KVX::Util::Printer
