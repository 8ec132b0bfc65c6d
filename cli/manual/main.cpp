// Writes the manual pages and the completions into a folder that is there. Usage: kvx_manual FOLDER

#include <cstdio>
#include <fstream>
#include <string>

#include "cli/manual/texts.h"

namespace {

bool Write(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        std::fprintf(stderr, "kvx_manual: cannot write %s\n", path.c_str());
    }
    return !file.fail();
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kvx_cli;

    if (argc != 2) {
        std::fprintf(stderr, "usage: kvx_manual FOLDER\n");
        return 2;
    }
    const std::string folder = std::string(argv[1]) + "/";
    bool written = Write(folder + "kvx.1", ProgramPage(KVX_VERSION));
    for (const CommandInfo& command : CommandTable()) {
        written = Write(folder + "kvx-" + command.name + ".1", CommandPage(command, KVX_VERSION)) &&
                  written;
    }
    written = Write(folder + "kvx.bash", BashCompletion()) && written;
    written = Write(folder + "_kvx", ZshCompletion()) && written;
    written = Write(folder + "kvx.fish", FishCompletion()) && written;
    return written ? 0 : 1;
}
