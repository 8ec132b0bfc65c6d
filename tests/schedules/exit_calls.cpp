// Keeps what the importer's static objects leave for the process's exit, so that a run can end as a
// process does.

#include "schedules/exit_calls.h"

#include <cstddef>

#include "schedules/scheduler.h"

namespace {

struct Handler {
    void (*function)(void*);
    void* argument;
};

// Filled before main() begins, and never in a run: objects of a run are gone with it.
constexpr size_t kMost = 256;
Handler sHandlers[kMost];
size_t sCount = 0;

}  // namespace

namespace kvx_schedules {

void RunExitHandlers() {
    for (size_t index = sCount; index-- > 0;) {
        sHandlers[index].function(sHandlers[index].argument);
    }
}

}  // namespace kvx_schedules

extern "C" {

int __real___cxa_atexit(void (*function)(void*), void* argument, void* module);

int __wrap___cxa_atexit(void (*function)(void*), void* argument, void* module) {
    if (kvx_schedules::gScheduler != nullptr) {
        return 0;
    }
    if (sCount < kMost) {
        sHandlers[sCount++] = {function, argument};
    }
    return __real___cxa_atexit(function, argument, module);
}

}  // extern "C"
