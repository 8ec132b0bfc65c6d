// The read pool while its calls of the system fail: what is answered and logged, and where the
// references are.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <thread>

#include "pipeline/completion.h"
#include "pipeline/patterned_file.h"
#include "pipeline/read_controller.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadController;
using KVX::ReadRequest;
using KVX::ReadTicket;
using kvx_test::CallCount;
using kvx_test::Completion;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::PatternedFile;
using kvx_test::Reference;
using kvx_test::SystemCall;

const std::string kLockFailed = "Lock: pthread_mutex_lock returned 35\nLock: Lock returned 35\n";

// Without threads, so that the test itself does their work.
class StillPool : public ReadController {
  public:
    StillPool() { EXPECT_EQ(Threaded::Init(0), 22); }

    bool IsLocked() {
        const bool free = pthread_mutex_trylock(&mMutex) == 0;
        if (free) {
            pthread_mutex_unlock(&mMutex);
        }
        return !free;
    }
};

// Whether the pool was locked when the request completed, and with what.
struct LockProbe {
    static void Run(void* userData, long status, void*) {
        auto* probe = static_cast<LockProbe*>(userData);
        probe->locked = probe->pool->IsLocked();
        probe->status = status;
        ++probe->calls;
    }
    StillPool* pool;
    bool locked = false;
    long status = -1;
    int calls = 0;
};

class ReadPoolFault : public testing::Test {
  protected:
    Reference<ReadRequest> Make(ReadRequest::Completion completion, void* userData) {
        ReadRequest* request = nullptr;
        EXPECT_EQ(ReadRequest::Create(mFile.Descriptor(), mFile.Size(), 5000, 100, completion,
                                      userData, nullptr, 0, request),
                  0);
        return Reference<ReadRequest>(request);
    }

    const PatternedFile mFile{20000};
    Completion mCompletion;
    StillPool mPool;
    LogCapture mLog;
};

TEST_F(ReadPoolFault, AddingWithoutTheLockQueuesNothing) {
    const auto request = Make(&Completion::Run, &mCompletion);
    const Fault fault(SystemCall::kMutexLock, 35);
    EXPECT_EQ(mPool.AddRequest(request.get()), 35);
    EXPECT_EQ(mLog.Text(), kLockFailed + "AddRequest: Lock returned 35\n");
    EXPECT_TRUE(mPool.mQueue.empty());
    EXPECT_FALSE(request->mQueued);
    EXPECT_EQ(request->mRefCount, 1);
}

TEST_F(ReadPoolFault, AddingThatWakesNobodyKeepsTheRequestQueued) {
    const auto request = Make(&Completion::Run, &mCompletion);
    {
        const Fault fault(SystemCall::kCondBroadcast, 22);
        EXPECT_EQ(mPool.AddRequest(request.get()), 22);
    }
    EXPECT_EQ(mLog.Text(),
              "WakeAll: pthread_cond_broadcast returned 22\n"
              "AddRequest: WakeAll returned 22\n");
    ASSERT_EQ(mPool.mQueue.size(), 1u);
    EXPECT_EQ(mPool.mQueue.front(), request.get());
    EXPECT_TRUE(request->mQueued);
    EXPECT_EQ(request->mRefCount, 2);
    EXPECT_FALSE(mPool.IsLocked());
}

TEST_F(ReadPoolFault, CancellingWithoutTheLockCancelsNothing) {
    const auto request = Make(&Completion::Run, &mCompletion);
    ASSERT_EQ(mPool.AddRequest(request.get()), 0);
    const Fault fault(SystemCall::kMutexLock, 35);
    EXPECT_EQ(mPool.CancelRequest(request.get(), nullptr), 35);
    EXPECT_EQ(mLog.Text(), kLockFailed + "CancelRequest: Lock returned 35\n");
    EXPECT_EQ(mPool.mQueue.size(), 1u);
    EXPECT_EQ(request->mRefCount, 2);
    EXPECT_EQ(mCompletion.calls, 0);
}

TEST_F(ReadPoolFault, CancellingThatFailsTakesTheRequestOutAllTheSame) {
    const auto request = Make(&Completion::Run, &mCompletion);
    ASSERT_EQ(mPool.AddRequest(request.get()), 0);
    {
        const Fault fault(SystemCall::kMutexLock, 35, 2);
        EXPECT_EQ(mPool.CancelRequest(request.get(), nullptr), 35);
    }
    EXPECT_EQ(mLog.Text(), kLockFailed +
                               "Broadcast: Lock returned 35\n"
                               "MarkComplete: Event::Broadcast returned 35\n"
                               "CancelRequest: Cancel returned 35\n");
    EXPECT_TRUE(mPool.mQueue.empty());
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_EQ(request->mCompletionStatus, 89);
}

// The one completion beside a cancelled one that comes under the pool's lock.
TEST_F(ReadPoolFault, ARequestWithoutMemoryForItsTicketCompletesUnderTheLockAndTheNextIsServed) {
    LockProbe probe = {&mPool};
    const auto first = Make(&LockProbe::Run, &probe);
    const auto second = Make(&Completion::Run, &mCompletion);
    ASSERT_EQ(mPool.AddRequest(first.get()), 0);
    ASSERT_EQ(mPool.AddRequest(second.get()), 0);
    const Fault fault(SystemCall::kNewNothrow, ENOMEM);
    const KVX::Core::Lock lock(&mPool);
    auto* const ticket = static_cast<ReadTicket*>(mPool.WorkToDo());
    EXPECT_EQ(probe.calls, 1);
    EXPECT_EQ(probe.status, 12);
    EXPECT_TRUE(probe.locked);
    EXPECT_EQ(first->mRefCount, 1);
    ASSERT_NE(ticket, nullptr);
    EXPECT_EQ(ticket->mRequest, second.get());
    mPool.RunThreadPass(ticket);
    EXPECT_EQ(mCompletion.calls, 1);
    EXPECT_EQ(mCompletion.status, 0);
}

TEST_F(ReadPoolFault, ATicketIsNotRunWithThePoolLocked) {
    const auto request = Make(&Completion::Run, &mCompletion);
    ASSERT_EQ(mPool.AddRequest(request.get()), 0);
    const long reads = CallCount(SystemCall::kPread);
    const KVX::Core::Lock lock(&mPool);
    void* const ticket = mPool.WorkToDo();
    EXPECT_EQ(request->mRefCount, 2);
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        mPool.RunThreadPass(ticket);
    }
    EXPECT_EQ(mLog.Text(),
              "Unlock: pthread_mutex_unlock returned 1\n"
              "Unlock: Unlock returned 1\n"
              "RunThreadPass: Unlock returned 1\n");
    EXPECT_EQ(CallCount(SystemCall::kPread), reads);
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(request->mCompletionStatus, 0);
    EXPECT_EQ(mCompletion.calls, 0);
    EXPECT_TRUE(mPool.IsLocked());
    // Its ticket is not out any more.
    int told = 0;
    request->NotifyWhenIdle([](void* userData) { ++*static_cast<int*>(userData); }, &told);
    EXPECT_EQ(told, 1);
}

// Nobody else is left who could be looking at the queue.
TEST_F(ReadPoolFault, ThePoolsEndWithoutTheLockDropsWhatIsQueued) {
    const auto request = Make(&Completion::Run, &mCompletion);
    {
        auto pool = std::make_unique<StillPool>();
        ASSERT_EQ(pool->AddRequest(request.get()), 0);
        const Fault fault(SystemCall::kMutexLock, 35);
        pool.reset();
    }
    EXPECT_EQ(mLog.Text(), kLockFailed);
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(mCompletion.calls, 0);
}

// The order is seen by what is logged: the lock that cannot be taken again, and then the end of the
// request, whose last reference the pool dropped.
TEST_F(ReadPoolFault, TheRequestEndsAfterTheLockIsTakenAgain) {
    auto request = Make(&Completion::Run, &mCompletion);
    ASSERT_EQ(mPool.AddRequest(request.get()), 0);
    request.reset();
    ASSERT_EQ(mPool.Lock(), 0);
    void* const ticket = mPool.WorkToDo();
    {
        // After the locks of the request and of its latch.
        const Fault lock(SystemCall::kMutexLock, 35, 3);
        const Fault end(SystemCall::kCondDestroy, 16);
        // What becomes of a thread without its pool's lock is the thread's own affair.
        std::thread([&] { mPool.RunThreadPass(ticket); }).join();
    }
    EXPECT_EQ(mLog.Text(),
              "Lock: pthread_mutex_lock returned 35\n"
              "~Unlock: Lock returned 35\n"
              "~Event: pthread_cond_destroy returned 16\n");
}

}  // namespace
