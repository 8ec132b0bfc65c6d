// The forms in which a timecode travels: text, packed decimal, a device's digits, typed distances.
// Every label of two hours and those at all turns of the day, in every format.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "support/sanitizers.h"
#include "timecode/counting_model.h"
#include "timecode/ctimecode.h"
#include "timecode/serial_timecode.h"

namespace {

using namespace KVX::Util;
using kvx_test::Counting;
using kvx_test::Label;

struct Moment {
    int frame;
    Label label;
};

// Every frame of the first and of the tenth hour, and many others.
std::vector<Moment> Moments(const Counting& counting) {
    std::vector<Moment> moments;
    const int hour = kvx_test::FramesInHour(counting);
    // A sanitizer sees as much in two minutes as in an hour.
    const bool few = kvx_test::IsUnderSanitizer();
    const int span = few ? hour / 30 : hour;
    for (const int start : {0, 9 * hour}) {
        Label label = kvx_test::LabelOf(counting, start);
        for (int frame = start; frame < start + span; ++frame) {
            moments.push_back({frame, label});
            label.Advance(counting);
        }
    }
    for (const int frame : kvx_test::FramesOfInterest(counting, few ? 4999 : 499)) {
        moments.push_back({frame, kvx_test::LabelOf(counting, frame)});
    }
    return moments;
}

std::string TextOf(const Label& label, char lastSeparator) {
    std::string text;
    const int fields[] = {label.hours, label.minutes, label.seconds, label.frames};
    const char separators[] = {':', ':', lastSeparator};
    for (int field = 0; field < 4; ++field) {
        text += static_cast<char>('0' + fields[field] / 10);
        text += static_cast<char>('0' + fields[field] % 10);
        if (field < 3) {
            text += separators[field];
        }
    }
    return text;
}

unsigned int PackedOf(const Label& label) {
    unsigned int packed = 0;
    for (const int field : {label.hours, label.minutes, label.seconds, label.frames}) {
        packed = packed * 256 + static_cast<unsigned int>(field / 10 * 16 + field % 10);
    }
    return packed;
}

template <typename Digits>
bool HasLabel(const Digits& digits, const Label& label) {
    return digits.hours == label.hours && digits.minutes == label.minutes &&
           digits.seconds == label.seconds && digits.frames == label.frames;
}

CTimeCode TimeCodeOf(const Counting& counting, const Label& label) {
    CTimeCode timeCode(counting.format);
    timeCode.hours = static_cast<uint8_t>(label.hours);
    timeCode.minutes = static_cast<uint8_t>(label.minutes);
    timeCode.seconds = static_cast<uint8_t>(label.seconds);
    timeCode.frames = static_cast<uint8_t>(label.frames);
    return timeCode;
}

class EveryLabelTest : public testing::TestWithParam<Counting> {};

TEST_P(EveryLabelTest, GoesToTextAndBack) {
    const Counting& counting = GetParam();
    const char separator = counting.dropped != 0 ? ';' : ':';
    TimeCode serial = {};
    serial.tps = static_cast<uint8_t>(counting.tps);
    serial.dropFrame = counting.dropped != 0;
    for (const Moment& moment : Moments(counting)) {
        const std::string text = TextOf(moment.label, separator);
        const std::string colons = TextOf(moment.label, ':');
        const CTimeCode timeCode = CTimeCode::FromFrame(counting.format, moment.frame, tcfNone);
        char serialText[12];
        ConvertStringToTimeCode(colons.c_str(), &serial);
        ConvertTimeCodeToString(&serial, serialText);
        if (timeCode.ToString(false) != text || timeCode.ToString(true) != colons ||
            !HasLabel(CTimeCode::FromStr(counting.format, text), moment.label) ||
            CTimeCode::FromStr(counting.format, colons).ToFrame(counting.format, false) !=
                moment.frame ||
            !HasLabel(serial, moment.label) || serialText != text) {
            FAIL() << text;
        }
    }
}

TEST_P(EveryLabelTest, GoesToPackedDecimalAndBack) {
    const Counting& counting = GetParam();
    TimeCode serial = {};
    for (const Moment& moment : Moments(counting)) {
        const unsigned int packed = PackedOf(moment.label);
        ConvertFrameCountBCDToTimeCode(packed, &serial);
        if (TimeCodeOf(counting, moment.label).ToBCD() != packed ||
            !HasLabel(CTimeCode::FromBCD(counting.format, packed), moment.label) ||
            !HasLabel(serial, moment.label) || ConvertTimeCodeToFrameCountBCD(&serial) != packed) {
            FAIL() << TextOf(moment.label, ':');
        }
    }
}

TEST_P(EveryLabelTest, FromADevicesPackedDecimalHasTwiceItsFramesAtHighRates) {
    const Counting& counting = GetParam();
    const bool isHigh = counting.tps > 30;
    for (const Moment& moment : Moments(counting)) {
        Label device = moment.label;
        Label expected = moment.label;
        if (isHigh) {
            device.frames /= 2;
            // The digits are taken for this format's own, and moved where those are left out.
            const bool isLeftOut =
                device.minutes % 10 != 0 && device.seconds == 0 && device.frames < counting.dropped;
            expected.frames = 2 * (device.frames + (isLeftOut ? counting.dropped : 0));
        }
        if (!HasLabel(CTimeCode::FromSerialBCD(counting.format, PackedOf(device)), expected)) {
            FAIL() << TextOf(device, ':');
        }
    }
}

// A device counts at most thirty frames a second: of a high rate every other one.
TEST_P(EveryLabelTest, GoesToADeviceAndBack) {
    const Counting& counting = GetParam();
    const int ratio = counting.tps > 30 ? 2 : 1;
    const Counting atDevice = {counting.format, counting.tps / ratio, counting.dropped / ratio};
    for (const Moment& moment : Moments(counting)) {
        const TimeCode device = TimeCodeOf(counting, moment.label).ToSerialTc(false);
        const Label atDeviceLabel = kvx_test::LabelOf(atDevice, moment.frame / ratio);
        if (!HasLabel(device, atDeviceLabel) || device.tps != atDevice.tps ||
            (device.dropFrame != 0) != (counting.dropped != 0)) {
            FAIL() << TextOf(moment.label, ':') << " as "
                   << TextOf({device.hours, device.minutes, device.seconds, device.frames}, ':');
        }
        // What comes back are the device's digits, of which only the frames count differently.
        Label expected = atDeviceLabel;
        expected.frames *= ratio;
        const CTimeCode back = CTimeCode::FromSerialTc(counting.format, device);
        if (!HasLabel(back, expected) || back.format != counting.format) {
            FAIL() << TextOf(moment.label, ':');
        }
    }
}

// Distances from everywhere to everywhere, round the clock in both directions.
TEST_P(EveryLabelTest, IsReachedByTypedDistances) {
    const Counting& counting = GetParam();
    const int day = kvx_test::FramesInDay(counting);
    TimeCode serial = {};
    serial.tps = static_cast<uint8_t>(counting.tps);
    serial.dropFrame = counting.dropped != 0;
    // The structure counts sixty frames with drop in the cycle of thirty: digits to count alone.
    const bool serialCounts = counting.dropped <= 2;
    const std::vector<int> distances = kvx_test::FramesOfInterest(counting, 99991);
    size_t next = 0;
    for (const int base : kvx_test::FramesOfInterest(counting, 1999)) {
        const int distance = distances[next];
        next = (next + 17) % distances.size();
        const Label baseLabel = kvx_test::LabelOf(counting, base);
        const std::string text = TextOf(kvx_test::LabelOf(counting, distance), ';');
        const struct {
            std::string text;
            int expected;
        } rows[] = {{text, distance},
                    {"+" + text, (base + distance) % day},
                    {"-" + text, (base - distance + day) % day}};
        for (const auto& row : rows) {
            CTimeCode timeCode = TimeCodeOf(counting, baseLabel);
            int frame = -1;
            if (!CTimeCode(tcfNone).RelativeTCToAbsoluteTC(timeCode, row.text, frame) ||
                frame != row.expected || !timeCode.RelativeTCToAbsoluteTC(row.text) ||
                !HasLabel(timeCode, kvx_test::LabelOf(counting, row.expected))) {
                FAIL() << TextOf(baseLabel, ';') << " " << row.text << " gives " << frame;
            }
            if (serialCounts) {
                ConvertStringToTimeCode(TextOf(baseLabel, ':').c_str(), &serial);
                if (!relativeTCToAbsoluteTC(serial, row.text, frame) || frame != row.expected) {
                    FAIL() << TextOf(baseLabel, ';') << " " << row.text << " gives " << frame;
                }
            }
        }
    }
}

TEST_P(EveryLabelTest, IsBeforeOrAfterTheDaysStartByTheShorterWay) {
    const Counting& counting = GetParam();
    const int day = kvx_test::FramesInDay(counting);
    const CTimeCode start(counting.format);
    for (const Moment& moment : Moments(counting)) {
        const CTimeCode timeCode = TimeCodeOf(counting, moment.label);
        const int expected = moment.frame * 2LL > day ? -moment.frame : moment.frame;
        if (timeCode.CompareTimeCodes(start, true) != expected ||
            start.CompareTimeCodes(timeCode, true) != -expected) {
            FAIL() << TextOf(moment.label, ':');
        }
    }
}

// All labels that a day has: those that drop-frame leaves out never turn up.
TEST_P(EveryLabelTest, ThatIsLeftOutNeverTurnsUp) {
    const Counting& counting = GetParam();
    std::set<std::string> seen;
    const int day = kvx_test::FramesInDay(counting);
    // Left out are labels at the start of a minute alone, so that a look at those frames will do.
    for (int frame = 0; frame < day; ++frame) {
        const CTimeCode timeCode = CTimeCode::FromFrame(counting.format, frame, tcfNone);
        if (timeCode.seconds == 0 && timeCode.frames < 4) {
            seen.insert(timeCode.ToString(true));
        }
    }
    for (int minute = 0; minute < 24 * 60; ++minute) {
        for (int frame = 0; frame < 4; ++frame) {
            const bool isLeftOut = minute % 10 != 0 && frame < counting.dropped;
            const std::string text = TextOf({minute / 60, minute % 60, 0, frame}, ':');
            ASSERT_EQ(seen.count(text), isLeftOut ? 0u : 1u) << text;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, EveryLabelTest, testing::ValuesIn(kvx_test::kCountings),
                         [](const testing::TestParamInfo<Counting>& info) {
                             return "Format" + std::to_string(info.param.format);
                         });

}  // namespace
