#pragma once

#include <string>
#include <utility>

namespace kvx_cli {

// How every subcommand ends.
enum ExitCode : int {
    kExitDone = 0,
    kExitRefused = 1,   // a movie can't be imported, or not all of what was asked could be had
    kExitUsage = 2,     // wrong usage; an output that is an input counts as such
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
