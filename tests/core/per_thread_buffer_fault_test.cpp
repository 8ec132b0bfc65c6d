// The ring without memory and without keys. Each line is the whole answer: no other part of the
// program takes these failures further.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "core/per_thread_buffer.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::Core::GetPerThreadBuffer;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

struct Answer {
    const char* piece;
    std::string log;
    std::string thread;
};

// The first request of a new thread while `call` fails.
Answer FirstRequest(SystemCall call, int error, int nth = 1) {
    Answer answer;
    LogCapture log;
    std::thread([&] {
        char self[32];
        std::snprintf(self, sizeof(self), "%p", reinterpret_cast<void*>(pthread_self()));
        answer.thread = self;
        const Fault fault(call, error, nth);
        answer.piece = GetPerThreadBuffer(10);
    }).join();
    answer.log = log.Raw();
    return answer;
}

TEST(PerThreadBufferFault, NoMemoryForTheRing) {
    const Answer answer = FirstRequest(SystemCall::kMalloc, 12);
    EXPECT_EQ(answer.piece, nullptr);
    EXPECT_EQ(answer.log, "Failed to allocate 2048 byte buffer for thread " + answer.thread + "\n");
}

TEST(PerThreadBufferFault, NoMemoryForTheOffset) {
    const Answer answer = FirstRequest(SystemCall::kCalloc, 12);
    EXPECT_EQ(answer.piece, nullptr);
    EXPECT_EQ(answer.log,
              "Failed to allocate 8 byte offset buffer for thread " + answer.thread + "\n");
}

TEST(PerThreadBufferFault, NoPlaceForTheRingOrTheOffset) {
    for (const int nth : {1, 2}) {
        const Answer answer = FirstRequest(SystemCall::kSetspecific, 12, nth);
        EXPECT_EQ(answer.piece, nullptr);
        EXPECT_EQ(answer.log, "pthread_setspecific returned 12\n");
    }
}

TEST(PerThreadBufferFault, NoOneTimeSetUp) {
    const Answer answer = FirstRequest(SystemCall::kOnce, 22);
    EXPECT_EQ(answer.piece, nullptr);
    EXPECT_NE(answer.log.find("]: pthread_once returned 22\n"), std::string::npos);
    EXPECT_NE(answer.log.find("\nOnce::Call returned 22\n"), std::string::npos);
}

TEST(PerThreadBufferFault, ThreadRecoversWhenTheSystemDoes) {
    std::thread([] {
        LogCapture log;
        {
            const Fault fault(SystemCall::kMalloc, 12);
            EXPECT_EQ(GetPerThreadBuffer(10), nullptr);
        }
        {
            const Fault fault(SystemCall::kCalloc, 12);
            EXPECT_EQ(GetPerThreadBuffer(10), nullptr);
        }
        const char* piece = GetPerThreadBuffer(10);
        ASSERT_NE(piece, nullptr);
        EXPECT_EQ(GetPerThreadBuffer(10), piece + 10);
    }).join();
}

TEST(PerThreadBufferFault, NothingIsAllocatedAfterTheFirstCall) {
    std::thread([] {
        GetPerThreadBuffer(10);
        const Fault noMalloc(SystemCall::kMalloc, 12, 1, 1000);
        const Fault noCalloc(SystemCall::kCalloc, 12, 1, 1000);
        for (int round = 0; round < 100; ++round) {
            GetPerThreadBuffer(100);
        }
        EXPECT_EQ(noMalloc.Hits(), 0);
        EXPECT_EQ(noCalloc.Hits(), 0);
    }).join();
}

// The keys are made once in a process, so these tests have one each.
class PerThreadBufferKeysDeathTest : public testing::TestWithParam<int> {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_P(PerThreadBufferKeysDeathTest, KeyThatWasNotMadeGivesNoPieces) {
    EXPECT_EXIT(
        {
            {
                const Fault fault(SystemCall::kKeyCreate, 11, GetParam());
                KVX::Core::sUtilPrinterOnce.Call();
            }
            const bool none = GetPerThreadBuffer(10) == nullptr;
            std::_Exit(none && GetPerThreadBuffer(10) == nullptr ? 0 : 1);
        },
        testing::ExitedWithCode(0),
        "^pthread_key_create returned 11\npthread_setspecific returned 22\n"
        "pthread_setspecific returned 22\n$");
}

INSTANTIATE_TEST_SUITE_P(EachKey, PerThreadBufferKeysDeathTest, testing::Values(1, 2));

TEST(PerThreadBufferKeyDeathTest, BothKeysAreTriedWhateverTheFirstAnswers) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const Fault fault(SystemCall::kKeyCreate, 11, 1, 2);
            KVX::Core::sUtilPrinterOnce.Call();
            std::_Exit(fault.Hits() == 2 ? 0 : 1);
        },
        testing::ExitedWithCode(0),
        "^pthread_key_create returned 11\npthread_key_create returned 11\n$");
}

}  // namespace
