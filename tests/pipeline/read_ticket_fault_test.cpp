// Tickets whose calls of the system fail: what is answered and logged, and what becomes of the
// request and its completion.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "pipeline/completion.h"
#include "pipeline/patterned_file.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadRequest;
using KVX::ReadTicket;
using kvx_test::Completion;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::PatternedFile;
using kvx_test::Reference;
using kvx_test::SystemCall;

const std::string kLockFailed = "Lock: pthread_mutex_lock returned 35\nLock: Lock returned 35\n";
const std::string kLatchFailed =
    kLockFailed + "Broadcast: Lock returned 35\nMarkComplete: Event::Broadcast returned 35\n";
const std::string kUnlockFailed =
    "Unlock: pthread_mutex_unlock returned 1\n~Lock: Unlock returned 1\n";

class ReadTicketFault : public testing::Test {
  protected:
    ReadTicketFault() { Make(); }

    void Make() {
        ReadRequest* request = nullptr;
        EXPECT_EQ(ReadRequest::Create(mFile.Descriptor(), mFile.Size(), 5000, 100, &Completion::Run,
                                      &mCompletion, nullptr, 0, request),
                  0);
        mRequest.reset(request);
    }

    long Take() {
        auto* ticket = reinterpret_cast<ReadTicket*>(8);
        bool last = false;
        const long status = mRequest->GetReadTicket(ticket, last);
        mTicket.reset(ticket);
        if (status == 0) {
            EXPECT_TRUE(last);
        }
        return status;
    }

    void ExpectCompletedWith(long status) {
        EXPECT_EQ(mCompletion.calls, 1);
        EXPECT_EQ(mCompletion.status, status);
        EXPECT_EQ(mCompletion.arg, nullptr);
        EXPECT_EQ(mRequest->mCompletionStatus, status);
    }

    std::string Address() {
        char address[32];
        std::snprintf(address, sizeof address, "%p", static_cast<void*>(mRequest.get()));
        return address;
    }

    const PatternedFile mFile{20000};
    Completion mCompletion;
    Reference<ReadRequest> mRequest;
    std::unique_ptr<ReadTicket> mTicket;
    LogCapture mLog;
};

TEST_F(ReadTicketFault, TakenWithoutTheLock) {
    const Fault fault(SystemCall::kMutexLock, 35);
    EXPECT_EQ(Take(), 35);
    EXPECT_EQ(mTicket, nullptr);
    EXPECT_EQ(mLog.Text(), kLockFailed + "GetReadTicket: Lock returned 35\n");
    ExpectCompletedWith(35);
}

TEST_F(ReadTicketFault, TakenWithoutMemory) {
    char line[200];
    std::snprintf(line, sizeof line,
                  "GetReadTicket: Failed to allocate new ReadTicket for buf %p, size 4096, "
                  "offset 4096\n",
                  static_cast<void*>(mRequest->mBuffer));
    const Fault fault(SystemCall::kNewNothrow, ENOMEM);
    EXPECT_EQ(Take(), 12);
    EXPECT_EQ(mTicket, nullptr);
    EXPECT_EQ(mLog.Text(), line);
    ExpectCompletedWith(12);
}

TEST_F(ReadTicketFault, TakenWhenTheLockIsNotGivenBack) {
    const Fault fault(SystemCall::kMutexUnlock, 1);
    EXPECT_EQ(Take(), 1);
    EXPECT_EQ(mTicket, nullptr);
    EXPECT_EQ(mLog.Text(), kUnlockFailed);
    ExpectCompletedWith(1);
    // The ticket that nobody took is not out.
    int told = 0;
    mRequest->NotifyWhenIdle([](void* userData) { ++*static_cast<int*>(userData); }, &told);
    EXPECT_EQ(told, 1);
    mRequest->Unlock();
}

// The status of the ticket is told, not that of the latch; nobody hears of the end.
TEST_F(ReadTicketFault, TakenWithNeitherLockNorLatch) {
    const Fault fault(SystemCall::kMutexLock, 35, 1, 2);
    EXPECT_EQ(Take(), 35);
    EXPECT_EQ(mLog.Text(), kLockFailed + "GetReadTicket: Lock returned 35\n" + kLatchFailed +
                               "GetReadTicket: MarkComplete returned 35\n");
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(mRequest->mCompletionStatus, 35);
}

class ReadError : public ReadTicketFault, public testing::WithParamInterface<int> {};

TEST_P(ReadError, IsTheStatusOfTheRequest) {
    ASSERT_EQ(Take(), 0);
    const std::string error = std::to_string(GetParam());
    const Fault fault(SystemCall::kPread, GetParam());
    EXPECT_EQ(mRequest->ExecuteReadTicket(mTicket.get()), GetParam());
    // Once, and not again.
    EXPECT_EQ(fault.Calls(), 1);
    EXPECT_EQ(mLog.Text(),
              "ExecuteReadTicket: pread returned " + error + " for request " + Address() + "\n");
    ExpectCompletedWith(GetParam());
    EXPECT_EQ(mRequest->mBytesRead, 0);
}

INSTANTIATE_TEST_SUITE_P(, ReadError, testing::Values(EIO, EINTR, EAGAIN, EBADF, ENXIO));

// A failure without an error number is a count like any other.
TEST_F(ReadTicketFault, ReadWithAFailureThatHasNoNumber) {
    ASSERT_EQ(Take(), 0);
    const Fault fault(SystemCall::kPread, 0);
    EXPECT_EQ(mRequest->ExecuteReadTicket(mTicket.get()), 0);
    EXPECT_EQ(mRequest->mBytesRead, -1);
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(ReadTicketFault, OfAnEndedRequestIsAnsweredWithoutTheLock) {
    ASSERT_EQ(Take(), 0);
    ASSERT_EQ(mRequest->Cancel(nullptr), 0);
    const Fault lock(SystemCall::kMutexLock, 35);
    const Fault read(SystemCall::kPread, EIO);
    const auto ticket = std::move(mTicket);
    EXPECT_EQ(Take(), 89);
    EXPECT_EQ(mRequest->ExecuteReadTicket(ticket.get()), 89);
    EXPECT_EQ(lock.Calls(), 0);
    EXPECT_EQ(read.Calls(), 0);
    EXPECT_EQ(mLog.Raw(), "");
}

// It may be a thousand bytes or all but one: the rest is not asked for, and nobody is told.
TEST_F(ReadTicketFault, ReadShort) {
    for (const int missing : {1, 3096, 4095}) {
        Make();
        ASSERT_EQ(Take(), 0);
        const Fault fault(SystemCall::kReadShort, -missing);
        EXPECT_EQ(mRequest->ExecuteReadTicket(mTicket.get()), 0);
        EXPECT_EQ(fault.Calls(), 1);
        EXPECT_EQ(mRequest->mBytesRead, 4096 - missing);
        EXPECT_EQ(mRequest->mCompletionStatus, 0);
        EXPECT_EQ(mCompletion.calls, 0);
    }
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(ReadTicketFault, CountedWithoutTheLock) {
    ASSERT_EQ(Take(), 0);
    const Fault fault(SystemCall::kMutexLock, 35);
    EXPECT_EQ(mRequest->ExecuteReadTicket(mTicket.get()), 35);
    EXPECT_EQ(mLog.Text(), kLockFailed + "ExecuteReadTicket: Lock returned 35\n");
    EXPECT_EQ(mRequest->mBytesRead, 0);
    ExpectCompletedWith(35);
}

TEST_F(ReadTicketFault, ReadWithAnErrorAndNoLatch) {
    ASSERT_EQ(Take(), 0);
    const Fault read(SystemCall::kPread, EIO);
    const Fault lock(SystemCall::kMutexLock, 35);
    EXPECT_EQ(mRequest->ExecuteReadTicket(mTicket.get()), 5);
    EXPECT_EQ(mLog.Text(), "ExecuteReadTicket: pread returned 5 for request " + Address() + "\n" +
                               kLatchFailed + "ExecuteReadTicket: MarkComplete returned 35\n");
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(mRequest->mCompletionStatus, 5);
}

// All bytes are there, and that is what the ticket tells.
TEST_F(ReadTicketFault, ReadWellAndNoLatch) {
    ASSERT_EQ(Take(), 0);
    const Fault fault(SystemCall::kMutexLock, 35, 2);
    EXPECT_EQ(mRequest->ExecuteReadTicket(mTicket.get()), 0);
    EXPECT_EQ(mLog.Text(), kLatchFailed + "ExecuteReadTicket: MarkComplete returned 35\n");
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(mRequest->mBytesRead, 4096);
}

// A latch that could not be locked is not set, so that the next end is the first.
TEST_F(ReadTicketFault, CompletionWithoutTheLatchIsLeftToTheNext) {
    {
        const Fault fault(SystemCall::kMutexLock, 35);
        EXPECT_EQ(mRequest->MarkComplete(7, nullptr), 35);
    }
    EXPECT_EQ(mLog.Text(), kLatchFailed);
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(mRequest->MarkComplete(0, nullptr), 0);
    ExpectCompletedWith(7);
}

// A latch that woke nobody is set: its completion is lost.
TEST_F(ReadTicketFault, CompletionThatWakesNobodyIsNotTold) {
    {
        const Fault fault(SystemCall::kCondBroadcast, 22);
        EXPECT_EQ(mRequest->Cancel(nullptr), 22);
    }
    EXPECT_EQ(mLog.Text(),
              "Broadcast: pthread_cond_broadcast returned 22\n"
              "MarkComplete: Event::Broadcast returned 22\n");
    EXPECT_EQ(mRequest->MarkComplete(0, nullptr), 0);
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(mRequest->mCompletionStatus, 89);
}

TEST_F(ReadTicketFault, WaitingThatFailsGivesNoStatus) {
    long status = 77;
    {
        const Fault fault(SystemCall::kCondWait, 22);
        EXPECT_EQ(mRequest->WaitForCompletion(status), 22);
    }
    EXPECT_EQ(status, 77);
    EXPECT_EQ(mLog.Text(),
              "Wait: pthread_cond_wait returned 22\n"
              "WaitForCompletion: Event::Wait returned 22\n");
}

}  // namespace
