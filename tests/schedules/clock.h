// Which events of other threads a thread can know of.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace kvx_schedules {

// A vector clock: for each thread, how many of its steps have happened before.
class VectorClock {
  public:
    static constexpr size_t kThreads = 64;

    uint32_t& operator[](int thread) { return mSteps[static_cast<size_t>(thread) % kThreads]; }
    uint32_t operator[](int thread) const { return mSteps[static_cast<size_t>(thread) % kThreads]; }

    void Join(const VectorClock& other) {
        for (size_t thread = 0; thread < kThreads; ++thread) {
            mSteps[thread] = std::max(mSteps[thread], other.mSteps[thread]);
        }
    }

    // Whether everything that `other` knows of is known here.
    bool Covers(const VectorClock& other) const {
        for (size_t thread = 0; thread < kThreads; ++thread) {
            if (other.mSteps[thread] > mSteps[thread]) {
                return false;
            }
        }
        return true;
    }

  private:
    std::array<uint32_t, kThreads> mSteps{};
};

}  // namespace kvx_schedules
