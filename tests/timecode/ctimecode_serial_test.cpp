// The exchange with the structure that serial devices report.
#include <gtest/gtest.h>

#include <string>

#include "timecode/counting_model.h"
#include "timecode/ctimecode.h"

namespace {

using namespace KVX::Util;

TimeCode Serial(int hours, int minutes, int seconds, int frames, uint32_t timeScale,
                uint32_t duration, int tps, bool drop) {
    return {static_cast<uint8_t>(hours),
            static_cast<uint8_t>(minutes),
            static_cast<uint8_t>(seconds),
            static_cast<uint8_t>(frames),
            timeScale,
            duration,
            static_cast<uint8_t>(tps),
            static_cast<uint8_t>(drop)};
}

TEST(CTimeCodeSerial, SameCountIsCopied) {
    const TimeCode serial = Serial(1, 2, 3, 4, 25000, 1000, 25, false);
    const CTimeCode timeCode = CTimeCode::FromSerialTc(tcf25, serial);
    EXPECT_EQ(timeCode.ToString(false), "01:02:03:04");
    EXPECT_EQ(timeCode.format, tcf25);
}

TEST(CTimeCodeSerial, SameCountKeepsTheFormatWhateverTheRate) {
    const TimeCode serial = Serial(0, 1, 0, 0, 30000, 1001, 30, true);
    CTimeCode timeCode(tcf30);
    timeCode.SetSerialTc(serial, false);
    EXPECT_EQ(timeCode.format, tcf30);
    EXPECT_EQ(timeCode.ToString(false), "00:01:00:00");
}

TEST(CTimeCodeSerial, AnInvalidValueTakesTheDevicesFormat) {
    for (const bool convert : {false, true}) {
        CTimeCode timeCode(tcfNone);
        timeCode.SetSerialTc(Serial(1, 2, 3, 4, 30000, 1001, 30, true), convert);
        EXPECT_EQ(timeCode.format, tcf2997Drop);
        EXPECT_EQ(timeCode.ToString(false), "01:02:03;04");
        // The rate is that of the frames, the count that of the serial form.
        timeCode = CTimeCode(tcfNone);
        timeCode.SetSerialTc(Serial(1, 2, 3, 4, 60000, 1001, 30, false), convert);
        EXPECT_EQ(timeCode.format, tcf2997);
        timeCode = CTimeCode(tcfNone);
        timeCode.SetSerialTc(Serial(1, 2, 3, 4, 60000, 1001, 60, false), convert);
        EXPECT_EQ(timeCode.format, tcf5994);
    }
}

TEST(CTimeCodeSerial, OtherCountsAreConvertedOnRequest) {
    const TimeCode serial = Serial(1, 2, 3, 4, 50000, 1000, 25, false);
    CTimeCode timeCode(tcf50);
    timeCode.SetSerialTc(serial, true);
    EXPECT_EQ(timeCode.format, tcf50);
    EXPECT_EQ(timeCode.ToString(false), "01:02:03:08");
    timeCode = CTimeCode(tcf50);
    timeCode.SetSerialTc(serial, false);
    EXPECT_EQ(timeCode.format, tcf25);
    EXPECT_EQ(timeCode.ToString(false), "01:02:03:04");
    // Only the frames are scaled.
    EXPECT_EQ(
        CTimeCode::FromSerialTc(tcf24, Serial(1, 2, 3, 24, 25000, 1000, 25, false)).ToString(false),
        "01:02:03:23");
}

TEST(CTimeCodeSerial, AnUnknownRateCountsNothing) {
    CTimeCode timeCode(tcf25);
    timeCode.SetSerialTc(Serial(1, 2, 3, 4, 12000, 1000, 12, false), true);
    EXPECT_EQ(timeCode.format, tcf25);
    EXPECT_EQ(timeCode.ToString(false), "01:02:03:00");
    timeCode.SetSerialTc(Serial(1, 2, 3, 4, 12000, 0, 12, false), false);
    EXPECT_EQ(timeCode.format, tcfNone);
    timeCode.SetSerialTc(Serial(1, 2, 3, 4, 0, 0, 0, false), true);
    EXPECT_EQ(timeCode.format, tcfNone);
    EXPECT_EQ(timeCode.ToString(false), "01:02:03:04");
}

TEST(CTimeCodeSerial, StructureHasTheFormatsRateAndTheSerialDigits) {
    const TimeCode serial = CTimeCode::FromNumbers(tcf5994Drop, 0, 1, 0, 4).ToSerialTc(false);
    EXPECT_EQ(serial.hours, 0);
    EXPECT_EQ(serial.minutes, 1);
    EXPECT_EQ(serial.seconds, 0);
    EXPECT_EQ(serial.frames, 2);
    EXPECT_EQ(serial.timeScale, 60000u);
    EXPECT_EQ(serial.duration, 1001u);
    EXPECT_EQ(serial.tps, 30);
    EXPECT_EQ(serial.dropFrame, 1);
}

TEST(CTimeCodeSerial, StructureOfAnInvalidValueIsEmpty) {
    const TimeCode serial = CTimeCode(tcfNone).ToSerialTc(true);
    EXPECT_EQ(serial.hours + serial.minutes + serial.seconds + serial.frames, 0);
    EXPECT_EQ(serial.timeScale, 0u);
    EXPECT_EQ(serial.duration, 0u);
    EXPECT_EQ(serial.tps, 0);
    EXPECT_EQ(serial.dropFrame, 0);
}

struct SerialRate {
    kvx_test::Counting format;
    kvx_test::Counting serial;
    uint32_t timeScale;
    uint32_t duration;
};

constexpr SerialRate kSerialRates[] = {
    {{tcf2398, 24, 0}, {tcf2398, 24, 0}, 24000, 1001},
    {{tcf24, 24, 0}, {tcf24, 24, 0}, 24000, 1000},
    {{tcf25, 25, 0}, {tcf25, 25, 0}, 25000, 1000},
    {{tcf2997, 30, 0}, {tcf2997, 30, 0}, 30000, 1001},
    {{tcf30, 30, 0}, {tcf30, 30, 0}, 30000, 1000},
    {{tcf50, 50, 0}, {tcf25, 25, 0}, 50000, 1000},
    {{tcf5994, 60, 0}, {tcf2997, 30, 0}, 60000, 1001},
    {{tcf60, 60, 0}, {tcf30, 30, 0}, 60000, 1000},
    {{tcf2997Drop, 30, 2}, {tcf2997Drop, 30, 2}, 30000, 1001},
    {{tcf5994Drop, 60, 4}, {tcf2997Drop, 30, 2}, 60000, 1001},
};

TEST(CTimeCodeSerial, EveryRateCountsItsSerialDigits) {
    for (const SerialRate& rate : kSerialRates) {
        SCOPED_TRACE(rate.format.format);
        const int serialDay = kvx_test::FramesInDay(rate.serial);
        for (const int frame : kvx_test::FramesOfInterest(rate.format, 9973)) {
            const CTimeCode timeCode = CTimeCode::FromFrame(rate.format.format, frame, tcfNone);
            for (const bool roundUp : {false, true}) {
                const long long count =
                    kvx_test::ConvertCount(frame, rate.format, rate.serial, roundUp);
                const TimeCode serial = timeCode.ToSerialTc(roundUp);
                // The structure does not wrap at the day.
                const kvx_test::Label label = kvx_test::LabelOf(rate.serial, count);
                ASSERT_EQ(serial.hours, label.hours) << frame;
                ASSERT_EQ(serial.minutes, label.minutes) << frame;
                ASSERT_EQ(serial.seconds, label.seconds) << frame;
                ASSERT_EQ(serial.frames, label.frames) << frame;
                ASSERT_EQ(serial.timeScale, rate.timeScale);
                ASSERT_EQ(serial.duration, rate.duration);
                ASSERT_EQ(serial.tps, rate.serial.tps);
                ASSERT_EQ(serial.dropFrame, rate.serial.dropped != 0);

                const kvx_test::Label wrapped = kvx_test::LabelOf(rate.serial, count % serialDay);
                const int digits[] = {wrapped.hours, wrapped.minutes, wrapped.seconds,
                                      wrapped.frames};
                unsigned int packed = 0;
                for (const int digit : digits) {
                    packed = packed << 8 | static_cast<unsigned int>(digit / 10 * 16 + digit % 10);
                }
                ASSERT_EQ(timeCode.ToSerialBCD(roundUp), packed) << frame;
            }
        }
    }
}

}  // namespace
