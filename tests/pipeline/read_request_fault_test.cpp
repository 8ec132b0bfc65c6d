// Requests whose calls of the system fail while they are made: in which order the calls come, what
// is answered and logged, and that nothing is handed out.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "pipeline/read_request.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadRequest;
using kvx_test::CallCount;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

class ReadRequestFault : public testing::Test {
  protected:
    // Of a file of 20000 bytes, unless told otherwise.
    long Create(int descriptor = 1000, long long offset = 5000, char* buffer = nullptr,
                long long bufferSize = 0) {
        mRequest = reinterpret_cast<ReadRequest*>(8);
        return ReadRequest::Create(descriptor, 20000, offset, 100, nullptr, nullptr, buffer,
                                   bufferSize, mRequest);
    }

    void ExpectRefused(const std::string& lines) {
        EXPECT_EQ(mRequest, nullptr);
        EXPECT_EQ(mLog.Text(), lines);
    }

    LogCapture mLog;
    ReadRequest* mRequest = nullptr;
};

TEST_F(ReadRequestFault, NoMemoryForTheRequest) {
    const Fault fault(SystemCall::kNewNothrow, ENOMEM);
    EXPECT_EQ(Create(), 12);
    ExpectRefused("Create: Failed to allocate a new ReadRequest object\n");
}

// The lock comes before everything else, a descriptor that cannot be among it.
TEST_F(ReadRequestFault, NoLock) {
    const Fault fault(SystemCall::kMutexInit, 11);
    EXPECT_EQ(Create(0), 11);
    ExpectRefused(
        "Init: pthread_mutex_init returned 11\n"
        "Init: Lockable::Init returned 11\n"
        "Create: ReadRequest::Init returned 11\n");
}

// The range is looked at before the latch, and the client's buffer after it.
TEST_F(ReadRequestFault, NoLatch) {
    char buffer[1];
    {
        const Fault fault(SystemCall::kCondInit, 11);
        EXPECT_EQ(Create(1000, 5000, buffer, 1), 11);
    }
    ExpectRefused(
        "Init: pthread_cond_init returned 11\n"
        "Init: Event::Init returned 11\n"
        "Create: ReadRequest::Init returned 11\n");
    const Fault fault(SystemCall::kCondInit, 11);
    EXPECT_EQ(Create(1000, 19901), 28);
    EXPECT_EQ(fault.Hits(), 0);
}

TEST_F(ReadRequestFault, NoLockForTheLatch) {
    const Fault fault(SystemCall::kMutexInit, 11, 2);
    EXPECT_EQ(Create(), 11);
    ExpectRefused(
        "Init: pthread_mutex_init returned 11\n"
        "Init: Lockable::Init returned 11\n"
        "Init: Event::Init returned 11\n"
        "Create: ReadRequest::Init returned 11\n");
}

TEST_F(ReadRequestFault, NoMemoryForTheBuffer) {
    const Fault fault(SystemCall::kValloc, ENOMEM);
    EXPECT_EQ(Create(), 12);
    ExpectRefused(
        "Init: valloc failed\n"
        "Create: ReadRequest::Init returned 12\n");
}

// What was made of a refused request goes with it: its lock, and its latch if it had one.
TEST_F(ReadRequestFault, NothingIsLeftOfARefusedRequest) {
    char buffer[1];
    for (const bool hasLatch : {false, true}) {
        const long mutexes = CallCount(SystemCall::kMutexDestroy);
        const long conditions = CallCount(SystemCall::kCondDestroy);
        if (hasLatch) {
            EXPECT_EQ(Create(1000, 5000, buffer, 1), 27);
        } else {
            EXPECT_EQ(Create(0), 22);
        }
        EXPECT_EQ(CallCount(SystemCall::kMutexDestroy), mutexes + (hasLatch ? 2 : 1));
        EXPECT_EQ(CallCount(SystemCall::kCondDestroy), conditions + (hasLatch ? 1 : 0));
    }
}

// A client's buffer needs no memory of the request's.
TEST_F(ReadRequestFault, AClientsBufferAsksForNone) {
    char buffer[4096];
    const long before = CallCount(SystemCall::kValloc);
    ASSERT_EQ(Create(1000, 5000, buffer, sizeof buffer), 0);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before);
    EXPECT_EQ(mRequest->Release(), 0);
    EXPECT_EQ(mLog.Raw(), "");
}

}  // namespace
