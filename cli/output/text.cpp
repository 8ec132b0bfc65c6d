#include "cli/output/text.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "cli/output/utf8.h"

namespace kvx_cli {

namespace {

const char kUnknown[] = "unknown";

// Three decimals, without the zeros at the end.
std::string DecimalText(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    std::string trimmed = text;
    trimmed.erase(trimmed.find_last_not_of('0') + 1);
    if (trimmed.back() == '.') {
        trimmed.pop_back();
    }
    return trimmed;
}

bool IsControl(uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

}  // namespace

std::string RateText(int64_t timeScale, int64_t frameLength) {
    if (timeScale < 1 || frameLength < 1) {
        return kUnknown;
    }
    const int64_t common = std::gcd(timeScale, frameLength);
    const int64_t numerator = timeScale / common;
    const int64_t denominator = frameLength / common;
    if (denominator == 1) {
        return std::to_string(numerator);
    }
    const double rate = static_cast<double>(numerator) / static_cast<double>(denominator);
    return DecimalText(rate) + " (" + std::to_string(numerator) + "/" +
           std::to_string(denominator) + ")";
}

std::string DurationText(int64_t units, int64_t timeScale) {
    if (timeScale < 1 || units < 0) {
        return kUnknown;
    }
    // Whole seconds apart from the rest, so that no product leaves 64 bits.
    int64_t seconds = units / timeScale;
    const double fraction = static_cast<double>(units % timeScale) / static_cast<double>(timeScale);
    int64_t milliseconds = std::llround(fraction * 1000);
    seconds += milliseconds / 1000;
    milliseconds %= 1000;

    char text[64];
    std::snprintf(text, sizeof text, "%02" PRId64 ":%02" PRId64 ":%02" PRId64 ".%03" PRId64,
                  seconds / 3600, seconds / 60 % 60, seconds % 60, milliseconds);
    return text;
}

std::string FourCharText(uint32_t code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char character = static_cast<char>(code >> shift & 0xFF);
        text += character >= ' ' && character <= '~' ? character : '?';
    }
    return text;
}

std::string Printable(const std::string& text) {
    std::string printable;
    for (size_t index = 0; index < text.size();) {
        const Utf8Character character = Utf8CharacterAt(text, index);
        const bool isCharacter = character.length != 0;
        const size_t length = isCharacter ? character.length : 1;
        const uint32_t number = isCharacter ? character.number : static_cast<uint8_t>(text[index]);
        if (IsControl(number)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(number));
            printable += escape;
        } else {
            printable.append(text, index, length);
        }
        index += length;
    }
    return printable;
}

}  // namespace kvx_cli
