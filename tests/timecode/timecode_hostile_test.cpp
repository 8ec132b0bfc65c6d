// Every operation on values that no file or device should hold. What counts is that nothing divides
// by zero or overflows, which the sanitizers watch; the results are checked where they are defined.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "timecode/ctimecode.h"
#include "timecode/serial_timecode.h"

namespace {

using namespace KVX::Util;

constexpr int kFormats[] = {INT_MIN, -1, 0, 1, 3, 6, 9, 49, 50, 51, 52, INT_MAX};
constexpr unsigned int kNumbers[] = {0, 1, 59, 255, 256, 86400, INT_MAX, UINT_MAX};
constexpr long long kFrames[] = {LLONG_MIN, INT_MIN, -1, 0, 24, INT_MAX, LLONG_MAX};
constexpr uint8_t kDigits[] = {0, 1, 23, 59, 100, 255};
constexpr const char* kTexts[] = {"",
                                  "+",
                                  "-",
                                  "4294967295",
                                  "-99999999999999999999",
                                  "+255:255:255:255",
                                  "9999999999:9999999999:9999999999:9999999999",
                                  "\xFF\xFF:\xFF"};

std::vector<CTimeCode> HostileTimeCodes() {
    std::vector<CTimeCode> result;
    for (const int format : kFormats) {
        for (const uint8_t digit : kDigits) {
            CTimeCode timeCode(static_cast<TimeCodeFormat>(format));
            timeCode.hours = timeCode.minutes = timeCode.seconds = timeCode.frames = digit;
            result.push_back(timeCode);
        }
    }
    return result;
}

TEST(HostileTimeCodes, ClassStandsOneValue) {
    for (const CTimeCode& timeCode : HostileTimeCodes()) {
        const bool counts = tcfToTps(timeCode.format) != 0;
        for (const int other : kFormats) {
            const auto otherFormat = static_cast<TimeCodeFormat>(other);
            for (const bool flag : {false, true}) {
                const int frame = timeCode.ToFrame(otherFormat, flag);
                if (!counts && otherFormat != timeCode.format) {
                    EXPECT_EQ(frame, 0);
                }
                CTimeCode::FromTc(otherFormat, timeCode, true, flag);
                for (const long long number : kFrames) {
                    CTimeCode copy = timeCode;
                    copy.Set(otherFormat, number, flag);
                    if (!counts) {
                        EXPECT_TRUE(copy.IsZero());
                    }
                    const int normal = timeCode.NormaliseFrameCount(number);
                    EXPECT_GE(normal, 0);
                    EXPECT_LE(normal,
                              CTimeCode::LargestFrameCountBeforeTimeCodeWraps(timeCode.format));
                }
            }
        }
        for (const unsigned int number : kNumbers) {
            const CTimeCode set =
                CTimeCode::FromNumbers(timeCode.format, number, number, number, number);
            EXPECT_LT(set.hours, 24);
            CTimeCode::FromBCD(timeCode.format, number);
            CTimeCode::FromSerialBCD(timeCode.format, number);
        }
        for (const char* text : kTexts) {
            CTimeCode copy = timeCode;
            copy.RelativeTCToAbsoluteTC(text);
            copy.Set(text);
        }
        timeCode.ToSerialTc(true);
        timeCode.ToSerialBCD(true);
        timeCode.ToBCD();
        timeCode.ToString(false);
        timeCode.tps(true);
    }
}

TEST(HostileTimeCodes, ClassStandsPairs) {
    const std::vector<CTimeCode> all = HostileTimeCodes();
    for (const CTimeCode& a : all) {
        for (const CTimeCode& b : all) {
            for (const bool flag : {false, true}) {
                CTimeCode sum = a;
                sum.Add(b, flag);
                CTimeCode difference = a;
                difference.Subtract(b, flag);
                a.CalculateDuration(b, flag);
                a.CalculateOutTimeCode(b, true, flag);
                a.CompareTimeCodes(b, flag);
            }
            CTimeCode::CalculateFramesBetweenTimecodes(a, b);
            EXPECT_EQ(a == b, !(a != b));
        }
    }
}

std::vector<TimeCode> HostileSerials() {
    std::vector<TimeCode> result;
    for (const uint32_t timeScale : {0u, 1u, 25000u, UINT_MAX}) {
        for (const uint32_t duration : {0u, 1u, 1000u, UINT_MAX}) {
            for (const uint8_t tps : {0, 1, 25, 30, 31, 255}) {
                for (const uint8_t digit : {0, 59, 255}) {
                    for (const uint8_t drop : {0, 1, 255}) {
                        result.push_back(
                            {digit, digit, digit, digit, timeScale, duration, tps, drop});
                    }
                }
            }
        }
    }
    return result;
}

TEST(HostileTimeCodes, StructureStandsOneValue) {
    for (const TimeCode& serial : HostileSerials()) {
        for (const unsigned int number : kNumbers) {
            TimeCode copy = serial;
            SetTimeCodeTimeWithInts(&copy, number, number, number, number);
            ConvertFrameCountToTimeCode(number, &copy);
            EXPECT_GE(NormaliseFrameCount(static_cast<int>(number), &serial), 0);
            for (const int timeScale : {INT_MIN, -1, 0, 1, INT_MAX}) {
                ConvertMovieDurationToFrameCount(static_cast<int>(number), timeScale, &serial);
                ConvertMovieDurationToFrameCount(INT_MIN, timeScale, &serial);
            }
        }
        for (const char* text : kTexts) {
            int frames = 0;
            relativeTCToAbsoluteTC(serial, text, frames);
        }
        char text[12];
        ConvertTimeCodeToString(&serial, text);
        for (const int format : kFormats) {
            CTimeCode timeCode(static_cast<TimeCodeFormat>(format));
            timeCode.SetSerialTc(serial, true);
            timeCode.SetSerialTc(serial, false);
        }
    }
}

TEST(HostileTimeCodes, StructureStandsPairs) {
    const std::vector<TimeCode> all = HostileSerials();
    for (size_t i = 0; i < all.size(); ++i) {
        for (size_t j = i % 7; j < all.size(); j += 7) {
            CompareTimeCodes(&all[i], &all[j], false);
            CompareTimeCodes(&all[i], &all[j], true);
            CalculateFramesBetweenTimecodes(&all[i], &all[j]);
        }
    }
}

}  // namespace
