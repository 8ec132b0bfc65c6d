#pragma once

#include <cstdint>
#include <string>

#include "timecode/serial_timecode.h"
#include "timecode/timecode_format.h"

namespace KVX::Util {

// A timecode: four digit fields and the format that they count in. A value of eight bytes, passed
// and returned by value. With tcfNone it is invalid: frame numbers of other formats convert from it
// and to it as 0, and as it compares equal to everything, validity is to be tested before equality.
//
// Drop-frame leaves out labels, not frames (SMPTE ST 12-1): the first two of each minute but every
// tenth, and the first four at 60 frames a second. `roundUp` is that of tcfConvertFrameCount.
class CTimeCode {
  public:
    explicit CTimeCode(TimeCodeFormat timeCodeFormat) : format(timeCodeFormat) {}

    // Each makes a value of `format` and runs the Set of its name.
    static CTimeCode FromSerialBCD(TimeCodeFormat format, unsigned int bcd);
    static CTimeCode FromBCD(TimeCodeFormat format, unsigned int bcd);
    static CTimeCode FromStr(TimeCodeFormat format, const std::string& text);
    static CTimeCode FromStr(TimeCodeFormat format, const char* text);
    static CTimeCode FromNumbers(TimeCodeFormat format, unsigned int hours, unsigned int minutes,
                                 unsigned int seconds, unsigned int frames);
    // `frameFormat` is the rate that `frame` counts in; tcfNone stands for `format` itself.
    static CTimeCode FromFrame(TimeCodeFormat format, long long frame, TimeCodeFormat frameFormat);
    static CTimeCode FromTc(TimeCodeFormat format, const CTimeCode& other, bool convert,
                            bool roundUp);
    static CTimeCode FromSerialTc(TimeCodeFormat format, const TimeCode& serial);

    // Clears the digits and keeps the format.
    void SetZero();

    // Packed decimal: two digits a byte, hours in the most significant one. The serial form counts
    // at the serial rate, so that a higher rate doubles its frames.
    void SetBCD(unsigned int bcd);
    void SetSerialBCD(unsigned int bcd);

    // Digits from the text "hh:mm:ss:ff", as ConvertStringToTimeCode takes them.
    void Set(const char* text);
    void Set(const std::string& text);

    // Digits from numbers of any size, wrapped into the day.
    void Set(unsigned int newHours, unsigned int newMinutes, unsigned int newSeconds,
             unsigned int newFrames);

    // Digits from a frame number at the rate of `frameFormat`. The number is wrapped into this
    // format's day first and converted then.
    void Set(TimeCodeFormat frameFormat, long long frame, bool roundUp);

    // With `convert`, the same moment in this value's format. Otherwise a plain copy, format
    // included.
    void Set(const CTimeCode& other, bool convert, bool roundUp);

    // Digits from a device's. If they count at another rate than this value, `convert` scales the
    // frames; otherwise this value takes the device's format. So does an invalid value always.
    void SetSerialTc(const TimeCode& serial, bool convert);

    // The digits of the serial rate beside this format's own time scale and duration.
    TimeCode ToSerialTc(bool roundUp) const;
    unsigned int ToSerialBCD(bool roundUp) const;
    unsigned int ToBCD() const;

    // The frame number at the rate of `target`.
    int ToFrame(TimeCodeFormat target, bool roundUp) const;

    // "hh:mm:ss:ff"; in a drop-frame format "hh:mm:ss;ff", unless `alwaysColons`.
    std::string ToString(bool alwaysColons) const;

    // True if all digits are 0, whatever the format.
    bool IsZero() const;

    // `count` wrapped into the day, from 0 up.
    int NormaliseFrameCount(long long count) const;

    // Moves a label that drop-frame leaves out to the first one of its minute.
    void CorrectInvalidDropTC(unsigned char labelMinutes, unsigned char labelSeconds,
                              unsigned char& labelFrames) const;

    // Frames in 24 hours.
    static int LargestFrameCountBeforeTimeCodeWraps(TimeCodeFormat format);

    // Arithmetic in this value's format. A sum wraps at 24 hours; a difference stops at 0.
    void Add(const CTimeCode& other, bool roundUp);
    void Subtract(const CTimeCode& other, bool roundUp);

    // From this in-point to the out-point `other`, in the format of `other`; 0 if that comes first.
    // `inclusive` counts the frame of the out-point too.
    CTimeCode CalculateDuration(const CTimeCode& other, bool inclusive) const;

    // The out-point after `duration`, the last frame that lies inside if `inclusive`.
    CTimeCode CalculateOutTimeCode(const CTimeCode& duration, bool roundUp, bool inclusive) const;

    // Negative if this is before `other`, 0 if the frame of `other` begins within this one's, else
    // positive. With `wrap` the sign tells the shorter way round the 24-hour clock, while the
    // magnitude is in frames and stays that of the way without wrapping; without `wrap` the
    // magnitude has no unit.
    int CompareTimeCodes(const CTimeCode& other, bool wrap) const;

    // Applies typed text to this value: a timecode, or with a leading "+" or "-" a distance. False,
    // with the value as it was, if the text cannot be read.
    bool RelativeTCToAbsoluteTC(std::string text);

    // The same with `base` in place of this value; stores the frame number.
    bool RelativeTCToAbsoluteTC(CTimeCode base, std::string text, int& frame) const;

    // Frame number of `a` less that of `b`, both in the format of `a`, modulo 2^32.
    static unsigned int CalculateFramesBetweenTimecodes(const CTimeCode& a, CTimeCode b);

    // Comparison without wrap. An invalid value is neither before nor after another, and equal.
    bool operator<(const CTimeCode& other) const;
    bool operator>(const CTimeCode& other) const;
    bool operator==(const CTimeCode& other) const;
    bool operator!=(const CTimeCode& other) const;

    // Frames counted per second by the format, or by its serial form.
    int tps(bool serial) const;

    uint8_t hours = 0;
    uint8_t minutes = 0;
    uint8_t seconds = 0;
    uint8_t frames = 0;
    TimeCodeFormat format;
};
static_assert(sizeof(CTimeCode) == 8, "small enough to travel in a register");

}  // namespace KVX::Util
