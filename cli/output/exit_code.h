#pragma once

#include <string>
#include <utility>

namespace kvx_cli {

// How every subcommand ends.
enum ExitCode : int {
    kExitDone = 0,
    kExitRefused = 1,   // a movie can't be imported, or part of what was requested is not available
    kExitUsage = 2,     // usage error, including an output that is also an input
    kExitFailed = 3,    // a movie can't be read, an output can't be written, no module
    kExitWarnings = 4,  // imports, with warnings
};

// What went wrong, in words for people, and how the program ends for it; nothing by default.
struct Problem {
    ExitCode code = kExitDone;
    std::string words;

    Problem() = default;
    Problem(ExitCode exitCode, std::string text) : code(exitCode), words(std::move(text)) {}

    explicit operator bool() const { return code != kExitDone; }
};

// The exit code of two pieces of work, such as two movies: the graver of the two.
ExitCode Graver(ExitCode one, ExitCode other);

}  // namespace kvx_cli
