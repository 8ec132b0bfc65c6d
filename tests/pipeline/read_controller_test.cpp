// The read pool: whom it serves when, and what becomes of the references.
#include "pipeline/read_controller.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "pipeline/completion.h"
#include "pipeline/eventually.h"
#include "pipeline/patterned_file.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/gated_reads.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadController;
using KVX::ReadRequest;
using KVX::ReadTicket;
using kvx_test::Completion;
using kvx_test::Eventually;
using kvx_test::GatedReads;
using kvx_test::LogCapture;
using kvx_test::PatternedFile;
using kvx_test::Reference;
using kvx_test::ReferencesTo;

class Pool : public ReadController {
  public:
    // The threads must not look for work in an object that has stopped to be a Pool.
    ~Pool() override {
        if (mThreadCount > 0) {
            StopAll();
        }
    }

    bool IsLocked() {
        const bool free = pthread_mutex_trylock(&mMutex) == 0;
        if (free) {
            pthread_mutex_unlock(&mMutex);
        }
        return !free;
    }
};

// Without threads, so that the test itself does their work.
class StillPool : public Pool {
  public:
    StillPool() { EXPECT_EQ(Threaded::Init(0), 22); }

    ReadTicket* Look() {
        KVX::Core::Lock lock(this);
        return static_cast<ReadTicket*>(WorkToDo());
    }

    void Run(ReadTicket* ticket) {
        KVX::Core::Lock lock(this);
        RunThreadPass(ticket);
    }
};

std::string Text(const char* format, const ReadRequest& request) {
    char text[200];
    std::snprintf(text, sizeof text, format, static_cast<const void*>(&request));
    return text;
}

class ReadControllerTest : public testing::Test {
  protected:
    Reference<ReadRequest> Make(long long offset, long long size, Completion& completion) {
        ReadRequest* request = nullptr;
        EXPECT_EQ(ReadRequest::Create(mFile.Descriptor(), mFile.Size(), offset, size,
                                      &Completion::Run, &completion, nullptr, 0, request),
                  0);
        return Reference<ReadRequest>(request);
    }

    static constexpr long long kThreeTickets = 0x300000;

    PatternedFile mFile{0x400000};
    Completion mFirst;
    Completion mSecond;
    Completion mThird;
};

TEST_F(ReadControllerTest, ServesFirstInFirstOut) {
    StillPool pool;
    const auto large = Make(0, kThreeTickets, mFirst);
    const auto small = Make(0x5000, 100, mSecond);
    EXPECT_EQ(pool.AddRequest(large.get()), 0);
    EXPECT_EQ(pool.AddRequest(small.get()), 0);
    std::vector<ReadTicket*> tickets;
    for (const long long offset : {0x0, 0x100000, 0x200000}) {
        tickets.push_back(pool.Look());
        EXPECT_EQ(tickets.back()->mRequest, large.get());
        EXPECT_EQ(tickets.back()->mOffset, offset);
    }
    tickets.push_back(pool.Look());
    EXPECT_EQ(tickets.back()->mRequest, small.get());
    EXPECT_EQ(pool.Look(), nullptr);
    for (ReadTicket* ticket : tickets) {
        pool.Run(ticket);
    }
    EXPECT_EQ(mFirst.calls, 1);
    EXPECT_EQ(mSecond.calls, 1);
}

TEST_F(ReadControllerTest, QueueAndTicketsHoldAReferenceEach) {
    StillPool pool;
    const auto request = Make(0, kThreeTickets, mFirst);
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(pool.AddRequest(request.get()), 0);
    EXPECT_EQ(request->mRefCount, 2);
    ReadTicket* const first = pool.Look();
    EXPECT_EQ(request->mRefCount, 3);
    ReadTicket* const second = pool.Look();
    EXPECT_EQ(request->mRefCount, 4);
    ReadTicket* const last = pool.Look();
    // One more for the ticket, one less for the queue.
    EXPECT_EQ(request->mRefCount, 4);
    EXPECT_TRUE(pool.mQueue.empty());
    for (ReadTicket* ticket : {second, last, first}) {
        pool.Run(ticket);
    }
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(mFirst.calls, 1);
}

TEST_F(ReadControllerTest, TheLastReferenceMayFallInThePool) {
    StillPool pool;
    auto request = Make(0x5000, 100, mFirst);
    EXPECT_EQ(pool.AddRequest(request.get()), 0);
    request.reset();
    pool.Run(pool.Look());
    EXPECT_EQ(mFirst.calls, 1);
}

struct LockProbe {
    static void Run(void* userData, long, void*) {
        auto* probe = static_cast<LockProbe*>(userData);
        probe->locked = probe->pool->IsLocked() ? 1 : 0;
    }
    Pool* pool;
    int locked = -1;
};

TEST_F(ReadControllerTest, CompletesAReadOutsideItsLockAndACancelledRequestUnderIt) {
    StillPool pool;
    for (const bool cancels : {false, true}) {
        LockProbe probe = {&pool};
        ReadRequest* made = nullptr;
        ASSERT_EQ(ReadRequest::Create(mFile.Descriptor(), mFile.Size(), 0, 10, &LockProbe::Run,
                                      &probe, nullptr, 0, made),
                  0);
        const Reference<ReadRequest> request(made);
        EXPECT_EQ(pool.AddRequest(request.get()), 0);
        if (cancels) {
            EXPECT_EQ(pool.CancelRequest(request.get(), nullptr), 0);
        } else {
            pool.Run(pool.Look());
        }
        EXPECT_EQ(probe.locked, cancels ? 1 : 0);
    }
}

TEST_F(ReadControllerTest, DropsARequestThatHasFailedAndGoesOn) {
    StillPool pool;
    const auto failed = Make(0, kThreeTickets, mFirst);
    const auto next = Make(0x5000, 100, mSecond);
    EXPECT_EQ(pool.AddRequest(failed.get()), 0);
    EXPECT_EQ(pool.AddRequest(next.get()), 0);
    EXPECT_EQ(failed->Cancel(nullptr), 0);
    LogCapture log;
    ReadTicket* const ticket = pool.Look();
    EXPECT_EQ(log.Text(), Text("WorkToDo: GetReadTicket on request %p returned 89\n", *failed));
    EXPECT_EQ(ticket->mRequest, next.get());
    EXPECT_EQ(failed->mRefCount, 1);
    pool.Run(ticket);
    EXPECT_EQ(mSecond.calls, 1);
}

TEST_F(ReadControllerTest, DropsARequestForNothing) {
    StillPool pool;
    const auto nothing = Make(8192, 0, mFirst);
    EXPECT_EQ(pool.AddRequest(nothing.get()), 0);
    LogCapture log;
    EXPECT_EQ(pool.Look(), nullptr);
    EXPECT_EQ(log.Text(), Text("WorkToDo: GetReadTicket on request %p returned 2\n", *nothing));
    EXPECT_EQ(nothing->mRefCount, 1);
    EXPECT_EQ(mFirst.calls, 0);
}

TEST_F(ReadControllerTest, LogsATicketThatFails) {
    StillPool pool;
    const auto request = Make(0, 10, mFirst);
    EXPECT_EQ(pool.AddRequest(request.get()), 0);
    ReadTicket* const ticket = pool.Look();
    LogCapture log;
    mFile.Close();
    pool.Run(ticket);
    EXPECT_EQ(log.Text(), Text("ExecuteReadTicket: pread returned 9 for request %p\n", *request) +
                              Text("RunThreadPass: ReadRequest::ExecuteReadTicket returned 9 for "
                                   "request %p\n",
                                   *request));
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(mFirst.status, 9);
}

TEST_F(ReadControllerTest, CancelsARequestThatHasTicketsLeft) {
    StillPool pool;
    const auto first = Make(0, kThreeTickets, mFirst);
    const auto second = Make(0, kThreeTickets, mSecond);
    const auto third = Make(0, kThreeTickets, mThird);
    for (ReadRequest* request : {first.get(), second.get(), third.get()}) {
        EXPECT_EQ(pool.AddRequest(request), 0);
    }
    ReadTicket* const running = pool.Look();
    int argument = 0;
    EXPECT_EQ(pool.CancelRequest(second.get(), &argument), 0);
    EXPECT_EQ(mSecond.calls, 1);
    EXPECT_EQ(mSecond.status, 89);
    EXPECT_EQ(mSecond.arg, &argument);
    EXPECT_EQ(mSecond.thread, std::this_thread::get_id());
    EXPECT_EQ(second->mRefCount, 1);
    EXPECT_EQ(std::vector<ReadRequest*>(pool.mQueue.begin(), pool.mQueue.end()),
              (std::vector<ReadRequest*>{first.get(), third.get()}));

    EXPECT_EQ(pool.CancelRequest(first.get(), nullptr), 0);
    EXPECT_EQ(mFirst.calls, 1);
    LogCapture log;
    pool.Run(running);
    EXPECT_EQ(log.Text(), Text("RunThreadPass: ReadRequest::ExecuteReadTicket returned 89 for "
                               "request %p\n",
                               *first));
    EXPECT_EQ(first->mRefCount, 1);
    EXPECT_EQ(mFirst.calls, 1);
    EXPECT_EQ(mThird.calls, 0);
}

TEST_F(ReadControllerTest, CancellingKeepsTheOrderOfTheOthers) {
    StillPool pool;
    std::vector<Reference<ReadRequest>> requests;
    for (int index = 0; index < 5; ++index) {
        requests.push_back(Make(0, 10, mFirst));
        EXPECT_EQ(pool.AddRequest(requests.back().get()), 0);
    }
    EXPECT_EQ(pool.CancelRequest(requests[1].get(), nullptr), 0);
    EXPECT_EQ(pool.CancelRequest(requests[0].get(), nullptr), 0);
    EXPECT_EQ(std::vector<ReadRequest*>(pool.mQueue.begin(), pool.mQueue.end()),
              (std::vector<ReadRequest*>{requests[2].get(), requests[3].get(), requests[4].get()}));
}

TEST_F(ReadControllerTest, CancelsNothingWhenAllTicketsAreOut) {
    StillPool pool;
    const auto request = Make(0, 10, mFirst);
    EXPECT_EQ(pool.AddRequest(request.get()), 0);
    ReadTicket* const ticket = pool.Look();
    LogCapture log;
    EXPECT_EQ(pool.CancelRequest(request.get(), nullptr), 0);
    EXPECT_EQ(mFirst.calls, 0);
    pool.Run(ticket);
    EXPECT_EQ(mFirst.calls, 1);
    EXPECT_EQ(mFirst.status, 0);
    EXPECT_EQ(pool.CancelRequest(request.get(), nullptr), 0);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(ReadControllerTest, DropsWhatIsQueuedAtItsEndWithoutCompletion) {
    const auto request = Make(0, kThreeTickets, mFirst);
    {
        StillPool pool;
        EXPECT_EQ(pool.AddRequest(request.get()), 0);
        EXPECT_EQ(request->mRefCount, 2);
    }
    EXPECT_EQ(request->mRefCount, 1);
    EXPECT_EQ(mFirst.calls, 0);
}

TEST_F(ReadControllerTest, ThatWasNeverStartedGoesQuietly) {
    LogCapture log;
    { ReadController controller; }
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(ReadControllerTest, ThreadsFanOutOverTheSlicesOfOneRequest) {
    Pool pool;
    ASSERT_EQ(pool.Init(), 0);
    EXPECT_EQ(pool.mThreadCount, 8);
    GatedReads gate;
    const auto request = Make(0, kThreeTickets, mFirst);
    EXPECT_EQ(pool.AddRequest(request.get()), 0);
    ASSERT_TRUE(gate.WaitForWaiting(3));
    // Of the request: the test's, and the tickets'.
    EXPECT_EQ(ReferencesTo(*request), 4);
    EXPECT_EQ(mFirst.calls, 0);
    gate.LetAll();
    EXPECT_TRUE(Eventually([this] { return mFirst.calls == 1; }));
    EXPECT_TRUE(Eventually([&] { return ReferencesTo(*request) == 1; }));
    EXPECT_TRUE(std::string(request->mBuffer, kThreeTickets) == mFile.Bytes(0, kThreeTickets));
}

TEST_F(ReadControllerTest, EightReadAtOnceAndTheOthersWaitTheirTurn) {
    Pool pool;
    ASSERT_EQ(pool.Init(), 0);
    std::vector<Completion> completions(20);
    std::vector<Reference<ReadRequest>> requests;
    GatedReads gate;
    for (size_t index = 0; index < completions.size(); ++index) {
        requests.push_back(Make(static_cast<long long>(index) * 4096, 4096, completions[index]));
        EXPECT_EQ(pool.AddRequest(requests.back().get()), 0);
    }
    // The first eight, in the order of the queue; a free thread goes on by itself.
    ASSERT_TRUE(gate.WaitForWaiting(8));
    gate.Let(3 * 4096);
    EXPECT_TRUE(gate.WaitForReadAt(8 * 4096));
    EXPECT_TRUE(Eventually([&] { return completions[3].calls == 1; }));
    gate.Let(0);
    EXPECT_TRUE(gate.WaitForReadAt(9 * 4096));
    EXPECT_EQ(gate.Waiting(), 8);
    gate.LetAll();
    EXPECT_TRUE(Eventually([&] {
        return std::all_of(completions.begin(), completions.end(),
                           [](const Completion& completion) { return completion.calls == 1; });
    }));
}

TEST_F(ReadControllerTest, ThereIsOneForTheProcess) {
    ReadController* first = nullptr;
    ReadController* second = nullptr;
    LogCapture log;
    EXPECT_EQ(ReadController::GetInstance(first), 0);
    EXPECT_EQ(ReadController::GetInstance(second), 0);
    EXPECT_EQ(log.Raw(), "");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, ReadController::sInstance);
    EXPECT_EQ(first->mThreadCount, 8);
    EXPECT_EQ(ReadController::sError, 0);
}

}  // namespace
