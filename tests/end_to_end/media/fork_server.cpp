// Preloaded into a program that takes long to be linked, so that this is done once for many runs of
// it: whenever the program is called its main function is run in a fork of the linked process.
//
// A call comes by standard input: the folder to run in, the file for what the program prints, and
// its argument list, each ended by a zero byte, and one more zero byte after the last. The answer,
// on standard output, is the exit status in decimal, 128 and more for a signal, on a line.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Main = int (*)(int, char**, char**);

Main programMain;

// False at the end of the input.
bool ReadWord(std::string& word) {
    word.clear();
    int c = std::getchar();
    for (; c != EOF && c != 0; c = std::getchar()) {
        word.push_back(static_cast<char>(c));
    }
    return c != EOF;
}

// Empty when no further call comes.
std::vector<std::string> ReadCall() {
    std::vector<std::string> call;
    std::string word;
    while (ReadWord(word)) {
        if (word.empty()) {
            return call;
        }
        call.push_back(word);
    }
    return {};
}

[[noreturn]] void RunProgram(std::vector<std::string>& call, char** environment) {
    if (!std::freopen("/dev/null", "r", stdin) || !std::freopen(call[1].c_str(), "w", stdout) ||
        dup2(STDOUT_FILENO, STDERR_FILENO) < 0 || chdir(call[0].c_str()) != 0) {
        std::perror(call[0].c_str());
        _exit(EXIT_FAILURE);
    }
    std::vector<char*> arguments;
    for (size_t word = 2; word < call.size(); ++word) {
        arguments.push_back(call[word].data());
    }
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    std::exit(programMain(count, arguments.data(), environment));
}

int Serve(int, char**, char** environment) {
    for (auto call = ReadCall(); call.size() > 2; call = ReadCall()) {
        const pid_t child = fork();
        if (child == 0) {
            RunProgram(call, environment);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) < 0) {
            return EXIT_FAILURE;
        }
        std::printf("%d\n", WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}

}  // namespace

// What a program calls first, after its libraries are linked and initialized, to have its main
// function run.
extern "C" int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                                 void (*linkerFini)(), void* stackEnd) {
    programMain = main;
    const auto start =
        reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(Serve, argc, argv, init, fini, linkerFini, stackEnd);
}
