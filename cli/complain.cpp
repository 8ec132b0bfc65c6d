#include "cli/complain.h"

#include <cstdio>

namespace kvx_cli {

int Complain(int exitCode, const std::string& subject, const std::string& problem) {
    std::fprintf(stderr, "kvx: %s: %s\n", subject.c_str(), problem.c_str());
    return exitCode;
}

}  // namespace kvx_cli
