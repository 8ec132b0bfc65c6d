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

}  // namespace kvx_cli
