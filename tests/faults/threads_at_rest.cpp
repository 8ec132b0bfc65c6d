#include "faults/threads_at_rest.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace kvx_test {

namespace {

struct Look {
    bool allSleep = true;
    long switches = 0;  // how often threads have begun or ceased to run
};

void LookAtThread(const std::filesystem::path& path, Look* look) {
    std::ifstream file(path / "status");
    std::string word;
    while (file >> word) {
        if (word == "State:") {
            file >> word;
            look->allSleep = look->allSleep && word == "S";
        } else if (word == "voluntary_ctxt_switches:" || word == "nonvoluntary_ctxt_switches:") {
            long switches = 0;
            file >> switches;
            look->switches += switches;
        }
    }
}

Look LookAtOthers() {
    const std::string self = std::to_string(gettid());
    Look look;
    std::error_code gone;  // a thread may end between the list and the look
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        if (thread.path().filename() != self) {
            LookAtThread(thread.path(), &look);
        }
    }
    return look;
}

}  // namespace

void AwaitRest() {
    Look before = LookAtOthers();
    for (;;) {
        std::this_thread::sleep_for(std::chrono::microseconds(500));
        const Look now = LookAtOthers();
        if (before.allSleep && now.allSleep && before.switches == now.switches) {
            return;
        }
        before = now;
    }
}

}  // namespace kvx_test
