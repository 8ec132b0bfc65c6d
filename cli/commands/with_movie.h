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

// One movie that a subcommand works on, open.
struct MovieAtWork {
    const std::string& path;
    const kvx_hostkit::Clip& clip;
    const InputFiles& inputs;  // what must not be written over
    TimeLimit& limit;          // for calls that read
};

// How long a file may take to answer.
std::chrono::milliseconds Timeout(const Arguments& arguments);

// Opens the movie that was named and does `work` with it: the frame of every subcommand that works
// on one movie. Answers what `work` answers; if it does not come to that, complains and answers
// why.
int WithMovie(const Arguments& arguments, const std::function<int(const MovieAtWork&)>& work);

}  // namespace kvx_cli
