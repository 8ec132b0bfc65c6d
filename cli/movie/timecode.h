#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "hostkit/clip.h"

namespace kvx_cli {

// A movie's start timecode and the rate that it counts in, as a fraction of a second a frame.
struct TimecodeStart {
    std::string text;  // as in "01:00:00:00"; empty if the movie has none
    int timeScale;
    int frameDuration;
};

TimecodeStart ReadTimecodeStart(const kvx_hostkit::Clip& clip);

// The timecode of a frame, counted from 0, of a video with frames of `frameDuration` units of which
// `timeScale` make a second. Empty without a start, or if one of the rates is none that timecodes
// count in.
std::string FrameTimecode(const TimecodeStart& start, int64_t frame, int timeScale,
                          int frameDuration);

// The samples of a sound of `rate` from midnight to the start. None without a start, or if it
// counts at no rate that timecodes count in.
std::optional<uint64_t> SamplesFromMidnight(const TimecodeStart& start, double rate);

// The first frame with that timecode, between 0 and `last`; -1 if there is none. The signs between
// the numbers do not count.
int64_t FindFrame(const TimecodeStart& start, const std::string& timecode, int64_t last,
                  int timeScale, int frameDuration);

}  // namespace kvx_cli
