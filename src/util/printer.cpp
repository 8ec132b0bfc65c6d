#include "util/printer.h"

#include <cstdio>

#include "core/per_thread_buffer.h"

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

}  // namespace KVX::Util::Printer
