#include "timecode/serial_timecode.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include "timecode/clock_arithmetic.h"
#include "timecode/timecode_text.h"

namespace KVX::Util {

namespace {

constexpr int kTextLength = 11;

// Drop-frame at 30 frames a second (SMPTE ST 12-1): two labels are left out in each minute but
// every tenth.
constexpr unsigned int kFramesInTenMinutes = 17982;
constexpr unsigned int kFramesInDropMinute = 1798;

unsigned int LabelsDroppedAMinute(const TimeCode& tc) {
    return tc.tps <= 30 ? 2 : 4;
}

// A count of labels less those that drop-frame leaves out.
int WithoutDroppedLabels(int count, const TimeCode& tc) {
    if (tc.dropFrame == 0 || tc.tps == 0) {
        return count;
    }
    const int minutes = count / (tc.tps * 60);
    return count - static_cast<int>(LabelsDroppedAMinute(tc)) * (minutes - minutes / 10);
}

uint8_t TwoDigits(const char* text) {
    constexpr int kZeros = '0' * 10 + '0';
    return static_cast<uint8_t>(text[0] * 10 + text[1] - kZeros);
}

// `count` frames of the rate of `a` as frames of the rate of `b`, cut off. Rates that a device can
// have fit; for others the product wraps.
uint64_t ScaleToRate(uint64_t count, const TimeCode& a, const TimeCode& b) {
    const uint64_t divisor = static_cast<uint64_t>(b.duration) * a.timeScale;
    return divisor == 0 ? 0 : count * a.duration * b.timeScale / divisor;
}

uint32_t Pack(const TimeCode& tc, uint64_t frames) {
    return PackFields(tc.hours, tc.minutes, tc.seconds, static_cast<uint32_t>(frames));
}

bool HaveSameRate(const TimeCode& a, const TimeCode& b) {
    return a.timeScale == b.timeScale && a.duration == b.duration && a.dropFrame == b.dropFrame;
}

}  // namespace

unsigned char GetBCD(unsigned char value) {
    return value > 99 ? 0 : static_cast<unsigned char>(value / 10 << 4 | value % 10);
}

unsigned char GetDecimal(unsigned char value) {
    return static_cast<unsigned char>((value >> 4) * 10 + (value & 0xF));
}

void ConvertStringToTimeCode(const char* text, TimeCode* tc) {
    const size_t length = std::strlen(text);
    tc->hours = length >= 2 ? TwoDigits(text) : 0;
    tc->minutes = length >= 5 ? TwoDigits(text + 3) : 0;
    tc->seconds = length >= 8 ? TwoDigits(text + 6) : 0;
    tc->frames = length >= 11 ? TwoDigits(text + 9) : 0;
}

void ConvertTimeCodeToString(const TimeCode* tc, char* text) {
    char whole[sizeof("255:255:255:255")];
    std::snprintf(whole, sizeof(whole), "%02d:%02d:%02d%c%02d", tc->hours, tc->minutes, tc->seconds,
                  tc->dropFrame != 0 ? ';' : ':', tc->frames);
    std::memcpy(text, whole, kTextLength);
    text[kTextLength] = '\0';
}

void SetTimeCodeTimeWithInts(TimeCode* tc, unsigned int hours, unsigned int minutes,
                             unsigned int seconds, unsigned int frames) {
    const int wholeSeconds =
        static_cast<int>(seconds % 86400 + (hours % 24 * 60 + minutes % 1440) * 60);
    const int count = NormaliseFrameCount(static_cast<int>(frames), tc) + wholeSeconds * tc->tps;
    ConvertFrameCountToTimeCode(
        static_cast<unsigned int>(NormaliseFrameCount(WithoutDroppedLabels(count, *tc), tc)), tc);
}

int NormaliseFrameCount(int frames, const TimeCode* tc) {
    return WrapFrameCount(frames, LargestFrameCountBeforeTimeCodeWraps(tc));
}

void ConvertFrameCountToTimeCode(unsigned int frames, TimeCode* tc) {
    if (tc->tps == 0) {
        tc->hours = tc->minutes = tc->seconds = tc->frames = 0;
        return;
    }
    unsigned int count = frames;
    if (tc->dropFrame != 0) {
        const unsigned int drop = LabelsDroppedAMinute(*tc);
        const unsigned int dropMinutes =
            (std::max(count % kFramesInTenMinutes, drop) - drop) / kFramesInDropMinute +
            count / kFramesInTenMinutes * 9;
        count += dropMinutes * drop;
    }
    const unsigned int seconds = count / tc->tps;
    tc->frames = static_cast<uint8_t>(count % tc->tps);
    tc->seconds = static_cast<uint8_t>(seconds % 60);
    tc->minutes = static_cast<uint8_t>(seconds / 60 % 60);
    tc->hours = static_cast<uint8_t>(seconds / 3600);
}

int ConvertTimeCodeToFrameCount(const TimeCode* tc) {
    const int seconds = (tc->hours * 60 + tc->minutes) * 60 + tc->seconds;
    return WithoutDroppedLabels(seconds * tc->tps + tc->frames, *tc);
}

unsigned int ConvertTimeCodeToFrameCountBCD(const TimeCode* tc) {
    return PackFields(GetBCD(tc->hours), GetBCD(tc->minutes), GetBCD(tc->seconds),
                      GetBCD(tc->frames));
}

void ConvertFrameCountBCDToTimeCode(unsigned int bcd, TimeCode* tc) {
    tc->hours = GetDecimal(static_cast<unsigned char>(bcd >> 24));
    tc->minutes = GetDecimal(static_cast<unsigned char>(bcd >> 16));
    tc->seconds = GetDecimal(static_cast<unsigned char>(bcd >> 8));
    tc->frames = GetDecimal(static_cast<unsigned char>(bcd));
}

int ConvertMovieDurationToFrameCount(int duration, int timeScale, const TimeCode* tc) {
    if (timeScale == 0) {
        return 0;
    }
    const long long seconds = static_cast<long long>(duration) / timeScale;
    const long long rest = duration - seconds * timeScale;
    const double scale = static_cast<double>(tc->timeScale) / timeScale;
    const long long ticks = static_cast<long long>(std::ceil(static_cast<double>(rest) * scale));
    long long frames = 0;
    if (tc->duration != 0) {
        frames = ticks / tc->duration + (ticks % tc->duration > 0 ? 1 : 0);
    }
    return static_cast<int>(frames + seconds * tc->tps);
}

int CalculateFramesBetweenTimecodes(const TimeCode* a, const TimeCode* b) {
    TimeCode second = *b;
    if (a->tps != b->tps) {
        second.timeScale = a->timeScale;
        second.duration = a->duration;
        second.tps = a->tps;
        second.dropFrame = a->dropFrame;
        second.frames = b->tps == 0 ? 0 : static_cast<uint8_t>(b->frames * a->tps / b->tps);
    }
    return ConvertTimeCodeToFrameCount(a) - ConvertTimeCodeToFrameCount(&second);
}

int CompareTimeCodes(const TimeCode* a, const TimeCode* b, bool wrap) {
    const uint32_t packedB = Pack(*b, b->frames);
    uint32_t packedA = Pack(*a, a->frames);
    int countA = ConvertTimeCodeToFrameCount(a);
    if (!HaveSameRate(*a, *b)) {
        packedA = Pack(*a, ScaleToRate(a->frames, *a, *b));
        const uint32_t packedEndOfA = Pack(*a, ScaleToRate(a->frames + 1u, *a, *b));
        if (packedB >= packedA && packedB < packedEndOfA) {
            return 0;
        }
        countA = static_cast<int>(ScaleToRate(static_cast<uint64_t>(countA), *a, *b));
    }
    if (!wrap) {
        return static_cast<int>(packedA - packedB);
    }
    const long long difference = static_cast<long long>(countA) - ConvertTimeCodeToFrameCount(b);
    return SignByShorterWay(difference, LargestFrameCountBeforeTimeCodeWraps(b));
}

int LargestFrameCountBeforeTimeCodeWraps(const TimeCode* tc) {
    TimeCode day = *tc;
    day.hours = 24;
    day.minutes = day.seconds = day.frames = 0;
    return ConvertTimeCodeToFrameCount(&day);
}

bool relativeTCToAbsoluteTC(TimeCode tc, std::string text, int& frames) {
    frames = 0;
    const int base = ConvertTimeCodeToFrameCount(&tc);
    TimeCodeText parsed;
    if (!ParseTimeCodeText(std::move(text), parsed)) {
        return false;
    }
    SetTimeCodeTimeWithInts(&tc, parsed.hours, parsed.minutes, parsed.seconds, parsed.frames);
    const int count = ConvertTimeCodeToFrameCount(&tc);
    frames = count;
    if (parsed.mode != TimeCodeTextMode::kAbsolute) {
        const int distance = parsed.mode == TimeCodeTextMode::kAdd ? count : -count;
        frames = NormaliseFrameCount(base + distance, &tc);
    }
    return true;
}

}  // namespace KVX::Util
