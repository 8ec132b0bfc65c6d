#include "cli/output/complain.h"

#include <cstdio>

namespace kvx_cli {

int Complain(int exitCode, const std::string& problem) {
    std::fprintf(stderr, "kvx: %s\n", problem.c_str());
    return exitCode;
}

int Complain(int exitCode, const std::string& subject, const std::string& problem) {
    return Complain(exitCode, subject + ": " + problem);
}

}  // namespace kvx_cli
