#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "premiere/import_records.h"

namespace kvx_cli {

// What `kvx info --json` prints of one movie; docs/kvx_info_json.md lists the members. The
// arguments are those of MovieReport; empty texts are left out.
nlohmann::ordered_json MovieJson(const std::string& path,
                                 const std::vector<imFileInfoRec8>& streams,
                                 const std::vector<PrPixelFormat>& pixelFormats,
                                 const std::string& timecode, const std::string& refusal);

}  // namespace kvx_cli
