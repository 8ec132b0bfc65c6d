#include "cli/command_line/parse.h"

int main(int argc, char** argv) {
    int exitCode = 0;
    const auto invocation = kvx_cli::ParseCommandLine(argc, argv, exitCode);
    return invocation ? invocation->command->run(invocation->arguments) : exitCode;
}
