#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace kvx_test {

// Numbers that are the same on every machine for one seed.
class Random {
  public:
    explicit Random(uint64_t seed) : mEngine(seed) {}

    // Any of `low` to `high`, both included.
    int64_t Pick(int64_t low, int64_t high) {
        const uint64_t width = static_cast<uint64_t>(high) - static_cast<uint64_t>(low) + 1;
        const uint64_t step = width == 0 ? mEngine() : mEngine() % width;
        return static_cast<int64_t>(static_cast<uint64_t>(low) + step);
    }

    bool OneIn(int64_t n) { return Pick(1, n) == 1; }

    template <typename Value>
    const Value& AnyOf(const std::vector<Value>& values) {
        return values[static_cast<size_t>(Pick(0, static_cast<int64_t>(values.size()) - 1))];
    }

  private:
    std::mt19937_64 mEngine;
};

}  // namespace kvx_test
