#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/output/exit_code.h"

namespace kvx_cli {

// A stretch of a movie's frames, counted from 0.
struct FrameRange {
    int64_t first;
    int64_t end;  // the frame after the last
};

// The first frame with a timecode; -1 if there is none. A problem if nothing can have one.
using FindTimecode = std::function<Problem(const std::string& timecode, int64_t& frame)>;

// Reads ranges with commas between them: "A:B", the frames from A up to but without B, or the same
// by timecodes, "01:00:00:00..01:00:10:00". Either end may be left out. An empty text means all of
// the `count` frames. A problem, unless the text has that form and each range names at least one
// frame and none that the movie does not have.
Problem ReadFrameRanges(const std::string& text, int64_t count, const FindTimecode& find,
                        std::vector<FrameRange>& ranges);

// The numbers of their frames, of each range the first and every one `step` further on. In the
// order of the ranges; what is in several of them comes with the first.
std::vector<int64_t> FramesOf(const std::vector<FrameRange>& ranges, int64_t step);

}  // namespace kvx_cli
