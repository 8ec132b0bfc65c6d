#include "core/per_thread_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "support/log_capture.h"

namespace {

using KVX::Core::GetPerThreadBuffer;
using kvx_test::LogCapture;

// A new thread has a new ring.
template <typename Function>
void OnAFreshThread(Function function) {
    std::thread(function).join();
}

TEST(PerThreadBuffer, WholeRingIsOnePiece) {
    OnAFreshThread([] {
        char* whole = GetPerThreadBuffer(2048);
        ASSERT_NE(whole, nullptr);
        std::memset(whole, 'x', 2048);
        EXPECT_EQ(GetPerThreadBuffer(1), whole);
        EXPECT_EQ(GetPerThreadBuffer(1), whole + 1);
    });
}

TEST(PerThreadBuffer, LargerPiecesAreRefused) {
    OnAFreshThread([] {
        LogCapture log;
        EXPECT_EQ(GetPerThreadBuffer(2049), nullptr);
        EXPECT_EQ(GetPerThreadBuffer(~0UL), nullptr);
        EXPECT_EQ(log.Raw(),
                  "Per-thread buffer of 2049 requested but limit is 2048\n"
                  "Per-thread buffer of 18446744073709551615 requested but limit is 2048\n");
    });
}

TEST(PerThreadBuffer, RefusalTakesNothing) {
    OnAFreshThread([] {
        LogCapture log;
        const char* first = GetPerThreadBuffer(10);
        GetPerThreadBuffer(2049);
        EXPECT_EQ(GetPerThreadBuffer(10), first + 10);
    });
}

TEST(PerThreadBuffer, PieceThatDoesNotFitStartsTheRingAfresh) {
    OnAFreshThread([] {
        const char* first = GetPerThreadBuffer(1000);
        EXPECT_EQ(GetPerThreadBuffer(1000), first + 1000);
        EXPECT_EQ(GetPerThreadBuffer(1000), first);
        EXPECT_EQ(GetPerThreadBuffer(1), first + 1000);
    });
}

TEST(PerThreadBuffer, LastPieceMayEndWithTheRing) {
    OnAFreshThread([] {
        const char* first = GetPerThreadBuffer(2000);
        EXPECT_EQ(GetPerThreadBuffer(48), first + 2000);
        EXPECT_EQ(GetPerThreadBuffer(0), first + 2048);
        EXPECT_EQ(GetPerThreadBuffer(1), first);
    });
}

TEST(PerThreadBuffer, ThreadsHaveRingsOfTheirOwn) {
    constexpr int kThreads = 8;
    std::vector<std::thread> threads;
    std::vector<int> faults(kThreads);
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([index, &fault = faults[static_cast<size_t>(index)]] {
            for (unsigned long round = 0; round < 3000; ++round) {
                const unsigned long size = 1 + round % 257;
                char* piece = GetPerThreadBuffer(size);
                std::memset(piece, 'a' + index, size);
                std::this_thread::yield();
                fault += std::count(piece, piece + size, 'a' + index) != static_cast<long>(size);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(faults, std::vector<int>(kThreads));
}

TEST(PerThreadBuffer, TwoLivingThreadsHaveDifferentRings) {
    OnAFreshThread([] {
        const char* mine = GetPerThreadBuffer(1);
        OnAFreshThread([mine] {
            const char* theirs = GetPerThreadBuffer(1);
            EXPECT_TRUE(theirs >= mine + 2048 || theirs + 2048 <= mine);
        });
    });
}

}  // namespace
