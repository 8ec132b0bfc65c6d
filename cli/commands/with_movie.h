#pragma once

#include <functional>
#include <string>

#include "cli/commands/commands.h"
#include "hostkit/clip.h"

namespace kvx_cli {

// Opens the movie that was named and does `work` with it: the frame of every subcommand that works
// on one movie. Answers what `work` answers; if it does not come to that, complains and answers
// why.
int WithMovie(const Arguments& arguments, const std::function<int(const kvx_hostkit::Clip&)>& work);

// The same for a subcommand that makes the file `output` from the movie: refuses to write over it.
int WithMovieInto(const Arguments& arguments, const std::string& output,
                  const std::function<int(const kvx_hostkit::Clip&)>& work);

}  // namespace kvx_cli
