#include "timecode/ctimecode.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

using namespace KVX::Util;

std::string Text(const CTimeCode& timeCode) {
    return timeCode.ToString(false);
}

CTimeCode Numbers(TimeCodeFormat format, unsigned int hours, unsigned int minutes,
                  unsigned int seconds, unsigned int frames) {
    return CTimeCode::FromNumbers(format, hours, minutes, seconds, frames);
}

// Digits as they are, without the wrapping and the correction of the class.
CTimeCode Digits(TimeCodeFormat format, uint8_t hours, uint8_t minutes, uint8_t seconds,
                 uint8_t frames) {
    CTimeCode result(format);
    result.hours = hours;
    result.minutes = minutes;
    result.seconds = seconds;
    result.frames = frames;
    return result;
}

TEST(CTimeCode, StartsAtZeroInItsFormat) {
    const CTimeCode timeCode(tcf25);
    EXPECT_TRUE(timeCode.IsZero());
    EXPECT_EQ(timeCode.format, tcf25);
}

TEST(CTimeCode, SetZeroKeepsTheFormat) {
    CTimeCode timeCode = Numbers(tcf50, 1, 2, 3, 4);
    EXPECT_FALSE(timeCode.IsZero());
    timeCode.SetZero();
    EXPECT_TRUE(timeCode.IsZero());
    EXPECT_EQ(timeCode.format, tcf50);
}

TEST(CTimeCode, IsZeroLooksAtEveryDigitAndNotAtTheFormat) {
    EXPECT_TRUE(Digits(tcfNone, 0, 0, 0, 0).IsZero());
    EXPECT_FALSE(Digits(tcfNone, 1, 0, 0, 0).IsZero());
    EXPECT_FALSE(Digits(tcfNone, 0, 1, 0, 0).IsZero());
    EXPECT_FALSE(Digits(tcfNone, 0, 0, 1, 0).IsZero());
    EXPECT_FALSE(Digits(tcfNone, 0, 0, 0, 1).IsZero());
}

TEST(CTimeCode, FramesToDigitsAroundDroppedLabels) {
    const struct {
        TimeCodeFormat format;
        int frame;
        const char* text;
    } rows[] = {
        {tcf2997Drop, 1799, "00:00:59;29"},  {tcf2997Drop, 1800, "00:01:00;02"},
        {tcf2997Drop, 17981, "00:09:59;29"}, {tcf2997Drop, 17982, "00:10:00;00"},
        {tcf5994Drop, 3599, "00:00:59;59"},  {tcf5994Drop, 3600, "00:01:00;04"},
        {tcf5994Drop, 35964, "00:10:00;00"}, {tcf25, 90000, "01:00:00:00"},
        {tcf2997, 1800, "00:01:00:00"},
    };
    for (const auto& row : rows) {
        const CTimeCode timeCode = CTimeCode::FromFrame(row.format, row.frame, tcfNone);
        EXPECT_EQ(Text(timeCode), row.text);
        EXPECT_EQ(timeCode.ToFrame(row.format, false), row.frame);
    }
}

TEST(CTimeCode, TakesTextInEitherForm) {
    CTimeCode characters(tcf25);
    characters.Set("01:02:03:04");
    CTimeCode text(tcf25);
    text.Set(std::string("01:02:03:04"));
    for (const CTimeCode& timeCode : {characters, text}) {
        EXPECT_EQ(timeCode.hours, 1);
        EXPECT_EQ(timeCode.minutes, 2);
        EXPECT_EQ(timeCode.seconds, 3);
        EXPECT_EQ(timeCode.frames, 4);
    }
}

TEST(CTimeCode, FrameNumbersWrapAtTheDay) {
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, -1, tcfNone)), "23:59:59:24");
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, 2160000, tcfNone)), "00:00:00:00");
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, -2160001, tcfNone)), "23:59:59:24");
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf2997Drop, -1, tcfNone)), "23:59:59;29");
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, LLONG_MIN, tcfNone)),
              Text(CTimeCode::FromFrame(tcf25, LLONG_MIN % 2160000 + 2160000, tcfNone)));
}

TEST(CTimeCode, FrameNumberOfAnotherRateWrapsBeforeItIsConverted) {
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, 100, tcf50)), "00:00:02:00");
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf50, 100, tcf25)), "00:00:04:00");
    // 24 hours and a frame of the source are far beyond the wrap count of 25, and go round it.
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, 4320000 + 2, tcf50)), "00:00:00:01");
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf25, 2160000 + 2, tcf50)), "00:00:00:01");
    // A frame of a lower rate stands within the day of the higher one at first, and may leave it.
    EXPECT_EQ(Text(CTimeCode::FromFrame(tcf60, 5183999, tcf30)), "47:59:59:58");
}

TEST(CTimeCode, SetRoundsUpOnRequest) {
    CTimeCode timeCode(tcf25);
    timeCode.Set(tcf50, 11, false);
    EXPECT_EQ(Text(timeCode), "00:00:00:05");
    timeCode.Set(tcf50, 11, true);
    EXPECT_EQ(Text(timeCode), "00:00:00:06");
}

TEST(CTimeCode, NormaliseFrameCountWrapsIntoTheDay) {
    const CTimeCode timeCode(tcf25);
    EXPECT_EQ(timeCode.NormaliseFrameCount(0), 0);
    EXPECT_EQ(timeCode.NormaliseFrameCount(24), 24);
    EXPECT_EQ(timeCode.NormaliseFrameCount(2159999), 2159999);
    EXPECT_EQ(timeCode.NormaliseFrameCount(2160000), 0);
    EXPECT_EQ(timeCode.NormaliseFrameCount(-1), 2159999);
    EXPECT_EQ(timeCode.NormaliseFrameCount(-2160000), 0);
}

TEST(CTimeCode, FramesInADay) {
    const struct {
        TimeCodeFormat format;
        int frames;
    } rows[] = {
        {tcfNone, 0},       {tcf2398, 2073600},     {tcf24, 2073600},       {tcf25, 2160000},
        {tcf2997, 2592000}, {tcf30, 2592000},       {tcf50, 4320000},       {tcf5994, 5184000},
        {tcf60, 5184000},   {tcf2997Drop, 2589408}, {tcf5994Drop, 5178816},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CTimeCode::LargestFrameCountBeforeTimeCodeWraps(row.format), row.frames);
    }
}

TEST(CTimeCode, NumbersThatDropFrameLeavesOutMoveForward) {
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 1, 0, 0)), "00:01:00;02");
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 1, 0, 1)), "00:01:00;03");
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 1, 0, 2)), "00:01:00;02");
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 1, 1, 0)), "00:01:01;00");
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 10, 0, 0)), "00:10:00;00");
    EXPECT_EQ(Text(Numbers(tcf5994Drop, 0, 59, 0, 3)), "00:59:00;07");
    EXPECT_EQ(Text(Numbers(tcf2997, 0, 1, 0, 0)), "00:01:00:00");
}

TEST(CTimeCode, NumbersOfAnySizeWrapIntoTheDay) {
    EXPECT_EQ(Text(Numbers(tcf25, 24, 0, 0, 0)), "00:00:00:00");
    EXPECT_EQ(Text(Numbers(tcf25, 25, 1441, 86401, 0)), "01:01:01:00");
    EXPECT_EQ(Text(Numbers(tcf25, 0, 0, 0, 1000)), "00:00:40:00");
    EXPECT_EQ(Text(Numbers(tcf25, 0, 0, 0, 2160001)), "00:00:00:01");
    EXPECT_EQ(Text(Numbers(tcf25, 0, 90, 0, 0)), "01:30:00:00");
    EXPECT_EQ(Text(Numbers(tcf25, 23, 59, 59, 25)), "00:00:00:00");
    // 2^32 - 1 is 15 in a day's hours, 255 in its minutes, 23295 in its seconds and 887295 in its
    // frames of 1/25 second: 15:00:00 + 04:15:00 + 06:28:15 + 09:51:31:20.
    EXPECT_EQ(Text(Numbers(tcf25, UINT_MAX, UINT_MAX, UINT_MAX, UINT_MAX)), "11:34:46:20");
}

TEST(CTimeCode, CorrectionSeesTheLowEightBitsOfMinutesAndSeconds) {
    // 266 minutes are 10 in eight bits, a minute that drops nothing, so that the label stays,
    // though the count has it as the label before the first of 04:26.
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 266, 0, 0)), "04:25:59;28");
    // 256 seconds are 0 in eight bits: labels 0 and 1 move although the second is not the first.
    EXPECT_EQ(Text(Numbers(tcf2997Drop, 0, 1, 256, 0)), "00:05:16;02");
}

TEST(CTimeCode, CorrectInvalidDropTCKnowsBothRates) {
    const struct {
        TimeCodeFormat format;
        unsigned char minutes, seconds, frames, corrected;
    } rows[] = {
        {tcf2997Drop, 1, 0, 0, 2},  {tcf2997Drop, 1, 0, 1, 3},  {tcf2997Drop, 1, 0, 2, 2},
        {tcf2997Drop, 0, 0, 0, 0},  {tcf2997Drop, 20, 0, 1, 1}, {tcf2997Drop, 1, 1, 0, 0},
        {tcf5994Drop, 1, 0, 0, 4},  {tcf5994Drop, 9, 0, 3, 7},  {tcf5994Drop, 1, 0, 4, 4},
        {tcf5994Drop, 50, 0, 3, 3}, {tcf2997, 1, 0, 0, 0},      {tcfNone, 1, 0, 0, 0},
    };
    for (const auto& row : rows) {
        unsigned char frames = row.frames;
        CTimeCode(row.format).CorrectInvalidDropTC(row.minutes, row.seconds, frames);
        EXPECT_EQ(frames, row.corrected) << row.format << " " << int{row.minutes};
    }
}

TEST(CTimeCode, DigitsFromText) {
    EXPECT_EQ(Text(CTimeCode::FromStr(tcf25, "01:02:03:04")), "01:02:03:04");
    EXPECT_EQ(Text(CTimeCode::FromStr(tcf25, std::string("01.02.03.04"))), "01:02:03:04");
    EXPECT_EQ(Text(CTimeCode::FromStr(tcf25, "01:02")), "01:02:00:00");
    EXPECT_EQ(Text(CTimeCode::FromStr(tcf25, "")), "00:00:00:00");
    EXPECT_EQ(Text(CTimeCode::FromStr(tcf2997Drop, "00:01:00;00")), "00:01:00;02");
    EXPECT_EQ(Text(CTimeCode::FromStr(tcf5994Drop, std::string("00:01:00;03"))), "00:01:00;07");
}

TEST(CTimeCode, ToStringMarksDropFrame) {
    EXPECT_EQ(Digits(tcf2997Drop, 1, 2, 3, 4).ToString(false), "01:02:03;04");
    EXPECT_EQ(Digits(tcf2997Drop, 1, 2, 3, 4).ToString(true), "01:02:03:04");
    EXPECT_EQ(Digits(tcf2997, 1, 2, 3, 4).ToString(false), "01:02:03:04");
    EXPECT_EQ(Digits(tcf5994Drop, 23, 59, 59, 59).ToString(false), "23:59:59;59");
    EXPECT_EQ(Digits(tcfNone, 255, 255, 255, 255).ToString(false), "255:255:255:255");
}

TEST(CTimeCode, PackedDecimal) {
    EXPECT_EQ(Text(CTimeCode::FromBCD(tcf25, 0x01020304)), "01:02:03:04");
    EXPECT_EQ(Text(CTimeCode::FromBCD(tcf2997Drop, 0x00010000)), "00:01:00;02");
    EXPECT_EQ(Digits(tcf25, 23, 59, 58, 24).ToBCD(), 0x23595824u);
    EXPECT_EQ(Digits(tcf25, 100, 99, 255, 1).ToBCD(), 0x00990001u);
}

TEST(CTimeCode, SerialPackedDecimalDoublesTheFramesOfHighRates) {
    EXPECT_EQ(Text(CTimeCode::FromSerialBCD(tcf50, 0x01020304)), "01:02:03:08");
    EXPECT_EQ(Text(CTimeCode::FromSerialBCD(tcf25, 0x01020304)), "01:02:03:04");
    EXPECT_EQ(Text(CTimeCode::FromSerialBCD(tcf5994Drop, 0x00010002)), "00:01:00;12");
    EXPECT_EQ(Digits(tcf50, 1, 2, 3, 8).ToSerialBCD(false), 0x01020304u);
    EXPECT_EQ(Digits(tcf50, 1, 2, 3, 9).ToSerialBCD(false), 0x01020304u);
    EXPECT_EQ(Digits(tcf50, 1, 2, 3, 9).ToSerialBCD(true), 0x01020305u);
    EXPECT_EQ(Digits(tcf5994Drop, 0, 1, 0, 4).ToSerialBCD(false), 0x00010002u);
    EXPECT_EQ(Digits(tcf25, 1, 2, 3, 4).ToSerialBCD(false), 0x01020304u);
}

TEST(CTimeCode, SetFromAnotherConvertsOnRequestAlone) {
    const CTimeCode source = Numbers(tcf50, 1, 0, 0, 11);
    CTimeCode timeCode(tcf25);
    timeCode.Set(source, true, false);
    EXPECT_EQ(timeCode.format, tcf25);
    EXPECT_EQ(Text(timeCode), "01:00:00:05");
    EXPECT_EQ(Text(CTimeCode::FromTc(tcf25, source, true, true)), "01:00:00:06");
    timeCode.Set(source, false, false);
    EXPECT_EQ(timeCode.format, tcf50);
    EXPECT_EQ(Text(timeCode), "01:00:00:11");
    // Equal formats are copied digit for digit, labels that drop-frame leaves out included.
    EXPECT_EQ(Text(CTimeCode::FromTc(tcf2997Drop, Digits(tcf2997Drop, 0, 1, 0, 0), true, true)),
              "00:01:00;00");
}

TEST(CTimeCode, ConvertingBetweenDropModesKeepsTheFrameNumber) {
    EXPECT_EQ(Text(CTimeCode::FromTc(tcf2997, Numbers(tcf2997Drop, 0, 1, 0, 2), true, false)),
              "00:01:00:00");
    EXPECT_EQ(Text(CTimeCode::FromTc(tcf2997Drop, Numbers(tcf2997, 1, 0, 0, 0), true, false)),
              "01:00:03;18");
}

TEST(CTimeCode, SumsWrapAndDifferencesStopAtZero) {
    CTimeCode timeCode = Numbers(tcf25, 23, 59, 59, 24);
    timeCode.Add(Numbers(tcf25, 0, 0, 0, 2), false);
    EXPECT_EQ(Text(timeCode), "00:00:00:01");
    timeCode.Subtract(Numbers(tcf25, 0, 0, 0, 2), false);
    EXPECT_EQ(Text(timeCode), "00:00:00:00");
    timeCode = Numbers(tcf25, 1, 0, 0, 0);
    timeCode.Subtract(Numbers(tcf25, 0, 0, 0, 1), false);
    EXPECT_EQ(Text(timeCode), "00:59:59:24");
}

TEST(CTimeCode, ArithmeticIsInThisFormat) {
    CTimeCode timeCode = Numbers(tcf25, 0, 0, 0, 10);
    timeCode.Add(Numbers(tcf50, 0, 0, 0, 5), false);
    EXPECT_EQ(Text(timeCode), "00:00:00:12");
    timeCode.Add(Numbers(tcf50, 0, 0, 0, 5), true);
    EXPECT_EQ(Text(timeCode), "00:00:00:15");
    timeCode.Subtract(Numbers(tcf50, 0, 0, 0, 5), true);
    EXPECT_EQ(Text(timeCode), "00:00:00:12");
    EXPECT_EQ(timeCode.format, tcf25);
}

TEST(CTimeCode, Duration) {
    const CTimeCode in = Numbers(tcf25, 1, 0, 0, 0);
    const CTimeCode out = Numbers(tcf25, 1, 0, 0, 10);
    EXPECT_EQ(in.CalculateDuration(out, false).ToFrame(tcf25, false), 10);
    EXPECT_EQ(in.CalculateDuration(out, true).ToFrame(tcf25, false), 11);
    EXPECT_EQ(out.CalculateDuration(in, false).ToFrame(tcf25, false), 0);
    EXPECT_EQ(in.CalculateDuration(in, true).ToFrame(tcf25, false), 1);
}

TEST(CTimeCode, OutPoint) {
    const CTimeCode in = Numbers(tcf25, 1, 0, 0, 0);
    const CTimeCode duration = Numbers(tcf25, 0, 0, 0, 10);
    EXPECT_EQ(Text(in.CalculateOutTimeCode(duration, false, false)), "01:00:00:10");
    EXPECT_EQ(Text(in.CalculateOutTimeCode(duration, false, true)), "01:00:00:09");
    EXPECT_EQ(Text(in.CalculateOutTimeCode(CTimeCode(tcf25), false, true)), "01:00:00:00");
    EXPECT_EQ(Text(in.CalculateOutTimeCode(Numbers(tcf50, 0, 0, 0, 5), true, false)),
              "01:00:00:03");
    EXPECT_EQ(Text(Numbers(tcf25, 23, 59, 59, 24)
                       .CalculateOutTimeCode(Numbers(tcf25, 0, 0, 0, 1), false, true)),
              "23:59:59:24");
}

TEST(CTimeCode, FramesBetween) {
    const CTimeCode a = Numbers(tcf25, 0, 0, 1, 0);
    EXPECT_EQ(CTimeCode::CalculateFramesBetweenTimecodes(a, Numbers(tcf25, 0, 0, 0, 20)), 5u);
    EXPECT_EQ(CTimeCode::CalculateFramesBetweenTimecodes(a, Numbers(tcf50, 0, 0, 0, 41)), 5u);
    EXPECT_EQ(CTimeCode::CalculateFramesBetweenTimecodes(a, Numbers(tcf25, 0, 0, 1, 1)),
              0xFFFFFFFFu);
}

TEST(CTimeCode, TpsOfTheFormatAndOfItsSerialForm) {
    EXPECT_EQ(CTimeCode(tcf5994Drop).tps(false), 60);
    EXPECT_EQ(CTimeCode(tcf5994Drop).tps(true), 30);
    EXPECT_EQ(CTimeCode(tcf25).tps(true), 25);
    EXPECT_EQ(CTimeCode(tcfNone).tps(false), 0);
    EXPECT_EQ(CTimeCode(tcfNone).tps(true), 0);
}

}  // namespace
