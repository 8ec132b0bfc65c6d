#pragma once

#include <string>

namespace kvx_test {

struct CommandRun {
    std::string output;
    int exitCode;  // -1 if it did not exit by itself
};

// Runs `kvx arguments` in the folder of the movies, by way of the shell. The output is that of both
// standard output and standard error, unless `arguments` lead them elsewhere.
CommandRun RunCommand(const std::string& arguments);

}  // namespace kvx_test
