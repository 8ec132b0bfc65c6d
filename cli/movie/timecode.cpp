#include "cli/movie/timecode.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "hostkit/record_block.h"
#include "timecode/ctimecode.h"
#include "timecode/timecode_format.h"

namespace kvx_cli {

using KVX::Util::CTimeCode;
using KVX::Util::TimeCodeFormat;

namespace {

constexpr char kDropFrame = ';';
constexpr int kUnknownCount = -1;

std::string Digits(std::string text) {
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c < '0' || c > '9'; }),
               text.end());
    return text;
}

TimeCodeFormat FormatOf(int timeScale, int frameDuration, bool drop) {
    if (timeScale < 1 || frameDuration < 1) {
        return KVX::Util::tcfNone;
    }
    return KVX::Util::tcfFromDuration(frameDuration, timeScale, drop, kUnknownCount);
}

}  // namespace

TimecodeStart ReadTimecodeStart(const kvx_hostkit::Clip& clip) {
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    if (clip.GetTimeInfo(info.Get()) != imNoErr) {
        return {};
    }
    return {{info->originalTime, strnlen(info->originalTime, sizeof(info->originalTime))},
            info->originalScale,
            info->originalSampleSize};
}

std::string FrameTimecode(const TimecodeStart& start, int64_t frame, int timeScale,
                          int frameDuration) {
    const bool drop = start.text.find(kDropFrame) != std::string::npos;
    const TimeCodeFormat counter = FormatOf(start.timeScale, start.frameDuration, drop);
    const TimeCodeFormat video = FormatOf(timeScale, frameDuration, drop);
    if (start.text.empty() || counter == KVX::Util::tcfNone || video == KVX::Util::tcfNone) {
        return {};
    }
    // Labels return after a day, at any rate.
    const auto inDay =
        static_cast<int>(frame % CTimeCode::LargestFrameCountBeforeTimeCodeWraps(video));
    const int64_t first = CTimeCode::FromStr(counter, start.text).ToFrame(counter, false);
    const int count = KVX::Util::tcfConvertFrameCount(inDay, video, counter, false);
    std::string text = CTimeCode::FromFrame(counter, first + count, counter).ToString(false);
    if (drop) {
        // As the importer writes the start: the sign of drop-frame in all places.
        std::replace(text.begin(), text.end(), ':', kDropFrame);
    }
    return text;
}

std::optional<uint64_t> SamplesFromMidnight(const TimecodeStart& start, double rate) {
    const bool drop = start.text.find(kDropFrame) != std::string::npos;
    const TimeCodeFormat counter = FormatOf(start.timeScale, start.frameDuration, drop);
    if (start.text.empty() || counter == KVX::Util::tcfNone) {
        return std::nullopt;
    }
    const auto frame =
        static_cast<double>(CTimeCode::FromStr(counter, start.text).ToFrame(counter, false));
    return static_cast<uint64_t>(
        std::llround(frame * start.frameDuration * rate / start.timeScale));
}

int64_t FindFrame(const TimecodeStart& start, const std::string& timecode, int64_t last,
                  int timeScale, int frameDuration) {
    const bool drop = start.text.find(kDropFrame) != std::string::npos;
    const TimeCodeFormat counter = FormatOf(start.timeScale, start.frameDuration, drop);
    const TimeCodeFormat video = FormatOf(timeScale, frameDuration, drop);
    if (start.text.empty() || counter == KVX::Util::tcfNone || video == KVX::Util::tcfNone) {
        return -1;
    }
    const int first = CTimeCode::FromStr(counter, start.text).ToFrame(counter, false);
    int count = CTimeCode::FromStr(counter, timecode).ToFrame(counter, false) - first;
    if (count < 0) {
        count += static_cast<int>(CTimeCode::LargestFrameCountBeforeTimeCodeWraps(counter));
    }
    // Where the rates differ, a label belongs to several frames, or the frame is off by one.
    constexpr int64_t kNear = 4;
    const int64_t guess = KVX::Util::tcfConvertFrameCount(count, counter, video, false);
    for (int64_t frame = std::max<int64_t>(guess - kNear, 0);
         frame <= std::min(guess + kNear, last); ++frame) {
        if (Digits(FrameTimecode(start, frame, timeScale, frameDuration)) == Digits(timecode)) {
            return frame;
        }
    }
    return -1;
}

}  // namespace kvx_cli
