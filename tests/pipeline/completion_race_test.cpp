// Requests that end on several threads at once end once.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "pipeline/completion.h"
#include "pipeline/patterned_file.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/log_capture.h"

namespace {

using KVX::ReadRequest;
using KVX::ReadTicket;
using kvx_test::Completion;
using kvx_test::LogCapture;
using kvx_test::PatternedFile;
using kvx_test::Reference;

constexpr int kThreads = 8;
constexpr int kRounds = 200;

// Starts its threads together.
void Race(const std::function<void(int)>& run) {
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&, index] {
            ++ready;
            while (ready < kThreads) {
                std::this_thread::yield();
            }
            run(index);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

Reference<ReadRequest> Make(const PatternedFile& file, long long size, Completion& completion) {
    ReadRequest* request = nullptr;
    EXPECT_EQ(ReadRequest::Create(file.Descriptor(), file.Size(), 0, size, &Completion::Run,
                                  &completion, nullptr, 0, request),
              0);
    return Reference<ReadRequest>(request);
}

TEST(CompletionRace, OfEightFailuresOneIsTold) {
    const PatternedFile file(100);
    for (int round = 0; round < kRounds; ++round) {
        Completion completion;
        const Reference<ReadRequest> request = Make(file, 100, completion);
        Race([&](int index) { EXPECT_EQ(request->MarkComplete(index + 1, nullptr), 0); });
        ASSERT_EQ(completion.calls, 1);
        EXPECT_EQ(completion.status, request->mCompletionStatus);
        EXPECT_GE(completion.status, 1);
        EXPECT_LE(completion.status, kThreads);
    }
}

TEST(CompletionRace, EightTicketsMakeOneCompletion) {
    const PatternedFile file(kThreads * 0x100000);
    for (int round = 0; round < 20; ++round) {
        Completion completion;
        const Reference<ReadRequest> request = Make(file, file.Size(), completion);
        Race([&](int) {
            ReadTicket* ticket = nullptr;
            bool last = false;
            EXPECT_EQ(request->GetReadTicket(ticket, last), 0);
            EXPECT_EQ(request->ExecuteReadTicket(ticket), 0);
            delete ticket;
        });
        ASSERT_EQ(completion.calls, 1);
        EXPECT_EQ(completion.status, 0);
        EXPECT_EQ(request->mBytesRead, file.Size());
    }
}

TEST(CompletionRace, EightTicketsThatFailMakeOneCompletion) {
    PatternedFile file(kThreads * 0x100000);
    const LogCapture log;
    for (int round = 0; round < 50; ++round) {
        Completion completion;
        const Reference<ReadRequest> request = Make(file, file.Size(), completion);
        request->mFileDescriptor = 100000;
        std::vector<std::unique_ptr<ReadTicket>> tickets;
        for (int index = 0; index < kThreads; ++index) {
            ReadTicket* ticket = nullptr;
            bool last = false;
            ASSERT_EQ(request->GetReadTicket(ticket, last), 0);
            tickets.emplace_back(ticket);
        }
        Race([&](int index) {
            EXPECT_EQ(request->ExecuteReadTicket(tickets[static_cast<size_t>(index)].get()), 9);
        });
        ASSERT_EQ(completion.calls, 1);
        EXPECT_EQ(completion.status, 9);
    }
}

TEST(CompletionRace, CancelAndTheLastTicketMakeOneCompletion) {
    const PatternedFile file(100);
    for (int round = 0; round < kRounds; ++round) {
        Completion completion;
        const Reference<ReadRequest> request = Make(file, 100, completion);
        ReadTicket* taken = nullptr;
        bool last = false;
        ASSERT_EQ(request->GetReadTicket(taken, last), 0);
        const std::unique_ptr<ReadTicket> ticket(taken);
        Race([&](int index) {
            if (index == 0) {
                request->ExecuteReadTicket(ticket.get());
            } else {
                request->Cancel(nullptr);
            }
        });
        ASSERT_EQ(completion.calls, 1);
        EXPECT_TRUE(completion.status == 0 || completion.status == 89) << completion.status;
    }
}

// Tickets end while it is asked to be told of the last of them.
TEST(CompletionRace, IdleIsToldOnceHoweverTheTicketsEnd) {
    const PatternedFile file(kThreads * 0x100000);
    for (int round = 0; round < kRounds; ++round) {
        Completion completion;
        const Reference<ReadRequest> request = Make(file, file.Size(), completion);
        std::vector<std::unique_ptr<ReadTicket>> tickets;
        for (int index = 1; index < kThreads; ++index) {
            ReadTicket* ticket = nullptr;
            bool last = false;
            ASSERT_EQ(request->GetReadTicket(ticket, last), 0);
            tickets.emplace_back(ticket);
        }
        ASSERT_EQ(request->Cancel(nullptr), 0);
        std::atomic<int> told{0};
        Race([&](int index) {
            if (index == 0) {
                request->NotifyWhenIdle(
                    [](void* userData) { ++*static_cast<std::atomic<int>*>(userData); }, &told);
            } else {
                EXPECT_EQ(request->ExecuteReadTicket(tickets[static_cast<size_t>(index - 1)].get()),
                          89);
            }
        });
        ASSERT_EQ(told, 1);
    }
}

}  // namespace
