#include "cli/start_timecode.h"

#include "cli/frame_timecode.h"

namespace kvx_cli {

std::string StartTimecode(const kvx_hostkit::Clip& clip) {
    return ReadTimecodeStart(clip).text;
}

}  // namespace kvx_cli
