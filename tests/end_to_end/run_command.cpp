#include "end_to_end/run_command.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>

#include "end_to_end/built_paths.h"

namespace kvx_test {

CommandRun RunCommand(const std::string& arguments) {
    const char* const module = std::getenv("KVX_TEST_MODULE");
    std::string line =
        std::string("exec 2>&1; cd '") + kMediaFolder + "' && '" + kBuiltCommand + "' ";
    if (module != nullptr && arguments.find("--module") == std::string::npos) {
        line += std::string("--module '") + module + "' ";
    }
    line += arguments;
    std::FILE* pipe = popen(line.c_str(), "r");
    CommandRun run = {};
    char block[1 << 16];
    while (const size_t got = std::fread(block, 1, sizeof block, pipe)) {
        run.output.append(block, got);
    }
    const int status = pclose(pipe);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

}  // namespace kvx_test
