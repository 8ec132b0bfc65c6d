#pragma once

#include <string>

#include "hostkit/clip.h"

namespace kvx_cli {

// The text of an open movie's start timecode, as in "01:00:00:00"; empty if it has none.
std::string StartTimecode(const kvx_hostkit::Clip& clip);

}  // namespace kvx_cli
