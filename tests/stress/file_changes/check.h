// What the program does when something is not as it must be: it says so and ends.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>

namespace kvx_stress {

constexpr std::chrono::seconds kPatience(60);

// The moment that is played, by which a failure can be played again.
extern int64_t gMoment;

[[noreturn]] void Fail(const std::string& what);

inline void Require(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

// Waits for what other threads bring about. False if it does not come.
template <typename Condition>
bool ComesTrue(Condition holds) {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    return true;
}

template <typename... Values>
std::string Format(const char* format, Values... values) {
    char text[400];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

}  // namespace kvx_stress
