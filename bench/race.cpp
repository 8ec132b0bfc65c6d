#include "race.h"

#include <time.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace kvx_bench {

namespace {

double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void Clean(const Contender& contender) {
    if (contender.mClean) {
        contender.mClean();
    }
}

}  // namespace

void Race(benchmark::State& state, const std::vector<Contender>& contenders) {
    std::vector<std::vector<double>> seconds(contenders.size());
    std::vector<size_t> order(contenders.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::mt19937 draw(1);
    // What a first turn does once does not count.
    for (const Contender& contender : contenders) {
        if (!contender.mRun()) {
            state.SkipWithError((contender.mName + " failed").c_str());
            return;
        }
        Clean(contender);
    }
    for (auto _ : state) {
        std::shuffle(order.begin(), order.end(), draw);
        for (const size_t which : order) {
            const double start = ThreadSeconds();
            contenders[which].mRun();
            seconds[which].push_back(ThreadSeconds() - start);
            Clean(contenders[which]);
        }
        state.SetIterationTime(seconds[0].back());
    }
    const double first = Median(seconds[0]);
    state.counters["ms"] = 1e3 * first;
    for (size_t i = 1; i < contenders.size(); ++i) {
        state.counters[contenders[i].mName] = Median(seconds[i]) / first;
    }
}

}  // namespace kvx_bench
