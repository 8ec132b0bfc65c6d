#include "timecode/timecode_text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "timecode/serial_timecode.h"

namespace KVX::Util {

namespace {

bool IsDigit(char character) {
    return std::isdigit(static_cast<unsigned char>(character)) != 0;
}
bool IsSpace(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

// Takes the sign of a relative text away.
TimeCodeTextMode TakeMode(std::string& text) {
    const char first = text.empty() ? '\0' : text.front();
    if (first != '+' && first != '-') {
        return TimeCodeTextMode::kAbsolute;
    }
    text.front() = ' ';
    return first == '+' ? TimeCodeTextMode::kAdd : TimeCodeTextMode::kSubtract;
}

}  // namespace

void cleanTimeCode(std::string& text) {
    constexpr size_t kShortest = 3;
    constexpr size_t kLongest = 8;
    text.erase(std::remove_if(text.begin(), text.end(), IsSpace), text.end());
    if (text.size() < kShortest || text.size() > kLongest ||
        !std::all_of(text.begin(), text.end(), IsDigit)) {
        return;
    }
    for (size_t position = text.size(); position > 2;) {
        position -= 2;
        text.insert(position, 1, ':');
    }
}

bool ParseTimeCodeText(std::string text, TimeCodeText& parsed) {
    parsed = {TakeMode(text), 0, 0, 0, 0};
    cleanTimeCode(text);
    if (std::sscanf(text.c_str(), "%u:%u:%u:%u", &parsed.hours, &parsed.minutes, &parsed.seconds,
                    &parsed.frames) == 4) {
        return true;
    }

    // Fields from the left, to be shifted along as further ones turn up.
    unsigned int fields[4] = {};
    int count = 0;
    constexpr char kSeparators[] = ".;:";
    for (size_t begin = text.find_first_not_of(kSeparators); begin != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(kSeparators, begin), text.size());
        const std::string token = text.substr(begin, end - begin);
        char* rest = nullptr;
        const unsigned long number = std::strtoul(token.c_str(), &rest, 10);
        if (count == 4 || *rest != '\0') {
            return false;
        }
        std::copy(std::next(fields), std::end(fields), fields);
        fields[3] = static_cast<unsigned int>(number);
        ++count;
        begin = text.find_first_not_of(kSeparators, end);
    }
    parsed.hours = fields[0];
    parsed.minutes = fields[1];
    parsed.seconds = fields[2];
    parsed.frames = fields[3];
    return true;
}

}  // namespace KVX::Util
