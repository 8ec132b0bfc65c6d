// Buffers of read requests that several threads take and give back at once, while clips are opened
// and closed.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "pipeline/read_buffers.h"

namespace {

using KVX::ReadBuffers;

constexpr int kThreads = 4;
constexpr int kRounds = 2000;

TEST(ReadBuffersRace, ABufferIsInOneHandAtATime) {
    std::atomic<int> spoilt{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&, index] {
            for (int round = 0; round < kRounds; ++round) {
                const ReadBuffers::Keeper keeper;
                const size_t size = ReadBuffers::kLeastSize << (round + index) % 3;
                const ReadBuffers::Buffer buffer = ReadBuffers::Allocate(size);
                // A word at both ends: the whole would take a thread checker minutes.
                std::memset(buffer.memory, index, 64);
                std::memset(buffer.memory + size - 64, index, 64);
                std::this_thread::yield();
                const auto isMine = [=](char byte) { return byte == index; };
                if (!std::all_of(buffer.memory, buffer.memory + 64, isMine) ||
                    !std::all_of(buffer.memory + size - 64, buffer.memory + size, isMine)) {
                    ++spoilt;
                }
                ReadBuffers::Free(buffer);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(spoilt, 0);
}

}  // namespace
