#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cli/command_line/options.h"
#include "cli/movie/session.h"
#include "cli/movie/time_limit.h"
#include "cli/output/input_files.h"
#include "hostkit/clip.h"

namespace kvx_cli {

// A movie that a subcommand works on.
struct NamedMovie {
    const std::string& path;
    const std::string& name;  // what its outputs are called after, where there are many
    bool isOneOfMany;
    InputFiles& inputs;  // what must not be written over
};

// The same, opened by the importer.
struct MovieAtWork : NamedMovie {
    const kvx_hostkit::Clip& clip;
    TimeLimit& limit;  // for calls that read
};

// How long to wait for a file: `--timeout`.
std::chrono::milliseconds Timeout(const Arguments& arguments);

// Does `work` with the movies that were named, one after the other: the frame of the subcommands
// that have an output for each. Returns the gravest of what `work` returns, which for several
// movies is the first of 3, 1 and 0.
int ForEachMovie(const Arguments& arguments, const std::function<int(const NamedMovie&)>& work);

// The same through the importer, which opens each. Complains of a movie that it does not open, and
// goes on.
int WithMovies(const Arguments& arguments, const std::function<int(const MovieAtWork&)>& work);

// Where --output leads: its place for one movie; for one of many, a file in the folder that is
// its place, called after the movie. The folder is made, and those between.
Problem FindOutput(const Arguments& arguments, const NamedMovie& movie,
                   const std::string& extension, std::string& place);

// "MOVIE: WORDS" on standard output, for a movie of many that is done.
void PrintDone(const Arguments& arguments, const NamedMovie& movie, const std::string& words);

}  // namespace kvx_cli
