#pragma once

#include <string>

#include "cli/movie/movie_facts.h"
#include "inspect/findings.h"

namespace kvx_cli {

// What `kvx check` prints of a movie: a line that sums up, one line for each finding, and what the
// importer says if it refuses. Where finding and importer disagree, a line says that too.
std::string CheckReport(const MovieFacts& facts);

// One finding: severity, code, track, words, remedy. "  warning  truncated  track 1 (video 0): ..."
std::string FindingLine(const kvx_inspect::Report& report, const kvx_inspect::Finding& finding);

// "track 2 (sound 0)", as `kvx info` numbers streams; "movie" for the whole.
std::string TrackName(const kvx_inspect::Report& report, int track);

// What is wrong where the importer and the findings do not say the same; empty where they do.
std::string Disagreement(const MovieFacts& facts);

}  // namespace kvx_cli
