#include "cli/output/complain.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "cli/output/progress_bar.h"
#include "cli/output/text.h"

namespace kvx_cli {

namespace {

int gStandardError = -1;

}  // namespace

ExitCode Graver(ExitCode one, ExitCode other) {
    constexpr std::array<ExitCode, 5> kGravest = {kExitUsage, kExitFailed, kExitRefused,
                                                  kExitWarnings, kExitDone};
    return *std::find_if(kGravest.begin(), kGravest.end(),
                         [=](ExitCode each) { return each == one || each == other; });
}

void KeepStandardError() {
    gStandardError = dup(STDERR_FILENO);
}

int Complain(int exitCode, const std::string& words) {
    const std::string line = "kvx: " + Printable(words) + "\n";
    ProgressBar::Wipe();
    std::fflush(stderr);
    const int descriptor = gStandardError != -1 ? gStandardError : STDERR_FILENO;
    for (size_t written = 0; written < line.size();) {
        const ssize_t count = write(descriptor, line.data() + written, line.size() - written);
        if (count <= 0) {
            break;  // there is nowhere to report it
        }
        written += static_cast<size_t>(count);
    }
    return exitCode;
}

int Complain(int exitCode, const std::string& subject, const std::string& words) {
    return Complain(exitCode, subject + ": " + words);
}

int Complain(const std::string& subject, const Problem& problem) {
    return Complain(problem.code, subject, problem.words);
}

}  // namespace kvx_cli
