#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <new>

#include "cli/command_line/parse.h"
#include "cli/movie/time_limit.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/unfinished_files.h"

namespace {

// If the program is started with one of these closed, no movie may be opened in its place,
// and has to learn that nothing can be written there.
void OccupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // Each takes the lowest that is free. Nothing can be written to this one, nor be read.
            const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            if (open("/dev/null", flags) != descriptor) {
                _exit(kvx_cli::kExitFailed);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kvx_cli;

    OccupyStandardDescriptors();
    KeepStandardError();
    // A pipe whose reader has gone is reported like a full disk.
    std::signal(SIGPIPE, SIG_IGN);

    int exitCode = kExitDone;
    if (const auto invocation = ParseCommandLine(argc, argv, exitCode)) {
        EndTidilyOnSignals();
        if (invocation->arguments.Has(OptionId::kQuiet)) {
            ProgressBar::DrawNone();
        }
        try {
            exitCode = invocation->command->run(invocation->arguments);
        } catch (const std::bad_alloc&) {
            // What was not finished has been removed on the way here.
            exitCode = Complain(kExitFailed, "there is not enough memory");
        }
    }
    exitCode = CloseStandardOutput(exitCode);
    if (TimeLimit::HasLeftThreadBehind()) {
        EndAtOnce(exitCode);
    }
    return exitCode;
}
