#pragma once

#include <optional>

#include "cli/command_line/options.h"

namespace kvx_cli {

struct Invocation {
    const CommandInfo* command;
    Arguments arguments;
};

// Reads the command line. Nothing if no command is to be run: what there is to say has been said
// then, and `exitCode` is what the program ends with.
std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv, int& exitCode);

}  // namespace kvx_cli
