#include "platform/system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

namespace {

TEST(System, AtomicAddAnswersTheNewValue) {
    volatile int32_t value = 1;
    EXPECT_EQ(OSAtomicAdd32Barrier(1, &value), 2);
    EXPECT_EQ(OSAtomicAdd32Barrier(-2, &value), 0);
    EXPECT_EQ(OSAtomicAdd32Barrier(-1, &value), -1);
    EXPECT_EQ(value, -1);
    value = INT_MAX;
    EXPECT_EQ(OSAtomicAdd32Barrier(1, &value), INT_MIN);
}

TEST(System, AtomicAddLosesNothingAndLetsOneThreadSeeTheEnd) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    volatile int32_t value = kThreads * kRounds;
    volatile int32_t zerosSeen = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                if (OSAtomicAdd32Barrier(-1, &value) == 0) {
                    OSAtomicAdd32Barrier(1, &zerosSeen);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(value, 0);
    EXPECT_EQ(zerosSeen, 1);
}

TEST(System, UncachedReadsStillReadAtAnyAlignment) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const int descriptor = fileno(file);
    ASSERT_EQ(pwrite(descriptor, "0123456789", 10, 0), 10);
    EXPECT_EQ(KVX::Platform::RequestUncachedReads(descriptor), 0);
    char bytes[3] = {};
    EXPECT_EQ(pread(descriptor, bytes, 3, 5), 3);
    EXPECT_EQ(std::string(bytes, 3), "567");
    std::fclose(file);
}

TEST(System, UncachedReadsOfAPipeAreNoFailure) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EQ(KVX::Platform::RequestUncachedReads(ends[0]), 0);
    close(ends[0]);
    close(ends[1]);
}

TEST(System, UncachedReadsOfNoFileFail) {
    EXPECT_EQ(KVX::Platform::RequestUncachedReads(-1), EBADF);
}

TEST(System, ProcessorCountIsTheKernels) {
    int32_t count = 0;
    ASSERT_EQ(KVX::Platform::GetLogicalProcessorCount(count), 0);
    EXPECT_GE(count, 1);
    std::ifstream online("/sys/devices/system/cpu/online");
    if (!online) {
        GTEST_SKIP() << "the kernel's list of processors cannot be read here";
    }
    // Ranges as in "0-3,6".
    int32_t listed = 0;
    for (int first = 0; online >> first;) {
        int last = first;
        if (online.peek() == '-') {
            online.get();
            online >> last;
        }
        listed += last - first + 1;
        online.get();
    }
    EXPECT_EQ(count, listed);
}

}  // namespace
