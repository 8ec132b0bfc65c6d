// The registry, as host threads open and close files at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "core/indexed.h"

namespace {

using KVX::Core::Indexed;

constexpr long kFirstIndex = 0x7000000000000000;

TEST(IndexedThreads, EachFindsItsOwn) {
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    for (long thread = 0; thread < 4; ++thread) {
        threads.emplace_back([index = kFirstIndex + thread, &faults] {
            for (int round = 0; round < 1000; ++round) {
                {
                    Indexed<long> object(index);
                    faults += object.Init() != 0;
                    faults += Indexed<long>::GetInstanceForIndex(index) != &object;
                }
                faults += Indexed<long>::GetInstanceForIndex(index) != nullptr;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(faults, 0);
}

}  // namespace
