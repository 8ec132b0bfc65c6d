// The two ends of a process that has the importer loaded.
//
//     kvx_process_life start [N]
//         N processes (1000 by default) in which 64 threads at once ask for the first frames, the
//         first printed name and the first table
//     kvx_process_life exit [N]
//         N processes (200 by default) that read frames and exit while the pools live, every other
//         one with frames on their way
//     kvx_process_life late [N]
//         N processes (200 by default) whose exit handlers still call the importer, also when its
//         own destructors have run, whose threads do, or whose host is gone before its frames'
//         threads have left it
//
// Returns 0 if each of them came to its end and, at the start, made one pool of each kind. The
// environment variable KVX_TEST_MODULE names another module than the one that was built.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "stress/process_life/application.h"
#include "stress/process_life/parts.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace kvx_process_life {

namespace {

constexpr unsigned kSecondsOfAProcess = 60;

struct Part {
    const char* end;  // of the process: what brings it on
    const char* name;
    std::function<void(const std::string& movie)> play;
};

const std::vector<Part>& Parts() {
    static const std::vector<Part> parts = {
        {"start", "rush", &Rush},
        {"exit", "read", [](const std::string& movie) { ReadAndLeave(movie, true); }},
        {"exit", "leave", [](const std::string& movie) { ReadAndLeave(movie, false); }},
        {"late", "late-first-frame", [](const std::string& movie) { LateCalls(movie, false); }},
        {"late", "late-in-flight", [](const std::string& movie) { LateCalls(movie, true); }},
        {"late", "brief-host", &BriefHost},
        {"late", "busy-threads", &BusyThreads},
    };
    return parts;
}

// Whether a further process plays its part and exits by itself. What it wrote to its log is shown
// when not.
bool Plays(const Part& part, const std::string& movie, const std::string& log) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(kSecondsOfAProcess);
        if (std::freopen(log.c_str(), "w", stderr) == nullptr) {
            std::_Exit(2);
        }
        execl("/proc/self/exe", "kvx_process_life", part.name, movie.c_str(), nullptr);
        std::_Exit(2);
    }
    int state = 0;
    if (child == -1 || waitpid(child, &state, 0) != child) {
        return false;
    }
    if (WIFEXITED(state) && WEXITSTATUS(state) == 0) {
        return true;
    }
    std::ifstream lines(log);
    std::printf("%s\n", std::string(std::istreambuf_iterator<char>(lines), {}).c_str());
    if (WIFSIGNALED(state)) {
        std::printf("process_life: ended by signal %d\n", WTERMSIG(state));
    }
    return false;
}

int PlayAll(const std::string& end, int count) {
    const kvx_test::TempDirectory directory;
    kvx_test::MovieRecipe recipe;
    recipe.tracks.push_back(
        kvx_test::VideoTrackRecipe({"r210", kWidth, kHeight, 30}, kRowBytes * kHeight, kThreads));
    const std::string movie = kvx_test::WriteMovie(directory, recipe);
    std::vector<Part> parts;
    for (const Part& part : Parts()) {
        if (part.end == end) {
            parts.push_back(part);
        }
    }
    for (int number = 0; number < count; ++number) {
        const Part& part = parts[static_cast<size_t>(number) % parts.size()];
        if (!Plays(part, movie, directory.File("log"))) {
            std::printf("process_life: %s, process %d of %d\n", part.name, number + 1, count);
            return 1;
        }
    }
    return 0;
}

}  // namespace

}  // namespace kvx_process_life

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "start" || what == "exit" || what == "late") {
        const int usual = what == "start" ? 1000 : 200;
        return kvx_process_life::PlayAll(what, argc > 2 ? std::atoi(argv[2]) : usual);
    }
    for (const kvx_process_life::Part& part : kvx_process_life::Parts()) {
        if (argc == 3 && what == part.name) {
            part.play(argv[2]);
            return 0;
        }
    }
    std::printf("kvx_process_life start|exit|late [N]\n");
    return 2;
}
