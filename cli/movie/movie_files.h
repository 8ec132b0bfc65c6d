// Which movies a command works on: those that are named, those in folders, those of a list.
#pragma once

#include <string>
#include <vector>

#include "cli/command_line/options.h"
#include "cli/output/exit_code.h"

namespace kvx_cli {

struct MovieFile {
    std::string path;
    // What its outputs are called after: the path below the folder that it was found in, the last
    // part of the path of one that was named; without the extension. May be empty.
    std::string name;
};

struct MovieFiles {
    std::vector<MovieFile> files;
    bool areMany = false;  // one alone was not what was asked for, however many there are
    Problem problem;       // nothing can be done: the list can't be read
    // kExitFailed if a folder can't be read, which has been reported.
    ExitCode code = kExitDone;
};

// The movies of the command line in the order in which they are named, then those of the list. With
// --recursive a folder means the movies in it and in its subfolders, each folder in the
// order of its names: files in .mov and .qt, in capitals or not, whose names begin with no dot.
// Links to files are followed, those to folders only where they are named.
MovieFiles FindMovies(const Arguments& arguments);

}  // namespace kvx_cli
