#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "cli/movie/time_limit.h"
#include "inspect/report.h"

namespace kvx_cli {

// What a look into the file says of one track that the importer does not: its calls deliver silence
// where the file has ended, and nothing of a timecode that it does not count.
struct TrackLook {
    bool isThere = false;
    std::optional<int64_t> firstMissing;  // sample of the timeline whose bytes are not in the file
    std::string missing;                  // in words what is missing; empty: nothing
    std::string timecode;                 // in words what is wrong with a timecode track
};

// Looks at the track of that kind with that index. Nothing of a file that does not respond.
TrackLook LookAtTrack(TimeLimit& limit, const std::string& path, kvx_inspect::TrackKind kind,
                      size_t index);

}  // namespace kvx_cli
