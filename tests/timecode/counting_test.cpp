// Every frame of 24 hours in every format, there and back.
#include <gtest/gtest.h>

#include "support/sanitizers.h"
#include "timecode/counting_model.h"
#include "timecode/ctimecode.h"
#include "timecode/serial_timecode.h"

namespace {

using namespace KVX::Util;
using kvx_test::Counting;
using kvx_test::Label;

class CountingTest : public testing::TestWithParam<Counting> {};

// No expectation macro runs in the loops: millions of frames pass through them.
template <typename Digits>
bool HasLabel(const Digits& digits, const Label& label) {
    return digits.hours == label.hours && digits.minutes == label.minutes &&
           digits.seconds == label.seconds && digits.frames == label.frames;
}

TEST_P(CountingTest, EveryFrameOfADayHasItsLabelAndComesBack) {
    const Counting& counting = GetParam();
    // Of the hours, which are alike, a sanitizer sees as much in one.
    const int hours = kvx_test::IsUnderSanitizer() ? 1 : 24;
    Label label;
    CTimeCode timeCode(counting.format);
    for (int frame = 0; frame < hours * kvx_test::FramesInHour(counting); ++frame) {
        timeCode.Set(counting.format, frame, false);
        if (!HasLabel(timeCode, label)) {
            FAIL() << "frame " << frame << " gives " << timeCode.ToString(false);
        }
        if (timeCode.ToFrame(counting.format, false) != frame) {
            FAIL() << timeCode.ToString(false) << " does not come back to " << frame;
        }
        label.Advance(counting);
    }
    EXPECT_EQ(label.hours, hours);
    EXPECT_EQ(label.minutes + label.seconds + label.frames, 0);
    EXPECT_EQ(CTimeCode::LargestFrameCountBeforeTimeCodeWraps(counting.format),
              kvx_test::FramesInDay(counting));
}

// The label that numbers or text name, for all labels that exist and all that do not.
TEST_P(CountingTest, EveryLabelOfTheFirstHoursIsAFrameOrMovesToOne) {
    const Counting& counting = GetParam();
    for (int minute = 0; minute < 120; ++minute) {
        for (int second = 0; second < 60; second += second < 2 ? 1 : 19) {
            for (int frame = 0; frame < counting.tps; ++frame) {
                const bool leftOut = minute % 10 != 0 && second == 0 && frame < counting.dropped;
                const Label expected = {minute / 60, minute % 60, second,
                                        frame + (leftOut ? counting.dropped : 0)};
                const auto hours = static_cast<unsigned int>(minute / 60);
                const auto minutes = static_cast<unsigned int>(minute % 60);
                const CTimeCode timeCode = CTimeCode::FromNumbers(counting.format, hours, minutes,
                                                                  static_cast<unsigned int>(second),
                                                                  static_cast<unsigned int>(frame));
                ASSERT_TRUE(HasLabel(timeCode, expected)) << timeCode.ToString(false);
                CTimeCode named(counting.format);
                named.hours = static_cast<uint8_t>(hours);
                named.minutes = static_cast<uint8_t>(minutes);
                named.seconds = static_cast<uint8_t>(second);
                named.frames = static_cast<uint8_t>(frame);
                ASSERT_TRUE(
                    HasLabel(CTimeCode::FromStr(counting.format, named.ToString(false)), expected));
                ASSERT_TRUE(HasLabel(CTimeCode::FromBCD(counting.format, named.ToBCD()), expected));
            }
        }
    }
}

TEST_P(CountingTest, ConversionKeepsTheMoment) {
    const Counting& from = GetParam();
    for (const Counting& to : kvx_test::kCountings) {
        SCOPED_TRACE(testing::Message() << "to " << to.format);
        const int day = kvx_test::FramesInDay(to);
        for (const int frame : kvx_test::FramesOfInterest(from, 9973)) {
            const CTimeCode source = CTimeCode::FromFrame(from.format, frame, tcfNone);
            for (const bool roundUp : {false, true}) {
                const long long count = kvx_test::ConvertCount(frame, from, to, roundUp);
                if (source.ToFrame(to.format, roundUp) != count ||
                    !HasLabel(CTimeCode::FromTc(to.format, source, true, roundUp),
                              kvx_test::LabelOf(to, count % day))) {
                    FAIL() << source.ToString(false) << (roundUp ? " up" : " down");
                }
            }
        }
    }
}

TEST_P(CountingTest, FrameNumbersOfAnotherRateWrapFirstAndConvertThen) {
    const Counting& from = GetParam();
    for (const Counting& to : kvx_test::kCountings) {
        SCOPED_TRACE(testing::Message() << "to " << to.format);
        const int day = kvx_test::FramesInDay(to);
        for (const long long frame : kvx_test::FramesOfInterest(from, 9973)) {
            for (const long long moved : {frame, frame - 2 * day, frame + 5LL * day}) {
                const long long wrapped = (moved % day + day) % day;
                const Label expected =
                    kvx_test::LabelOf(to, kvx_test::ConvertCount(wrapped, from, to, false));
                const CTimeCode timeCode = CTimeCode::FromFrame(to.format, moved, from.format);
                if (!HasLabel(timeCode, expected)) {
                    FAIL() << moved << " gives " << timeCode.ToString(false);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, CountingTest, testing::ValuesIn(kvx_test::kCountings),
                         [](const testing::TestParamInfo<Counting>& info) {
                             return "Format" + std::to_string(info.param.format);
                         });

// The rates that a serial device counts in.
class SerialCountingTest : public testing::TestWithParam<Counting> {};

TEST_P(SerialCountingTest, EveryFrameOfADayHasItsLabelAndComesBack) {
    const Counting& counting = GetParam();
    TimeCode timeCode = {};
    timeCode.tps = static_cast<uint8_t>(counting.tps);
    timeCode.dropFrame = counting.dropped != 0;
    const int day = kvx_test::FramesInDay(counting);
    Label label;
    for (int frame = 0; frame < day; ++frame) {
        ConvertFrameCountToTimeCode(static_cast<unsigned int>(frame), &timeCode);
        if (!HasLabel(timeCode, label) || ConvertTimeCodeToFrameCount(&timeCode) != frame) {
            FAIL() << "frame " << frame;
        }
        label.Advance(counting);
    }
    EXPECT_EQ(LargestFrameCountBeforeTimeCodeWraps(&timeCode), day);
}

INSTANTIATE_TEST_SUITE_P(SerialRates, SerialCountingTest,
                         testing::Values(Counting{tcf24, 24, 0}, Counting{tcf25, 25, 0},
                                         Counting{tcf30, 30, 0}, Counting{tcf2997Drop, 30, 2}),
                         [](const testing::TestParamInfo<Counting>& info) {
                             return "Format" + std::to_string(info.param.format);
                         });

}  // namespace
