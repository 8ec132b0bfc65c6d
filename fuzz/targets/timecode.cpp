// Timecodes as people type them, in every format and from every base.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/support/byte_feed.h"
#include "fuzz/support/require.h"
#include "timecode/ctimecode.h"
#include "timecode/serial_timecode.h"
#include "timecode/timecode_format.h"

using namespace kvx_fuzz;
using namespace KVX::Util;

namespace {

TimeCodeFormat Format(ByteFeed& feed) {
    return feed.AnyOf<TimeCodeFormat>({tcf2398, tcf24, tcf25, tcf2997, tcf30, tcf50, tcf5994, tcf60,
                                       tcf2997Drop, tcf5994Drop, tcfNone});
}

// What is true of every timecode that counts.
void RequireInDay(const CTimeCode& timeCode) {
    Require(timeCode.hours < 24 && timeCode.minutes < 60 && timeCode.seconds < 60);
    Require(timeCode.frames < timeCode.tps(false));
    const int frame = timeCode.ToFrame(timeCode.format, false);
    Require(frame >= 0 &&
            CTimeCode::FromFrame(timeCode.format, frame, timeCode.format) == timeCode);
    Require(CTimeCode::FromStr(timeCode.format, timeCode.ToString(false)) == timeCode);
    Require(timeCode.ToString(false).size() == 11);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteFeed feed(data, size);
    const TimeCodeFormat format = Format(feed);
    const TimeCodeFormat other = Format(feed);
    const auto bcd = static_cast<unsigned int>(feed.Pick(0, 0xFFFFFFFF));
    const int64_t number = feed.Pick(INT64_MIN, INT64_MAX);
    const std::string text = feed.Bytes(feed.Left());

    CTimeCode timeCode = CTimeCode::FromFrame(format, number, format);
    CTimeCode typed = timeCode;
    if (typed.RelativeTCToAbsoluteTC(text) && format != tcfNone) {
        RequireInDay(typed);
    }
    int frame = 0;
    timeCode.RelativeTCToAbsoluteTC(timeCode, text, frame);
    if (format != tcfNone) {
        RequireInDay(timeCode);
    }

    // A frame number of another rate may lie days ahead.
    CTimeCode::FromFrame(format, number, other).ToFrame(other, true);
    // Digits need not make sense: a device or a text may say anything.
    const CTimeCode fromBCD = CTimeCode::FromSerialBCD(format, bcd);
    const CTimeCode fromText = CTimeCode::FromStr(other, text);
    fromBCD.CompareTimeCodes(fromText, true);
    fromText.CalculateDuration(fromBCD, true);
    fromBCD.CalculateOutTimeCode(fromText, true, false);
    timeCode.Add(fromText, false);
    timeCode.Subtract(fromBCD, true);
    timeCode.ToSerialTc(true);
    TimeCode serial = {};
    ConvertStringToTimeCode(text.c_str(), &serial);
    char string[12];
    ConvertTimeCodeToString(&serial, string);
    return 0;
}
