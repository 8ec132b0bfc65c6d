// A completion function runs without the lock of its request, whichever way the request ends: it
// may ask the request for anything.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <memory>

#include "pipeline/patterned_file.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadRequest;
using KVX::ReadTicket;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::PatternedFile;
using kvx_test::Reference;
using kvx_test::SystemCall;

// The way to a mutex that is its owner's own.
struct Mutex : KVX::Core::Lockable {
    static bool IsFree(KVX::Core::Lockable& owner) {
        pthread_mutex_t& mutex = owner.*(&Mutex::mMutex);
        if (pthread_mutex_trylock(&mutex) != 0) {
            return false;
        }
        pthread_mutex_unlock(&mutex);
        return true;
    }
};

class CompletionLock : public testing::Test {
  protected:
    CompletionLock() {
        ReadRequest* request = nullptr;
        EXPECT_EQ(ReadRequest::Create(mFile.Descriptor(), mFile.Size(), 0, 100, &Look, this,
                                      nullptr, 0, request),
                  0);
        mRequest.reset(request);
    }

    static void Look(void* userData, long, void*) {
        auto* test = static_cast<CompletionLock*>(userData);
        test->mRequestIsFree = Mutex::IsFree(*test->mRequest);
        test->mLatchIsFree = Mutex::IsFree(test->mRequest->mCompleted);
        ++test->mCalls;
    }

    ~CompletionLock() override {
        EXPECT_EQ(mCalls, 1);
        EXPECT_TRUE(mRequestIsFree);
        EXPECT_TRUE(mLatchIsFree);
    }

    std::unique_ptr<ReadTicket> Take() {
        ReadTicket* ticket = nullptr;
        bool last = false;
        mRequest->GetReadTicket(ticket, last);
        return std::unique_ptr<ReadTicket>(ticket);
    }

    const PatternedFile mFile{20000};
    Reference<ReadRequest> mRequest;
    LogCapture mLog;

  private:
    int mCalls = 0;
    bool mRequestIsFree = false;
    bool mLatchIsFree = false;
};

TEST_F(CompletionLock, OfTheLastByte) {
    EXPECT_EQ(mRequest->ExecuteReadTicket(Take().get()), 0);
}

TEST_F(CompletionLock, OfAnError) {
    const Fault fault(SystemCall::kPread, EIO);
    EXPECT_EQ(mRequest->ExecuteReadTicket(Take().get()), 5);
}

TEST_F(CompletionLock, OfATicketWithoutMemory) {
    const Fault fault(SystemCall::kNewNothrow, ENOMEM);
    EXPECT_EQ(Take(), nullptr);
}

TEST_F(CompletionLock, OfCancelling) {
    EXPECT_EQ(mRequest->Cancel(nullptr), 0);
}

}  // namespace
