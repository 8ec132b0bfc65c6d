#pragma once

#include <string>
#include <vector>

#include "premiere/import_records.h"

namespace kvx_cli {

// What `kvx info` prints of an importable movie: a block for the video and one for each sound
// stream. `streams` are the module's records in the order of their index, `pixelFormats` the
// formats that it offers the host for the video.
std::string MovieReport(const std::vector<imFileInfoRec8>& streams,
                        const std::vector<PrPixelFormat>& pixelFormats);

}  // namespace kvx_cli
