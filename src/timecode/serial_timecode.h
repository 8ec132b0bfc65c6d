// The timecode as a serial device reports it: digits beside a rate. KVX::Util::CTimeCode is the
// form that the rest of the code counts with; this one is for the exchange with devices.
#pragma once

#include <cstdint>
#include <string>

namespace KVX::Util {

struct TimeCode {
    uint8_t hours;
    uint8_t minutes;
    uint8_t seconds;
    uint8_t frames;
    uint32_t timeScale;  // the rate is timeScale / duration frames a second
    uint32_t duration;
    uint8_t tps;        // frames counted per second
    uint8_t dropFrame;  // non-zero for drop-frame
};

// All counts are of frames since 00:00:00:00. A rate that counts no frames (`tps` of 0) has the
// counts and the digits 0; nothing here divides by it.

// A byte of two decimal digits, as in packed decimal. A value above 99 gives 0.
unsigned char GetBCD(unsigned char value);
unsigned char GetDecimal(unsigned char value);

// Digits from the text "hh:mm:ss:ff". Positions are fixed and separators are not read; a text that
// ends before a field leaves 0 there. Characters other than digits give some number.
void ConvertStringToTimeCode(const char* text, TimeCode* tc);

// Writes 11 characters and a terminator, with ";" before the frames of a drop-frame timecode.
// Fields above 99 push the rest to the right, where the text is cut.
void ConvertTimeCodeToString(const TimeCode* tc, char* text);

// Digits from numbers of any size: each wraps into a day of 24 hours, and so does their sum.
void SetTimeCodeTimeWithInts(TimeCode* tc, unsigned int hours, unsigned int minutes,
                             unsigned int seconds, unsigned int frames);

// `frames` wrapped into the day, from 0 up to the wrap count.
int NormaliseFrameCount(int frames, const TimeCode* tc);

// The drop-frame cycle here is that of 30 frames a second at every rate, as serial devices count;
// CTimeCode has the cycle of 60 frames. The hours are not wrapped.
void ConvertFrameCountToTimeCode(unsigned int frames, TimeCode* tc);
int ConvertTimeCodeToFrameCount(const TimeCode* tc);

// Packed decimal: two digits a byte, hours in the most significant one; 01:02:03:04 is 0x01020304.
// A field above 99 packs as 0.
unsigned int ConvertTimeCodeToFrameCountBCD(const TimeCode* tc);
void ConvertFrameCountBCDToTimeCode(unsigned int bcd, TimeCode* tc);

// The frames that a stretch of movie time covers, a begun frame as a whole one. Whole seconds count
// at `tps`, and the rest at the real rate. 0 for a time scale of 0.
int ConvertMovieDurationToFrameCount(int duration, int timeScale, const TimeCode* tc);

// Count of `a` less count of `b`, the latter with its frames taken to the rate of `a`.
int CalculateFramesBetweenTimecodes(const TimeCode* a, const TimeCode* b);

// Negative if `a` is before `b`, 0 if the frame of `b` begins within that of `a`, else positive.
// With `wrap` the sign tells the shorter way round the 24-hour clock, while the magnitude is in
// frames and stays that of the way without wrapping; without `wrap` the magnitude has no unit.
int CompareTimeCodes(const TimeCode* a, const TimeCode* b, bool wrap);

// The count of 24:00:00:00.
int LargestFrameCountBeforeTimeCodeWraps(const TimeCode* tc);

// Removes whitespace from typed text, and puts colons into 3 to 8 bare digits: "1234" is "12:34".
void cleanTimeCode(std::string& text);

// Reads typed text: a timecode, or with a leading "+" or "-" a distance from `tc`. Missing high
// fields are 0. Stores the resulting count. False if the text cannot be read; `frames` is then 0.
bool relativeTCToAbsoluteTC(TimeCode tc, std::string text, int& frames);

}  // namespace KVX::Util
