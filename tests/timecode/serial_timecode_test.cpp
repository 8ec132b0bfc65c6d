#include "timecode/serial_timecode.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

using namespace KVX::Util;

constexpr TimeCode k24 = {0, 0, 0, 0, 24000, 1000, 24, 0};
constexpr TimeCode k25 = {0, 0, 0, 0, 25000, 1000, 25, 0};
constexpr TimeCode k2997 = {0, 0, 0, 0, 30000, 1001, 30, 0};
constexpr TimeCode k2997Drop = {0, 0, 0, 0, 30000, 1001, 30, 1};
constexpr TimeCode k50 = {0, 0, 0, 0, 50000, 1000, 50, 0};
constexpr TimeCode k60 = {0, 0, 0, 0, 60000, 1000, 60, 0};
constexpr TimeCode k5994Drop = {0, 0, 0, 0, 60000, 1001, 60, 1};

TimeCode At(TimeCode rate, int hours, int minutes, int seconds, int frames) {
    rate.hours = static_cast<uint8_t>(hours);
    rate.minutes = static_cast<uint8_t>(minutes);
    rate.seconds = static_cast<uint8_t>(seconds);
    rate.frames = static_cast<uint8_t>(frames);
    return rate;
}

std::string Text(const TimeCode& timeCode) {
    char text[12];
    ConvertTimeCodeToString(&timeCode, text);
    return text;
}

std::string TextOfCount(TimeCode rate, unsigned int count) {
    ConvertFrameCountToTimeCode(count, &rate);
    return Text(rate);
}

int Count(const TimeCode& timeCode) {
    return ConvertTimeCodeToFrameCount(&timeCode);
}

TEST(SerialTimeCode, FieldsStandInTheirOrder) {
    EXPECT_EQ(offsetof(TimeCode, hours), 0u);
    EXPECT_EQ(offsetof(TimeCode, minutes), 1u);
    EXPECT_EQ(offsetof(TimeCode, seconds), 2u);
    EXPECT_EQ(offsetof(TimeCode, frames), 3u);
    EXPECT_EQ(offsetof(TimeCode, timeScale), 4u);
    EXPECT_EQ(offsetof(TimeCode, duration), 8u);
    EXPECT_EQ(offsetof(TimeCode, tps), 12u);
    EXPECT_EQ(offsetof(TimeCode, dropFrame), 13u);
}

TEST(SerialTimeCode, BytesOfTwoDecimalDigits) {
    for (int value = 0; value < 256; ++value) {
        const int packed = value > 99 ? 0 : value / 10 * 16 + value % 10;
        EXPECT_EQ(GetBCD(static_cast<unsigned char>(value)), packed);
        EXPECT_EQ(GetDecimal(static_cast<unsigned char>(value)), value / 16 * 10 + value % 16);
    }
    EXPECT_EQ(GetBCD(59), 0x59);
    EXPECT_EQ(GetBCD(100), 0);
}

TEST(SerialTimeCode, TextIsReadAtFixedPositions) {
    const struct {
        const char* text;
        int hours, minutes, seconds, frames;
    } rows[] = {
        {"12:34:56:78", 12, 34, 56, 78},
        {"12;34.56x78", 12, 34, 56, 78},
        {"12:34:56:78:90", 12, 34, 56, 78},
        {"12:34:56:7", 12, 34, 56, 0},
        {"12:34:56", 12, 34, 56, 0},
        {"12:34:5", 12, 34, 0, 0},
        {"12:34", 12, 34, 0, 0},
        {"12:3", 12, 0, 0, 0},
        {"12", 12, 0, 0, 0},
        {"1", 0, 0, 0, 0},
        {"", 0, 0, 0, 0},
    };
    for (const auto& row : rows) {
        TimeCode timeCode = At(k25, 1, 1, 1, 1);
        ConvertStringToTimeCode(row.text, &timeCode);
        EXPECT_EQ(timeCode.hours, row.hours) << row.text;
        EXPECT_EQ(timeCode.minutes, row.minutes) << row.text;
        EXPECT_EQ(timeCode.seconds, row.seconds) << row.text;
        EXPECT_EQ(timeCode.frames, row.frames) << row.text;
        EXPECT_EQ(timeCode.timeScale, 25000u);
        EXPECT_EQ(timeCode.tps, 25);
    }
}

TEST(SerialTimeCode, CharactersThatAreNoDigitsWrapInEightBits) {
    TimeCode timeCode = k25;
    ConvertStringToTimeCode("ab", &timeCode);
    EXPECT_EQ(timeCode.hours, (97 * 10 + 98 - 16) % 256);
    ConvertStringToTimeCode("\xFF\xFF", &timeCode);
    EXPECT_EQ(timeCode.hours, (255 * 10 + 255 - 16) % 256);
}

TEST(SerialTimeCode, TextHasASemicolonOnlyBeforeDropFrameFrames) {
    EXPECT_EQ(Text(At(k2997Drop, 1, 2, 3, 4)), "01:02:03;04");
    EXPECT_EQ(Text(At(k2997, 1, 2, 3, 4)), "01:02:03:04");
}

TEST(SerialTimeCode, TextIsNeverLongerThanElevenCharacters) {
    char text[16];
    std::memset(text, '#', sizeof(text));
    const TimeCode timeCode = At(k25, 255, 255, 255, 255);
    ConvertTimeCodeToString(&timeCode, text);
    EXPECT_EQ(std::strlen(text), 11u);
    EXPECT_EQ(std::string(text + 12, 4), "####");
}

TEST(SerialTimeCode, CountsAroundDroppedLabels) {
    EXPECT_EQ(Count(At(k2997Drop, 0, 1, 0, 2)), 1800);
    EXPECT_EQ(TextOfCount(k2997Drop, 1800), "00:01:00;02");
    EXPECT_EQ(TextOfCount(k2997Drop, 1799), "00:00:59;29");
    EXPECT_EQ(TextOfCount(k2997Drop, 17982), "00:10:00;00");
    EXPECT_EQ(Count(At(k2997Drop, 0, 10, 0, 0)), 17982);
    EXPECT_EQ(Count(At(k5994Drop, 0, 1, 0, 4)), 3600);
    EXPECT_EQ(Count(At(k5994Drop, 0, 10, 0, 0)), 35964);
}

// Two labels up to 30 frames a second, four above. No device has the rate between.
TEST(SerialTimeCode, LabelsLeftOutAboveThirtyFrames) {
    const TimeCode thirtyOne = {0, 1, 0, 4, 31000, 1000, 31, 1};
    EXPECT_EQ(Count(thirtyOne), 31 * 60 + 4 - 4);
    EXPECT_EQ(TextOfCount(thirtyOne, 1802), "00:00:58;08");
    const TimeCode thirty = {0, 1, 0, 4, 30000, 1000, 30, 1};
    EXPECT_EQ(Count(thirty), 30 * 60 + 4 - 2);
}

// At 60 frames a second the labels are those of the cycle of 30: four labels are dropped at each of
// its minutes, which are half as long.
TEST(SerialTimeCode, HighDropRatesCountTheCycleOfThirty) {
    for (unsigned int count = 0; count < 100000; ++count) {
        unsigned int labels = count;
        const unsigned int rest = count % 17982;
        labels += count / 17982 * 9 * 4;
        for (unsigned int minute = 1; 4 + 1798 * minute <= rest; ++minute) {
            labels += 4;
        }
        TimeCode timeCode = k5994Drop;
        ConvertFrameCountToTimeCode(count, &timeCode);
        ASSERT_EQ(timeCode.frames, labels % 60) << count;
        ASSERT_EQ(timeCode.seconds, labels / 60 % 60) << count;
        ASSERT_EQ(timeCode.minutes, labels / 3600) << count;
    }
    EXPECT_EQ(TextOfCount(k5994Drop, 1801), "00:00:30;01");
    EXPECT_EQ(TextOfCount(k5994Drop, 1802), "00:00:30;06");
}

TEST(SerialTimeCode, HoursHaveNoLimitButTheirWidth) {
    EXPECT_EQ(TextOfCount(k25, 25u * 3600 * 99), "99:00:00:00");
    TimeCode timeCode = k25;
    ConvertFrameCountToTimeCode(25u * 3600 * 257, &timeCode);
    EXPECT_EQ(timeCode.hours, 1);
}

TEST(SerialTimeCode, FrameCountsWrapAtTheDay) {
    EXPECT_EQ(LargestFrameCountBeforeTimeCodeWraps(&k25), 2160000);
    EXPECT_EQ(LargestFrameCountBeforeTimeCodeWraps(&k2997), 2592000);
    EXPECT_EQ(LargestFrameCountBeforeTimeCodeWraps(&k2997Drop), 2589408);
    EXPECT_EQ(LargestFrameCountBeforeTimeCodeWraps(&k5994Drop), 5178816);
    EXPECT_EQ(NormaliseFrameCount(5, &k25), 5);
    EXPECT_EQ(NormaliseFrameCount(2160000, &k25), 0);
    EXPECT_EQ(NormaliseFrameCount(-1, &k25), 2159999);
    EXPECT_EQ(NormaliseFrameCount(-2160000, &k25), 0);
    EXPECT_EQ(NormaliseFrameCount(INT_MIN, &k25), INT_MIN % 2160000 + 2160000);
    // Digits play no part.
    const TimeCode late = At(k2997Drop, 23, 59, 59, 29);
    EXPECT_EQ(NormaliseFrameCount(2589409, &late), 1);
}

std::string TextOfNumbers(TimeCode rate, unsigned int hours, unsigned int minutes,
                          unsigned int seconds, unsigned int frames) {
    SetTimeCodeTimeWithInts(&rate, hours, minutes, seconds, frames);
    return Text(rate);
}

TEST(SerialTimeCode, NumbersOfAnySizeBecomeDigits) {
    EXPECT_EQ(TextOfNumbers(k25, 1, 2, 3, 4), "01:02:03:04");
    EXPECT_EQ(TextOfNumbers(k25, 25, 1441, 86401, 0), "01:01:01:00");
    EXPECT_EQ(TextOfNumbers(k25, 0, 0, 0, 1000), "00:00:40:00");
    EXPECT_EQ(TextOfNumbers(k25, 23, 59, 59, 25), "00:00:00:00");
    EXPECT_EQ(TextOfNumbers(k25, 0, 0, 0, UINT_MAX), "23:59:59:24");
    // 2^32 - 1 is 15 in a day's hours, 255 in its minutes and 23295 in its seconds.
    EXPECT_EQ(TextOfNumbers(k25, UINT_MAX, 0, 0, 0), "15:00:00:00");
    EXPECT_EQ(TextOfNumbers(k25, 0, UINT_MAX, 0, 0), "04:15:00:00");
    EXPECT_EQ(TextOfNumbers(k25, 0, 0, UINT_MAX, 0), "06:28:15:00");
    EXPECT_EQ(TextOfNumbers(k2997Drop, 0, 10, 0, 0), "00:10:00;00");
    // A label that drop-frame leaves out is not moved to its minute's first one here, but counted
    // down to the end of the minute before.
    EXPECT_EQ(TextOfNumbers(k2997Drop, 0, 1, 0, 0), "00:00:59;28");
}

TEST(SerialTimeCode, PackedDecimal) {
    const TimeCode timeCode = At(k25, 1, 2, 3, 4);
    EXPECT_EQ(ConvertTimeCodeToFrameCountBCD(&timeCode), 0x01020304u);
    const TimeCode wide = At(k25, 100, 99, 255, 12);
    EXPECT_EQ(ConvertTimeCodeToFrameCountBCD(&wide), 0x00990012u);
    TimeCode unpacked = k25;
    ConvertFrameCountBCDToTimeCode(0x23595824, &unpacked);
    EXPECT_EQ(Text(unpacked), "23:59:58:24");
    EXPECT_EQ(unpacked.timeScale, 25000u);
    ConvertFrameCountBCDToTimeCode(0xFFFFFFFF, &unpacked);
    EXPECT_EQ(unpacked.hours, 165);
    EXPECT_EQ(unpacked.frames, 165);
}

TEST(SerialTimeCode, MovieDurationsTakeBegunFramesAsWhole) {
    EXPECT_EQ(ConvertMovieDurationToFrameCount(0, 600, &k25), 0);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(600, 600, &k25), 25);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(24, 600, &k25), 1);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(25, 600, &k25), 2);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(1, 600, &k25), 1);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(599, 600, &k25), 25);
    // Ten whole seconds count 30 each; the half second at the real rate is 14.985 frames.
    EXPECT_EQ(ConvertMovieDurationToFrameCount(315000, 30000, &k2997), 315);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(30000 + 1001, 30000, &k2997), 31);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(30000 + 1002, 30000, &k2997), 32);
    // A tick of the movie that ends within a tick of the rate is taken up to the whole of that.
    EXPECT_EQ(ConvertMovieDurationToFrameCount(3004, 90000, &k2997), 2);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(3002, 90000, &k2997), 1);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(-600, 600, &k25), -25);
    EXPECT_EQ(ConvertMovieDurationToFrameCount(-625, 600, &k25), -26);
}

TEST(SerialTimeCode, FramesBetweenTakeTheSecondToTheRateOfTheFirst) {
    const TimeCode a = At(k25, 0, 0, 1, 0);
    const TimeCode sameRate = At(k25, 0, 0, 0, 20);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&a, &sameRate), 5);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&sameRate, &a), -5);
    const TimeCode fifty = At(k50, 0, 0, 0, 41);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&a, &fifty), 5);
    const TimeCode twentyFour = At(k24, 0, 0, 0, 23);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&a, &twentyFour), 25 - 23);
    // The drop mode of the first holds for both.
    const TimeCode drop = At(k2997Drop, 0, 1, 0, 2);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&drop, &a), 1800 - 30);
    // A rate that counts as many frames stays as it is, drop mode included.
    const TimeCode minuteOfThirty = {0, 1, 0, 0, 30000, 1000, 30, 0};
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&minuteOfThirty, &drop), 0);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&drop, &minuteOfThirty), 0);
    // What is counted decides, not the time scale: a device's half of a high rate.
    const TimeCode half = {0, 0, 0, 5, 60000, 1000, 30, 0};
    const TimeCode sixty = At(k60, 0, 0, 0, 10);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&sixty, &half), 0);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&half, &sixty), 0);
    const TimeCode minuteOfSixty = At(k60, 0, 1, 0, 4);
    EXPECT_EQ(CalculateFramesBetweenTimecodes(&drop, &minuteOfSixty), 0);
}

int Compare(const TimeCode& a, const TimeCode& b, bool wrap) {
    return CompareTimeCodes(&a, &b, wrap);
}

TEST(SerialTimeCode, ComparisonAtOneRateIsOfThePackedFields) {
    EXPECT_EQ(Compare(At(k25, 1, 2, 3, 4), At(k25, 1, 2, 3, 4), false), 0);
    EXPECT_EQ(Compare(At(k25, 1, 2, 3, 5), At(k25, 1, 2, 3, 4), false), 1);
    EXPECT_EQ(Compare(At(k25, 1, 2, 3, 4), At(k25, 1, 2, 4, 0), false), 4 - 256);
    EXPECT_EQ(Compare(At(k25, 1, 0, 0, 0), At(k25, 0, 59, 59, 24), false), 0x01000000 - 0x003B3B18);
}

TEST(SerialTimeCode, ComparisonWithWrapSignsTheShorterWay) {
    EXPECT_EQ(Compare(At(k25, 0, 0, 0, 5), At(k25, 0, 0, 0, 2), true), 3);
    EXPECT_EQ(Compare(At(k25, 23, 59, 59, 24), k25, true), -2159999);
    EXPECT_EQ(Compare(k25, At(k25, 23, 59, 59, 24), true), 2159999);
    // Half the day is the last difference that stays.
    EXPECT_EQ(Compare(At(k25, 12, 0, 0, 0), k25, true), 1080000);
    EXPECT_EQ(Compare(At(k25, 12, 0, 0, 1), k25, true), -1080001);
    EXPECT_EQ(Compare(k25, At(k25, 12, 0, 0, 0), true), -1080000);
    EXPECT_EQ(Compare(k25, At(k25, 12, 0, 0, 1), true), 1080001);
}

TEST(SerialTimeCode, FramesThatBeginWithinAFrameOfAnotherRateAreEqual) {
    // Frame 3 of 24 lasts from frame 6 to before frame 8 of 50: 3 * 50 / 24 = 6.25, 4 * 50 / 24
    // = 8.3.
    for (const bool wrap : {false, true}) {
        EXPECT_LT(Compare(At(k50, 0, 0, 0, 0), At(k24, 0, 0, 0, 3), wrap), 0);
        EXPECT_GT(Compare(At(k24, 0, 0, 0, 3), At(k50, 0, 0, 0, 5), wrap), 0);
        EXPECT_EQ(Compare(At(k24, 0, 0, 0, 3), At(k50, 0, 0, 0, 6), wrap), 0);
        EXPECT_EQ(Compare(At(k24, 0, 0, 0, 3), At(k50, 0, 0, 0, 7), wrap), 0);
        EXPECT_LT(Compare(At(k24, 0, 0, 0, 3), At(k50, 0, 0, 0, 8), wrap), 0);
    }
    EXPECT_EQ(Compare(At(k24, 0, 0, 0, 3), At(k50, 0, 0, 0, 5), false), 1);
    EXPECT_EQ(Compare(At(k24, 0, 0, 0, 3), At(k50, 0, 0, 0, 9), false), 6 - 9);
}

TEST(SerialTimeCode, SlowerRateHasNoFrameWithinAFasterOne) {
    // Frames 1 and 2 of 50 are both frame 0 and 1 of 25 cut off: from 0 to before 1 for the former,
    // nothing between 0 and 0 for frame 0.
    EXPECT_EQ(Compare(At(k50, 0, 0, 0, 1), At(k25, 0, 0, 0, 0), false), 0);
    EXPECT_EQ(Compare(At(k50, 0, 0, 0, 0), At(k25, 0, 0, 0, 0), false), 0);
}

TEST(SerialTimeCode, ComparisonOfRatesWithWrapIsInTheRateOfTheSecond) {
    // The count of one hour less a frame at 25 is 89999, 179998 at 50.
    EXPECT_EQ(Compare(At(k25, 0, 59, 59, 24), At(k50, 0, 0, 0, 10), true), 179998 - 10);
    EXPECT_EQ(Compare(At(k25, 23, 59, 59, 24), At(k50, 0, 0, 0, 10), true), -(4319998 - 10));
    // Real rates scale the count: 25 * 1 at 30000/1001 against 25.
    EXPECT_EQ(Compare(At(k25, 1, 0, 0, 0), At(k2997, 0, 0, 0, 0), true), 90000 * 30000LL / 25025);
}

TEST(SerialTimeCode, DropModesOfOneRateAreDifferentRates) {
    // The same label, and the frames scale by one: equal, although the counts differ.
    EXPECT_EQ(Compare(At(k2997Drop, 1, 0, 0, 0), At(k2997, 1, 0, 0, 0), true), 0);
    EXPECT_EQ(Compare(At(k2997Drop, 1, 0, 0, 1), At(k2997, 1, 0, 0, 0), false), 1);
    EXPECT_EQ(Compare(At(k2997Drop, 1, 0, 0, 1), At(k2997, 1, 0, 0, 0), true), 107893 - 108000);
}

TEST(SerialTimeCode, ARateThatCountsNothingDividesNothing) {
    const TimeCode none = {};
    const TimeCode dropNone = {9, 8, 7, 6, 0, 0, 0, 1};
    for (TimeCode timeCode : {none, dropNone}) {
        EXPECT_EQ(LargestFrameCountBeforeTimeCodeWraps(&timeCode), 0);
        EXPECT_EQ(NormaliseFrameCount(100, &timeCode), 0);
        EXPECT_EQ(ConvertTimeCodeToFrameCount(&timeCode), timeCode.frames);
        EXPECT_EQ(ConvertMovieDurationToFrameCount(1234, 600, &timeCode), 0);
        EXPECT_EQ(Compare(timeCode, timeCode, false), 0);
        Compare(timeCode, k25, true);
        Compare(k25, timeCode, true);
        CalculateFramesBetweenTimecodes(&timeCode, &k25);
        CalculateFramesBetweenTimecodes(&k25, &timeCode);
        SetTimeCodeTimeWithInts(&timeCode, 1, 2, 3, 4);
        EXPECT_EQ(timeCode.hours + timeCode.minutes + timeCode.seconds + timeCode.frames, 0);
        int frames = 7;
        EXPECT_TRUE(relativeTCToAbsoluteTC(timeCode, "+10", frames));
        EXPECT_EQ(frames, 0);
    }
    EXPECT_EQ(ConvertMovieDurationToFrameCount(1234, 0, &k25), 0);
    // 2^31 seconds are 25 * 2^31 frames, which is 2^31 in 32 bits.
    EXPECT_EQ(ConvertMovieDurationToFrameCount(INT_MIN, -1, &k25), INT_MIN);
}

}  // namespace
