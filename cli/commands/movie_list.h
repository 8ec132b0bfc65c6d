#pragma once

#include <functional>
#include <string>

#include "cli/command_line/options.h"
#include "cli/movie/movie_facts.h"

namespace kvx_cli {

// The frame of the commands that report on several movies: finds the facts of each and prints them,
// by `inWords` or, if asked for, as JSON. Returns the exit code that counts: that no movie can be
// read or printed before a refusal, that before warnings (if `countsWarnings`), those before
// nothing at all.
int ReportMovies(const Arguments& arguments, bool countsWarnings,
                 const std::function<std::string(const MovieFacts&)>& inWords);

}  // namespace kvx_cli
