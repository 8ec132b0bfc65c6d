#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/output/exit_code.h"

namespace kvx_cli {

// A stretch of a movie's frames, counted from 0.
struct FrameRange {
    int64_t first;
    int64_t end;  // the frame behind the last
};

// Reads "A:B", the frames from A up to but without B; either number may be left out. An empty text
// means all of the `count` frames. A problem, unless the text has that form and names at least one
// frame and none that the movie does not have.
Problem ReadFrameRange(const std::string& text, int64_t count, FrameRange& range);

// The numbers of its frames.
std::vector<int64_t> FramesOf(FrameRange range);

}  // namespace kvx_cli
