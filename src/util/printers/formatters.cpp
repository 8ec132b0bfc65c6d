#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/per_thread_buffer.h"
#include "platform/core_foundation.h"
#include "util/printer.h"

namespace KVX::Util::Printer {

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
        std::snprintf(text, kPiece, "\"\"");
        return text;
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
    // NOLINTNEXTLINE(clang-analyzer-osx.cocoa.RetainCount): the string is kept, as said above.
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
