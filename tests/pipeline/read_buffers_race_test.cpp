// Buffers of read requests that several threads take and give back at once, while clips are opened
// and closed.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <set>
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

// More than the system is kept from, of which two threads use some: what lies unused is offered to
// the system meanwhile, and the keeper goes when that has begun.
TEST(ReadBuffersRace, ABufferThatIsOfferedIsInNobodysHand) {
    constexpr size_t kSize = 16 << 20;
    constexpr std::chrono::milliseconds kLongerThanARest(1100);
    std::atomic<int> spoilt{0};
    for (int round = 0; round < 2; ++round) {
        const ReadBuffers::Keeper keeper;
        std::vector<ReadBuffers::Buffer> buffers;
        for (int count = 0; count < 11; ++count) {
            buffers.push_back(ReadBuffers::Allocate(kSize));
        }
        for (const ReadBuffers::Buffer& buffer : buffers) {
            ReadBuffers::Free(buffer);
        }
        const auto end = std::chrono::steady_clock::now() + kLongerThanARest;
        std::vector<std::thread> threads;
        for (char index = 1; index <= 2; ++index) {
            threads.emplace_back([&spoilt, index, end] {
                while (std::chrono::steady_clock::now() < end) {
                    const ReadBuffers::Buffer first = ReadBuffers::Allocate(kSize);
                    const ReadBuffers::Buffer second = ReadBuffers::Allocate(kSize);
                    for (char* memory : {first.memory, second.memory}) {
                        memory[0] = memory[kSize - 1] = index;
                    }
                    std::this_thread::yield();
                    for (const char* memory : {first.memory, second.memory}) {
                        spoilt += memory[0] == index && memory[kSize - 1] == index ? 0 : 1;
                    }
                    ReadBuffers::Free(first);
                    ReadBuffers::Free(second);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        // All that are kept, and some more.
        std::set<const char*> places;
        std::vector<ReadBuffers::Buffer> taken;
        for (int count = 0; count < 20; ++count) {
            taken.push_back(ReadBuffers::Allocate(kSize));
            ASSERT_TRUE(places.insert(taken.back().memory).second) << count;
        }
        for (const ReadBuffers::Buffer& buffer : taken) {
            ReadBuffers::Free(buffer);
        }
    }
    EXPECT_EQ(spoilt, 0);
}

}  // namespace
