// A track that is read by its tables and not through the importer.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "cli/movie/time_limit.h"
#include "cli/output/exit_code.h"
#include "cli/output/input_files.h"
#include "inspect/report.h"

namespace kvx_cli {

// Examines a movie. Null on failure; `problem` then says why.
std::shared_ptr<const kvx_inspect::Report> LookAtMovie(TimeLimit& limit, const std::string& path,
                                                       Problem& problem);

// The movie and the files of its media, which must not be written over.
void AddInputs(const kvx_inspect::Report& report, InputFiles& inputs);
InputFiles InputsOf(const kvx_inspect::Report& report);

// The track of a kind with an index. Null, with a problem of kExitRefused, if there is none whose
// samples can be found.
const kvx_inspect::TrackFacts* FindTrack(const kvx_inspect::Report& report,
                                         kvx_inspect::TrackKind kind, size_t index,
                                         Problem& problem);

// Opens the file with the track's media. -1 on failure, with a problem.
int OpenMedia(const kvx_inspect::TrackFacts& track, Problem& problem);

// The words of what is missing at the end of a file that was cut off; empty if nothing is.
std::string MissingWords(const kvx_inspect::Report& report, const kvx_inspect::TrackFacts& track);

}  // namespace kvx_cli
