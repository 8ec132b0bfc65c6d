#include "timecode/timecode_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

namespace {

using namespace KVX::Util;

struct Format {
    TimeCodeFormat format;
    int value;
    unsigned int timeScale;
    unsigned int duration;
    int tps;
    TimeCodeFormat serial;
    bool isSerial;
    bool isDrop;
    TimeCodeFormat withDrop;
    TimeCodeFormat withoutDrop;
};

constexpr Format kFormats[] = {
    {tcfNone, 0, 0, 0, 0, tcfNone, false, false, tcfNone, tcfNone},
    {tcf2398, 1, 24000, 1001, 24, tcf2398, true, false, tcf2398, tcf2398},
    {tcf24, 2, 24000, 1000, 24, tcf24, true, false, tcf24, tcf24},
    {tcf25, 3, 25000, 1000, 25, tcf25, true, false, tcf25, tcf25},
    {tcf2997, 4, 30000, 1001, 30, tcf2997, true, false, tcf2997Drop, tcf2997},
    {tcf30, 5, 30000, 1000, 30, tcf30, true, false, tcf30, tcf30},
    {tcf50, 6, 50000, 1000, 50, tcf25, false, false, tcf50, tcf50},
    {tcf5994, 7, 60000, 1001, 60, tcf2997, false, false, tcf5994Drop, tcf5994},
    {tcf60, 8, 60000, 1000, 60, tcf30, false, false, tcf60, tcf60},
    {tcf2997Drop, 50, 30000, 1001, 30, tcf2997Drop, true, true, tcf2997Drop, tcf2997},
    {tcf5994Drop, 51, 60000, 1001, 60, tcf2997Drop, false, true, tcf5994Drop, tcf5994},
};

TEST(TimeCodeFormat, EveryFormatHasItsFacts) {
    for (const Format& row : kFormats) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(static_cast<int>(row.format), row.value);
        unsigned int duration = 7;
        unsigned int timeScale = 7;
        tcfToDuration(row.format, duration, timeScale);
        EXPECT_EQ(duration, row.duration);
        EXPECT_EQ(timeScale, row.timeScale);
        EXPECT_EQ(tcfToTps(row.format), row.tps);
        EXPECT_EQ(tcfToSerialTcf(row.format), row.serial);
        EXPECT_EQ(tcfIsSerialTcf(row.format), row.isSerial);
        EXPECT_EQ(tcfIsDrop(row.format), row.isDrop);
        EXPECT_EQ(tcfChangeDrop(row.format, true), row.withDrop);
        EXPECT_EQ(tcfChangeDrop(row.format, false), row.withoutDrop);
    }
}

TEST(TimeCodeFormat, ValuesWithoutANameAreNoFormat) {
    for (const int value : {INT_MIN, -1, 9, 49, 52, 1000, INT_MAX}) {
        SCOPED_TRACE(value);
        const auto format = static_cast<TimeCodeFormat>(value);
        unsigned int duration = 7;
        unsigned int timeScale = 7;
        tcfToDuration(format, duration, timeScale);
        EXPECT_EQ(duration, 0u);
        EXPECT_EQ(timeScale, 0u);
        EXPECT_EQ(tcfToTps(format), 0);
        EXPECT_EQ(tcfToSerialTcf(format), tcfNone);
        EXPECT_FALSE(tcfIsSerialTcf(format));
        EXPECT_EQ(tcfChangeDrop(format, true), tcfNone);
        EXPECT_EQ(tcfConvertFrameCount(100, format, tcf25, true), 0);
        EXPECT_EQ(tcfConvertFrameCount(100, tcf25, format, true), 0);
    }
}

struct Interval {
    double above;
    double below;
    TimeCodeFormat format;
    TimeCodeFormat dropFormat;
};

constexpr Interval kIntervals[] = {
    {23.965999999999998, 23.986, tcf2398, tcf2398},
    {23.99, 24.01, tcf24, tcf24},
    {24.99, 25.01, tcf25, tcf25},
    {29.959999999999997, 29.98, tcf2997, tcf2997Drop},
    {29.99, 30.01, tcf30, tcf30},
    {49.99, 50.01, tcf50, tcf50},
    {59.93, 59.949999999999996, tcf5994, tcf5994Drop},
    {59.99, 60.01, tcf60, tcf60},
};

TEST(TcfFromFps, IntervalsAreOpenToTheLastBit) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const Interval& interval : kIntervals) {
        SCOPED_TRACE(interval.above);
        for (const double inside :
             {std::nextafter(interval.above, infinity), (interval.above + interval.below) / 2,
              std::nextafter(interval.below, 0.0)}) {
            EXPECT_EQ(tcfFromFps(inside, false), interval.format);
            EXPECT_EQ(tcfFromFps(inside, true), interval.dropFormat);
        }
        for (const double outside : {interval.above, interval.below}) {
            EXPECT_EQ(tcfFromFps(outside, false), tcfNone);
            EXPECT_EQ(tcfFromFps(outside, true), tcfNone);
        }
    }
}

TEST(TcfFromFps, ThereIsNoNearestMatch) {
    for (const double fps : {0.0, -25.0, 12.0, 23.988, 24.5, 29.985, 48.0, 59.96, 119.88, 1e300}) {
        EXPECT_EQ(tcfFromFps(fps, false), tcfNone) << fps;
    }
    EXPECT_EQ(tcfFromFps(std::numeric_limits<double>::quiet_NaN(), false), tcfNone);
    EXPECT_EQ(tcfFromFps(std::numeric_limits<double>::infinity(), false), tcfNone);
}

TEST(TcfFromFps, ExactFractionalRatesAreKnown) {
    EXPECT_EQ(tcfFromFps(23.976, false), tcf2398);
    EXPECT_EQ(tcfFromFps(24000.0 / 1001, false), tcf2398);
    EXPECT_EQ(tcfFromFps(30000.0 / 1001, false), tcf2997);
    EXPECT_EQ(tcfFromFps(60000.0 / 1001, true), tcf5994Drop);
    EXPECT_EQ(tcfFromFps(25.0, true), tcf25);
}

TEST(TcfFromDuration, CounterOfTheFullRateGivesTheRate) {
    EXPECT_EQ(tcfFromDuration<int>(100, 2500, false, 25), tcf25);
    EXPECT_EQ(tcfFromDuration<int>(100, 2500, false, -1), tcf25);
    EXPECT_EQ(tcfFromDuration<unsigned int>(1001, 60000, true, 60), tcf5994Drop);
}

TEST(TcfFromDuration, CountsCutOffAreTheNominalOnes) {
    EXPECT_EQ(tcfFromDuration<int>(1001, 30000, true, 29), tcf2997Drop);
    EXPECT_EQ(tcfFromDuration<int>(1001, 60000, false, 59), tcf5994);
    EXPECT_EQ(tcfFromDuration<int>(1001, 24000, false, 23), tcf2398);
}

TEST(TcfFromDuration, SlowerCounterGivesTheSerialRate) {
    EXPECT_EQ(tcfFromDuration<int>(1000, 60000, false, 30), tcf30);
    EXPECT_EQ(tcfFromDuration<int>(1000, 50000, false, 25), tcf25);
    EXPECT_EQ(tcfFromDuration<int>(1001, 60000, false, 30), tcf2997);
    EXPECT_EQ(tcfFromDuration<int>(1001, 60000, true, 29), tcf2997Drop);
}

TEST(TcfFromDuration, AnyOtherCountGivesTheSerialRateToo) {
    EXPECT_EQ(tcfFromDuration<int>(1000, 30000, false, 24), tcf30);
    EXPECT_EQ(tcfFromDuration<int>(1000, 60000, false, 0), tcf30);
    EXPECT_EQ(tcfFromDuration<int>(1000, 50000, false, 49), tcf25);
    EXPECT_EQ(tcfFromDuration<int>(1000, 60000, false, -2), tcf30);
}

TEST(TcfFromDuration, NoRateIsNoFormat) {
    EXPECT_EQ(tcfFromDuration<int>(0, 30000, false, 30), tcfNone);
    EXPECT_EQ(tcfFromDuration<int>(-1000, 25000, false, 25), tcfNone);
    EXPECT_EQ(tcfFromDuration<int>(-1000, -25000, false, 25), tcf25);
    EXPECT_EQ(tcfFromDuration<int>(INT_MIN, INT_MAX, false, 25), tcfNone);
    EXPECT_EQ(tcfFromDuration<int>(1000, 12000, false, 12), tcfNone);
    EXPECT_EQ(tcfFromDuration<unsigned int>(UINT_MAX, 1, true, 0), tcfNone);
    EXPECT_EQ(tcfFromDuration<unsigned int>(100000000, 2500000000, false, 25), tcf25);
}

TEST(TcfConvertFrameCount, WholeRatios) {
    EXPECT_EQ(tcfConvertFrameCount(10, tcf25, tcf50, false), 20);
    EXPECT_EQ(tcfConvertFrameCount(11, tcf50, tcf25, true), 6);
    EXPECT_EQ(tcfConvertFrameCount(11, tcf50, tcf25, false), 5);
    EXPECT_EQ(tcfConvertFrameCount(12, tcf60, tcf2997Drop, true), 6);
    EXPECT_EQ(tcfConvertFrameCount(-3, tcf50, tcf25, true), -1);
    EXPECT_EQ(tcfConvertFrameCount(-3, tcf50, tcf25, false), -1);
}

TEST(TcfConvertFrameCount, OtherRatios) {
    EXPECT_EQ(tcfConvertFrameCount(25, tcf25, tcf30, false), 30);
    EXPECT_EQ(tcfConvertFrameCount(1, tcf24, tcf25, true), 2);
    EXPECT_EQ(tcfConvertFrameCount(1, tcf24, tcf25, false), 1);
    EXPECT_EQ(tcfConvertFrameCount(24, tcf24, tcf25, true), 25);
    EXPECT_EQ(tcfConvertFrameCount(-1, tcf24, tcf25, true), -1);
}

TEST(TcfConvertFrameCount, EqualCountsChangeNothing) {
    EXPECT_EQ(tcfConvertFrameCount(12345, tcf2997, tcf30, true), 12345);
    EXPECT_EQ(tcfConvertFrameCount(12345, tcf2997Drop, tcf2997, false), 12345);
    EXPECT_EQ(tcfConvertFrameCount(12345, tcfNone, tcfNone, true), 12345);
}

// Every pair of formats, in exact whole numbers instead of the doubles of the code.
TEST(TcfConvertFrameCount, AgreesWithFractions) {
    for (const Format& from : kFormats) {
        for (const Format& to : kFormats) {
            if (from.tps == 0 || to.tps == 0 || from.format == to.format) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << from.value << " to " << to.value);
            for (int frames = 0; frames < 5184000; frames += frames < 4000 ? 1 : 997) {
                const long long product = static_cast<long long>(frames) * to.tps;
                const long long down = product / from.tps;
                const long long up = down + (product % from.tps != 0 ? 1 : 0);
                ASSERT_EQ(tcfConvertFrameCount(frames, from.format, to.format, false), down);
                ASSERT_EQ(tcfConvertFrameCount(frames, from.format, to.format, true), up);
            }
        }
    }
}

TEST(TcfConvertFrameCount, HostileCountsOverflowNothing) {
    for (const int frames : {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX}) {
        for (const Format& from : kFormats) {
            for (const Format& to : kFormats) {
                tcfConvertFrameCount(frames, from.format, to.format, true);
                tcfConvertFrameCount(frames, from.format, to.format, false);
            }
        }
    }
    EXPECT_EQ(tcfConvertFrameCount(INT_MAX, tcf50, tcf25, true), 1073741824);
}

}  // namespace
