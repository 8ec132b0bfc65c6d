// The subcommands, each in a file of its own.
#pragma once

#include "cli/command_line/options.h"

namespace kvx_cli {

// How every subcommand ends.
enum ExitCode : int {
    kExitDone = 0,
    kExitRefused = 1,   // a movie is not importable, or could not be carried through
    kExitUsage = 2,     // the command line, or the installation, is not right
    kExitFailed = 3,    // a movie can't be read, an output can't be written, no module
    kExitWarnings = 4,  // imports, with warnings
};

// Each does what its subcommand was called for, and answers an ExitCode.
int RunInfo(const Arguments& arguments);
int RunCheck(const Arguments& arguments);
int RunTimecode(const Arguments& arguments);
int RunAudio(const Arguments& arguments);
int RunFrames(const Arguments& arguments);
int RunSheet(const Arguments& arguments);

}  // namespace kvx_cli
