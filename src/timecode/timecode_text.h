// Timecodes as people type them.
#pragma once

#include <string>

namespace KVX::Util {

enum class TimeCodeTextMode { kAbsolute, kAdd, kSubtract };

struct TimeCodeText {
    TimeCodeTextMode mode;
    unsigned int hours;
    unsigned int minutes;
    unsigned int seconds;
    unsigned int frames;
};

// Reads an optional sign and up to four numbers, the last of them the frames, between any of ".;:".
// The numbers are as large as they were typed. False if there are more numbers or other characters.
bool ParseTimeCodeText(std::string text, TimeCodeText& parsed);

}  // namespace KVX::Util
