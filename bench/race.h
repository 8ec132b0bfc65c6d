// Things that do the same work, timed side by side.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace kvx_bench {

struct Contender {
    std::string mName;
    std::function<bool()> mRun;              // one turn; false when it failed
    std::function<void()> mClean = nullptr;  // after each turn, and not timed
};

// Every iteration gives each contender one turn, in an order that is drawn anew: what else the
// machine does meanwhile falls on all alike. Turns are timed in the time that the calling thread
// ran. The iteration's time is the first contender's. Counters, of medians: `ms` of the first, and
// for each other one, under its name, its time over the first's.
void Race(benchmark::State& state, const std::vector<Contender>& contenders);

}  // namespace kvx_bench
