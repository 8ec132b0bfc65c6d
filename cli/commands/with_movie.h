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

// A movie that a subcommand works on, open.
struct MovieAtWork {
    const std::string& path;
    const std::string& name;  // what its outputs are called after, where there are many
    bool isOneOfMany;
    const kvx_hostkit::Clip& clip;
    const InputFiles& inputs;  // what must not be written over
    TimeLimit& limit;          // for calls that read
};

// How long a file may take to answer.
std::chrono::milliseconds Timeout(const Arguments& arguments);

// Opens the movies that were named, one after the other, and does `work` with each: the frame of
// the subcommands that work on movies through the importer. Answers the gravest of what `work`
// answers, of which that for several movies is the first of 3, 1 and 0. Of a movie that does not
// come to that it complains, and goes on.
int WithMovies(const Arguments& arguments, const std::function<int(const MovieAtWork&)>& work);

// Where --output leads: its place for one movie; for one of many, a file in the folder that is
// its place, called after the movie. The folder is made, and those between.
Problem FindOutput(const Arguments& arguments, const MovieAtWork& movie,
                   const std::string& extension, std::string& place);

// "MOVIE: WORDS" on standard output, for a movie of many that is done.
void TellDone(const Arguments& arguments, const MovieAtWork& movie, const std::string& words);

}  // namespace kvx_cli
