#pragma once

#include <string>
#include <vector>

#include "schedules/scheduler.h"
#include "schedules/stage.h"

namespace kvx_schedules {

// A short play of the host, to be run in every order. Its body begins where a process does.
struct Scenario {
    const char* name;
    const char* story;
    void (*body)(const Movies& movies);
    unsigned failures = 0;
    unsigned wakeUps = 0;
    int threadsAlike = 2;
};

const std::vector<Scenario>& Scenarios();

// Each file's part of the list.
std::vector<Scenario> FrameScenarios();
std::vector<Scenario> RequestScenarios();
std::vector<Scenario> EndScenarios();

}  // namespace kvx_schedules
