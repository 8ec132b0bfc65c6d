// Typed text, as plain functions and as operations of the class.
#include <gtest/gtest.h>

#include <string>

#include "timecode/ctimecode.h"
#include "timecode/serial_timecode.h"

namespace {

using namespace KVX::Util;

std::string Cleaned(std::string text) {
    cleanTimeCode(text);
    return text;
}

TEST(CleanTimeCode, BareDigitsGetColonsFromTheRight) {
    EXPECT_EQ(Cleaned("123"), "1:23");
    EXPECT_EQ(Cleaned("1234"), "12:34");
    EXPECT_EQ(Cleaned("12345"), "1:23:45");
    EXPECT_EQ(Cleaned("123456"), "12:34:56");
    EXPECT_EQ(Cleaned("1234567"), "1:23:45:67");
    EXPECT_EQ(Cleaned("12345678"), "12:34:56:78");
}

TEST(CleanTimeCode, WhitespaceGoesEverywhere) {
    EXPECT_EQ(Cleaned(" 12 34 "), "12:34");
    EXPECT_EQ(Cleaned("\t1\n2\v:\f3\r4 "), "12:34");
    EXPECT_EQ(Cleaned("   "), "");
}

TEST(CleanTimeCode, OtherTextStays) {
    EXPECT_EQ(Cleaned(""), "");
    EXPECT_EQ(Cleaned("12"), "12");
    EXPECT_EQ(Cleaned(" 1 2 "), "12");
    EXPECT_EQ(Cleaned("123456789"), "123456789");
    EXPECT_EQ(Cleaned("1 2:3"), "12:3");
    EXPECT_EQ(Cleaned("+123"), "+123");
    EXPECT_EQ(Cleaned("12a4"), "12a4");
    EXPECT_EQ(Cleaned("12\xE9\xFF"), "12\xE9\xFF");
}

struct Reading {
    const char* text;
    bool good;
    int frames;  // at 25 frames a second, from a base of 10 frames
};

constexpr int kDay = 2160000;

constexpr Reading kReadings[] = {
    // Absolute.
    {"01:02:03:04", true, 93079},
    {"1:2:3:4", true, 93079},
    {"01:02:03;04", true, 93079},
    {"01.02.03.04", true, 93079},
    {"01020304", true, 93079},
    {"1020304", true, 93079},
    {" 01 02 03 04 ", true, 93079},
    {"02:03:04", true, 3079},
    {"03:04", true, 79},
    {"304", true, 79},
    {"4", true, 4},
    {"99", true, 99},
    {"1000", true, 250},
    {"123456789", true, 123456789 % kDay},
    {"24:00:00:00", true, 0},
    {"", true, 0},
    {":", true, 0},
    {"::3:4", true, 79},
    {"3::4", true, 79},
    // The first form is satisfied with its four numbers, whatever follows.
    {"1:2:3:4:5", true, 93079},
    {"1:2:3:4x", true, 93079},
    // The second form is not.
    {"1;2;3;4;5", false, 0},
    {"1.2.3.4.5", false, 0},
    {"3:4x", false, 0},
    {"x", false, 0},
    {"1:x:3", false, 0},
    {"0x10", false, 0},
    {"1-2", false, 0},
    // Relative.
    {"+10", true, 20},
    {"+1:00", true, 35},
    {"+0", true, 10},
    {"+", true, 10},
    {"-3", true, 7},
    {"-10", true, 0},
    {"-20", true, kDay - 10},
    {"- 20", true, kDay - 10},
    {"+23:59:59:24", true, 9},
    {"+1:x", false, 0},
    // A sign after a blank is not the first character; the number takes it.
    {" +15", true, 15},
    {" -1", true, kDay - 1},
    {"++15", true, 25},
};

TEST(RelativeTimeCodeText, IsReadByThePlainFunction) {
    const TimeCode base = {0, 0, 0, 10, 25000, 1000, 25, 0};
    for (const Reading& reading : kReadings) {
        SCOPED_TRACE(reading.text);
        int frames = 77;
        EXPECT_EQ(relativeTCToAbsoluteTC(base, reading.text, frames), reading.good);
        EXPECT_EQ(frames, reading.frames);
    }
}

TEST(RelativeTimeCodeText, IsReadByTheClass) {
    const CTimeCode base = CTimeCode::FromFrame(tcf25, 10, tcfNone);
    for (const Reading& reading : kReadings) {
        // Numbers of frames reach the class without a sign, so that one beyond 2^31 is no negative.
        if (std::string(reading.text) == " -1") {
            continue;
        }
        SCOPED_TRACE(reading.text);
        int frames = 77;
        EXPECT_EQ(CTimeCode(tcfNone).RelativeTCToAbsoluteTC(base, reading.text, frames),
                  reading.good);
        EXPECT_EQ(frames, reading.frames);

        CTimeCode applied = base;
        EXPECT_EQ(applied.RelativeTCToAbsoluteTC(reading.text), reading.good);
        EXPECT_EQ(applied.ToFrame(tcf25, false), reading.good ? reading.frames : 10);
    }
    int frames = 77;
    EXPECT_TRUE(base.RelativeTCToAbsoluteTC(base, " -1", frames));
    EXPECT_EQ(frames, static_cast<int>(4294967295LL % kDay));
}

TEST(RelativeTimeCodeText, DropFrameDistances) {
    const TimeCode serial = {0, 0, 59, 29, 30000, 1001, 30, 1};
    int frames = 0;
    EXPECT_TRUE(relativeTCToAbsoluteTC(serial, "+1", frames));
    EXPECT_EQ(frames, 1800);
    EXPECT_TRUE(relativeTCToAbsoluteTC(serial, "-60:00", frames));
    // A label that drop-frame leaves out counts two below the first one of its minute.
    EXPECT_EQ(frames, 1);

    CTimeCode timeCode = CTimeCode::FromNumbers(tcf2997Drop, 0, 0, 59, 29);
    EXPECT_TRUE(timeCode.RelativeTCToAbsoluteTC("+1"));
    EXPECT_EQ(timeCode.ToString(false), "00:01:00;02");
    timeCode = CTimeCode::FromNumbers(tcf5994Drop, 0, 0, 59, 59);
    EXPECT_TRUE(timeCode.RelativeTCToAbsoluteTC("+1"));
    EXPECT_EQ(timeCode.ToString(false), "00:01:00;04");
    EXPECT_TRUE(timeCode.RelativeTCToAbsoluteTC("-36:01"));
    EXPECT_EQ(timeCode.ToString(false), "00:00:23;59");
}

TEST(RelativeTimeCodeText, AnInvalidValueStaysAtZero) {
    CTimeCode timeCode(tcfNone);
    EXPECT_TRUE(timeCode.RelativeTCToAbsoluteTC("+10"));
    EXPECT_TRUE(timeCode.IsZero());
    EXPECT_FALSE(timeCode.RelativeTCToAbsoluteTC("x"));
}

}  // namespace
