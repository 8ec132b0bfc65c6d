#pragma once

#include <atomic>
#include <thread>

namespace kvx_test {

// What a request told at its end, and how often.
struct Completion {
    static void Run(void* userData, long status, void* arg) {
        auto* completion = static_cast<Completion*>(userData);
        completion->status = status;
        completion->arg = arg;
        completion->thread = std::this_thread::get_id();
        ++completion->calls;
    }

    std::atomic<int> calls{0};
    long status = -1;
    void* arg = nullptr;
    std::thread::id thread;
};

}  // namespace kvx_test
