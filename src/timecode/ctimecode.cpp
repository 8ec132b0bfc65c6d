#include "timecode/ctimecode.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "timecode/clock_arithmetic.h"
#include "timecode/timecode_text.h"

namespace KVX::Util {

namespace {

// The cycle of drop-frame at a rate. All are 0 for a format that drops no labels.
struct DropCycle {
    int labelsAMinute;
    int tenMinutes;  // frames
    int minute;      // frames, in a minute that drops labels
};

DropCycle CycleOf(TimeCodeFormat format) {
    if (!tcfIsDrop(format)) {
        return {0, 0, 0};
    }
    const int tps = tcfToTps(format);
    const int tenMinutes = tps * 600 - tps * 9 / 15;
    return {tps / 15, tenMinutes, tenMinutes / 10};
}

// A count of labels less those that drop-frame leaves out.
int WithoutDroppedLabels(int count, TimeCodeFormat format) {
    const DropCycle cycle = CycleOf(format);
    if (cycle.labelsAMinute == 0) {
        return count;
    }
    const int minutes = count / (tcfToTps(format) * 60);
    return count - (minutes - minutes / 10) * cycle.labelsAMinute;
}

// A count of frames and those labels that drop-frame leaves out before it.
int WithDroppedLabels(int count, TimeCodeFormat format) {
    const DropCycle cycle = CycleOf(format);
    if (cycle.labelsAMinute == 0) {
        return count;
    }
    const int rest = std::max(count % cycle.tenMinutes, cycle.labelsAMinute);
    const int dropMinutes =
        count / cycle.tenMinutes * 9 + (rest - cycle.labelsAMinute) / cycle.minute;
    return count + dropMinutes * cycle.labelsAMinute;
}

void CopyDigits(const TimeCode& from, CTimeCode& to) {
    to.hours = from.hours;
    to.minutes = from.minutes;
    to.seconds = from.seconds;
    to.frames = from.frames;
}

}  // namespace

CTimeCode CTimeCode::FromSerialBCD(TimeCodeFormat format, unsigned int bcd) {
    CTimeCode result(format);
    result.SetSerialBCD(bcd);
    return result;
}

CTimeCode CTimeCode::FromBCD(TimeCodeFormat format, unsigned int bcd) {
    CTimeCode result(format);
    result.SetBCD(bcd);
    return result;
}

CTimeCode CTimeCode::FromStr(TimeCodeFormat format, const std::string& text) {
    return FromStr(format, text.c_str());
}

CTimeCode CTimeCode::FromStr(TimeCodeFormat format, const char* text) {
    CTimeCode result(format);
    result.Set(text);
    return result;
}

CTimeCode CTimeCode::FromNumbers(TimeCodeFormat format, unsigned int hours, unsigned int minutes,
                                 unsigned int seconds, unsigned int frames) {
    CTimeCode result(format);
    result.Set(hours, minutes, seconds, frames);
    return result;
}

CTimeCode CTimeCode::FromFrame(TimeCodeFormat format, long long frame, TimeCodeFormat frameFormat) {
    CTimeCode result(format);
    result.Set(frameFormat == tcfNone ? format : frameFormat, frame, false);
    return result;
}

CTimeCode CTimeCode::FromTc(TimeCodeFormat format, const CTimeCode& other, bool convert,
                            bool roundUp) {
    CTimeCode result(format);
    result.Set(other, convert, roundUp);
    return result;
}

CTimeCode CTimeCode::FromSerialTc(TimeCodeFormat format, const TimeCode& serial) {
    CTimeCode result(format);
    result.SetSerialTc(serial, true);
    return result;
}

void CTimeCode::SetZero() {
    hours = minutes = seconds = frames = 0;
}

void CTimeCode::SetBCD(unsigned int bcd) {
    TimeCode digits = {};
    ConvertFrameCountBCDToTimeCode(bcd, &digits);
    CopyDigits(digits, *this);
    CorrectInvalidDropTC(minutes, seconds, frames);
}

void CTimeCode::SetSerialBCD(unsigned int bcd) {
    SetBCD(bcd);
    if (!tcfIsSerialTcf(format)) {
        frames = static_cast<uint8_t>(frames * 2);
    }
}

void CTimeCode::Set(const char* text) {
    TimeCode digits = {};
    ConvertStringToTimeCode(text, &digits);
    CopyDigits(digits, *this);
    CorrectInvalidDropTC(minutes, seconds, frames);
}

void CTimeCode::Set(const std::string& text) {
    Set(text.c_str());
}

void CTimeCode::Set(unsigned int newHours, unsigned int newMinutes, unsigned int newSeconds,
                    unsigned int newFrames) {
    const unsigned int dayMinutes = newMinutes % 1440;
    const unsigned int daySeconds = newSeconds % 86400;
    int labelFrames = NormaliseFrameCount(newFrames);
    // A number of frames beyond the width of the field is none of the labels that are left out.
    if (labelFrames <= UINT8_MAX) {
        unsigned char label = static_cast<unsigned char>(labelFrames);
        CorrectInvalidDropTC(static_cast<unsigned char>(dayMinutes),
                             static_cast<unsigned char>(daySeconds), label);
        labelFrames = label;
    }
    const int wholeSeconds = static_cast<int>((newHours % 24 * 60 + dayMinutes) * 60 + daySeconds);
    const int count = WithoutDroppedLabels(tps(false) * wholeSeconds + labelFrames, format);
    Set(format, NormaliseFrameCount(count), false);
}

void CTimeCode::Set(TimeCodeFormat frameFormat, long long frame, bool roundUp) {
    const int framesASecond = tps(false);
    if (framesASecond == 0) {
        SetZero();
        return;
    }
    const int count =
        tcfConvertFrameCount(NormaliseFrameCount(frame), frameFormat, format, roundUp);
    const int labels = WithDroppedLabels(count, format);
    const int total = labels / framesASecond;
    frames = static_cast<uint8_t>(labels % framesASecond);
    seconds = static_cast<uint8_t>(total % 60);
    minutes = static_cast<uint8_t>(total / 60 % 60);
    hours = static_cast<uint8_t>(total / 3600);
}

void CTimeCode::Set(const CTimeCode& other, bool convert, bool roundUp) {
    if (convert && format != other.format) {
        Set(format, other.ToFrame(format, roundUp), false);
    } else {
        *this = other;
    }
}

void CTimeCode::SetSerialTc(const TimeCode& serial, bool convert) {
    CopyDigits(serial, *this);
    TimeCodeFormat serialFormat =
        tcfFromDuration<unsigned int>(serial.duration, serial.timeScale, serial.dropFrame != 0, -1);
    if (tcfToTps(serialFormat) != serial.tps) {
        serialFormat = tcfToSerialTcf(serialFormat);
    }
    if (format == tcfNone) {
        format = serialFormat;
    }
    if (tps(false) == serial.tps) {
        return;
    }
    if (convert) {
        frames = static_cast<uint8_t>(tcfConvertFrameCount(frames, serialFormat, format, false));
    } else {
        format = serialFormat;
    }
}

TimeCode CTimeCode::ToSerialTc(bool roundUp) const {
    TimeCode serial = {};
    serial.dropFrame = tcfIsDrop(format) ? 1 : 0;
    serial.tps = static_cast<uint8_t>(tps(true));
    tcfToDuration(format, serial.duration, serial.timeScale);
    const int count = ToFrame(tcfToSerialTcf(format), roundUp);
    ConvertFrameCountToTimeCode(static_cast<unsigned int>(count), &serial);
    return serial;
}

unsigned int CTimeCode::ToSerialBCD(bool roundUp) const {
    const TimeCodeFormat serial = tcfToSerialTcf(format);
    return FromFrame(serial, ToFrame(serial, roundUp), serial).ToBCD();
}

unsigned int CTimeCode::ToBCD() const {
    return PackFields(GetBCD(hours), GetBCD(minutes), GetBCD(seconds), GetBCD(frames));
}

int CTimeCode::ToFrame(TimeCodeFormat target, bool roundUp) const {
    const int wholeSeconds = (hours * 60 + minutes) * 60 + seconds;
    const int count = WithoutDroppedLabels(tps(false) * wholeSeconds + frames, format);
    return tcfConvertFrameCount(count, format, target, roundUp);
}

std::string CTimeCode::ToString(bool alwaysColons) const {
    char text[sizeof("255:255:255:255")];
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d%c%02d", hours, minutes, seconds,
                  tcfIsDrop(format) && !alwaysColons ? ';' : ':', frames);
    return text;
}

bool CTimeCode::IsZero() const {
    return hours == 0 && minutes == 0 && seconds == 0 && frames == 0;
}

int CTimeCode::NormaliseFrameCount(long long count) const {
    if (count >= 0 && count < tps(false)) {
        return static_cast<int>(count);
    }
    return WrapFrameCount(count, LargestFrameCountBeforeTimeCodeWraps(format));
}

void CTimeCode::CorrectInvalidDropTC(unsigned char labelMinutes, unsigned char labelSeconds,
                                     unsigned char& labelFrames) const {
    const int dropped = CycleOf(format).labelsAMinute;
    if (labelSeconds == 0 && labelFrames < dropped && labelMinutes % 10 != 0) {
        labelFrames = static_cast<unsigned char>(labelFrames + dropped);
    }
}

int CTimeCode::LargestFrameCountBeforeTimeCodeWraps(TimeCodeFormat format) {
    constexpr int kDroppingMinutes = 1440 - 144;
    return tcfToTps(format) * 86400 - kDroppingMinutes * CycleOf(format).labelsAMinute;
}

void CTimeCode::Add(const CTimeCode& other, bool roundUp) {
    Set(format, static_cast<long long>(ToFrame(format, roundUp)) + other.ToFrame(format, roundUp),
        false);
}

void CTimeCode::Subtract(const CTimeCode& other, bool roundUp) {
    const int difference = ToFrame(format, roundUp) - other.ToFrame(format, roundUp);
    Set(format, std::max(difference, 0), false);
}

CTimeCode CTimeCode::CalculateDuration(const CTimeCode& other, bool inclusive) const {
    CTimeCode duration = other;
    duration.Subtract(*this, false);
    if (inclusive) {
        duration.Set(duration.format, duration.ToFrame(duration.format, false) + 1LL, false);
    }
    return duration;
}

CTimeCode CTimeCode::CalculateOutTimeCode(const CTimeCode& duration, bool roundUp,
                                          bool inclusive) const {
    // The frame comes off the sum before that wraps: the last frame of the day is an out-point too.
    const int inclusiveFrame = inclusive && !duration.IsZero() ? 1 : 0;
    return FromFrame(format,
                     static_cast<long long>(ToFrame(format, roundUp)) +
                         duration.ToFrame(format, roundUp) - inclusiveFrame,
                     format);
}

int CTimeCode::CompareTimeCodes(const CTimeCode& other, bool wrap) const {
    const uint32_t packedOther =
        PackFields(other.hours, other.minutes, other.seconds, other.frames);
    uint32_t packed = PackFields(hours, minutes, seconds, frames);
    if (format != other.format) {
        const int from = tps(false);
        const int to = other.tps(false);
        const auto scaled = [from, to](int count) {
            return static_cast<uint32_t>(from == 0 ? 0 : count * to / from);
        };
        packed = PackFields(hours, minutes, seconds, scaled(frames));
        const uint32_t packedEnd = PackFields(hours, minutes, seconds, scaled(frames + 1));
        if (packedOther >= packed && packedOther < packedEnd) {
            return 0;
        }
    }
    if (!wrap) {
        return static_cast<int>(packed - packedOther);
    }
    const long long difference =
        static_cast<long long>(ToFrame(other.format, false)) - other.ToFrame(other.format, false);
    return SignByShorterWay(difference, LargestFrameCountBeforeTimeCodeWraps(other.format));
}

bool CTimeCode::RelativeTCToAbsoluteTC(std::string text) {
    int frame = 0;
    if (!RelativeTCToAbsoluteTC(*this, std::move(text), frame)) {
        return false;
    }
    Set(format, frame, false);
    return true;
}

bool CTimeCode::RelativeTCToAbsoluteTC(CTimeCode base, std::string text, int& frame) const {
    frame = 0;
    const TimeCodeFormat baseFormat = base.format;
    const long long baseFrame = base.ToFrame(baseFormat, false);
    TimeCodeText parsed;
    if (!ParseTimeCodeText(std::move(text), parsed)) {
        return false;
    }
    base.Set(parsed.hours, parsed.minutes, parsed.seconds, parsed.frames);
    const int count = base.ToFrame(baseFormat, false);
    frame = count;
    if (parsed.mode != TimeCodeTextMode::kAbsolute) {
        frame = base.NormaliseFrameCount(parsed.mode == TimeCodeTextMode::kAdd ? baseFrame + count
                                                                               : baseFrame - count);
    }
    return true;
}

unsigned int CTimeCode::CalculateFramesBetweenTimecodes(const CTimeCode& a, CTimeCode b) {
    return static_cast<unsigned int>(a.ToFrame(a.format, false)) -
           static_cast<unsigned int>(b.ToFrame(a.format, false));
}

bool CTimeCode::operator<(const CTimeCode& other) const {
    return format != tcfNone && other.format != tcfNone && CompareTimeCodes(other, false) < 0;
}

bool CTimeCode::operator>(const CTimeCode& other) const {
    return format != tcfNone && other.format != tcfNone && CompareTimeCodes(other, false) > 0;
}

bool CTimeCode::operator==(const CTimeCode& other) const {
    return format == tcfNone || other.format == tcfNone || CompareTimeCodes(other, false) == 0;
}

bool CTimeCode::operator!=(const CTimeCode& other) const {
    return !(*this == other);
}

int CTimeCode::tps(bool serial) const {
    return tcfToTps(serial ? tcfToSerialTcf(format) : format);
}

}  // namespace KVX::Util
