#pragma once

#include <chrono>
#include <thread>

namespace kvx_test {

// Waits for what other threads bring about. False if it does not come.
template <typename Condition>
bool Eventually(Condition holds) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}

}  // namespace kvx_test
