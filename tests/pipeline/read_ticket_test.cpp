// How a request is cut into tickets, what running them does, and how it ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
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

Reference<ReadRequest> Make(const PatternedFile& file, long long offset, long long size,
                            Completion* completion) {
    ReadRequest* request = nullptr;
    EXPECT_EQ(ReadRequest::Create(file.Descriptor(), file.Size(), offset, size,
                                  completion == nullptr ? nullptr : &Completion::Run, completion,
                                  nullptr, 0, request),
              0);
    return Reference<ReadRequest>(request);
}

using Ticket = std::unique_ptr<ReadTicket>;

Ticket Take(ReadRequest& request) {
    ReadTicket* ticket = nullptr;
    bool last = false;
    EXPECT_EQ(request.GetReadTicket(ticket, last), 0);
    return Ticket(ticket);
}

struct Slice {
    long long offset;
    long size;
};

std::vector<Slice> Slices(long long fileLength, long long offset, long long size) {
    ReadRequest* made = nullptr;
    EXPECT_EQ(
        ReadRequest::Create(1000, fileLength, offset, size, nullptr, nullptr, nullptr, 0, made), 0);
    const Reference<ReadRequest> request(made);
    std::vector<Slice> slices;
    for (bool last = false; !last;) {
        ReadTicket* taken = nullptr;
        const long status = request->GetReadTicket(taken, last);
        if (status != 0) {
            ADD_FAILURE() << status;
            break;
        }
        const Ticket ticket(taken);
        EXPECT_EQ(ticket->mRequest, request.get());
        EXPECT_EQ(ticket->mBuffer - request->mBuffer, ticket->mOffset - request->mAlignedOffset);
        slices.push_back({ticket->mOffset, ticket->mSize});
    }
    return slices;
}

void ExpectSlices(const std::vector<Slice>& slices, const std::vector<Slice>& expected) {
    ASSERT_EQ(slices.size(), expected.size());
    for (size_t index = 0; index < slices.size(); ++index) {
        EXPECT_EQ(slices[index].offset, expected[index].offset) << index;
        EXPECT_EQ(slices[index].size, expected[index].size) << index;
    }
}

constexpr long long kLong = 0x10000000;

TEST(ReadTicket, UpToTwoMegabytesAreOneTicket) {
    ExpectSlices(Slices(kLong, 0x5000, 100), {{0x5000, 0x1000}});
    ExpectSlices(Slices(kLong, 0x5000, 0x1FFFFF), {{0x5000, 0x200000}});
    ExpectSlices(Slices(kLong, 0x5000, 0x200000), {{0x5000, 0x200000}});
    // With a skew it is the widened size that counts.
    ExpectSlices(Slices(kLong, 0x5001, 0x1FFFFF), {{0x5000, 0x200000}});
}

TEST(ReadTicket, MoreIsCutIntoTicketsOfOneMegabyte) {
    ExpectSlices(Slices(kLong, 0x5000, 0x200001),
                 {{0x5000, 0x100000}, {0x105000, 0x100000}, {0x205000, 0x1000}});
    ExpectSlices(Slices(kLong, 0x5001, 0x200000),
                 {{0x5000, 0x100000}, {0x105000, 0x100000}, {0x205000, 0x1000}});
    ExpectSlices(Slices(kLong, 0, 0x300000),
                 {{0, 0x100000}, {0x100000, 0x100000}, {0x200000, 0x100000}});
}

TEST(ReadTicket, TheLastTicketEndsWithTheFile) {
    ExpectSlices(Slices(0x20000A, 0, 0x20000A),
                 {{0, 0x100000}, {0x100000, 0x100000}, {0x200000, 10}});
    ExpectSlices(Slices(0x1FFFFF, 0, 0x1FFFFF), {{0, 0x1FFFFF}});
}

TEST(ReadTicket, NoneIsLeftBehindTheLast) {
    const PatternedFile file(5000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 10, &completion);
    const Ticket only = Take(*request);
    auto* ticket = reinterpret_cast<ReadTicket*>(8);
    bool last = false;
    LogCapture log;
    EXPECT_EQ(request->GetReadTicket(ticket, last), 2);
    EXPECT_EQ(ticket, nullptr);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(request->mCompletionStatus, 0);
    EXPECT_EQ(completion.calls, 0);
    EXPECT_EQ(request->ExecuteReadTicket(only.get()), 0);
    EXPECT_EQ(completion.calls, 1);
}

TEST(ReadTicket, ARequestForNothingOnAPageHasNone) {
    const PatternedFile file(20000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 8192, 0, &completion);
    ReadTicket* ticket = nullptr;
    bool last = false;
    EXPECT_EQ(request->GetReadTicket(ticket, last), 2);
    EXPECT_EQ(completion.calls, 0);
}

TEST(ReadTicket, TheWantedBytesBeginBehindTheSkew) {
    const PatternedFile file(20000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 5000, 100, &completion);
    const Ticket ticket = Take(*request);
    EXPECT_EQ(request->ExecuteReadTicket(ticket.get()), 0);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(completion.status, 0);
    EXPECT_EQ(completion.arg, nullptr);
    EXPECT_EQ(request->mBytesRead, 4096);
    EXPECT_EQ(std::string(request->mBuffer + request->mBufferSkew, 100), file.Bytes(5000, 100));
}

TEST(ReadTicket, TheOneThatBringsTheLastByteCompletes) {
    const PatternedFile file(0x201000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 0x201000, &completion);
    std::vector<Ticket> tickets;
    for (int count = 0; count < 3; ++count) {
        tickets.push_back(Take(*request));
    }
    for (const size_t index : {2, 0}) {
        EXPECT_EQ(request->ExecuteReadTicket(tickets[index].get()), 0);
        EXPECT_EQ(completion.calls, 0);
    }
    EXPECT_EQ(request->ExecuteReadTicket(tickets[1].get()), 0);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_TRUE(std::string(request->mBuffer, 0x201000) == file.Bytes(0, 0x201000));
}

TEST(ReadTicket, AFailedReadEndsTheRequestAtOnceAndTheOthersAreDropped) {
    PatternedFile file(0x300000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 0x300000, &completion);
    const Ticket first = Take(*request);
    const Ticket second = Take(*request);
    char expected[100];
    std::snprintf(expected, sizeof expected, "ExecuteReadTicket: pread returned 9 for request %p\n",
                  static_cast<void*>(request.get()));
    LogCapture log;
    file.Close();
    EXPECT_EQ(request->ExecuteReadTicket(first.get()), 9);
    EXPECT_EQ(log.Text(), expected);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(completion.status, 9);

    EXPECT_EQ(request->ExecuteReadTicket(second.get()), 9);
    ReadTicket* third = nullptr;
    bool last = false;
    EXPECT_EQ(request->GetReadTicket(third, last), 9);
    EXPECT_EQ(third, nullptr);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(log.Text(), expected);
}

TEST(ReadTicket, AnEndOfFileMetEarlyIsNoErrorAndNoCompletion) {
    const PatternedFile file(0x300000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 0x300000, &completion);
    const Ticket first = Take(*request);
    const Ticket second = Take(*request);
    const Ticket third = Take(*request);
    file.Shrink(0x180000);
    char expected[100];
    std::snprintf(expected, sizeof expected,
                  "ExecuteReadTicket: pread(%d, %p, 1048576, 2097152) hit EOF\n", file.Descriptor(),
                  static_cast<void*>(request->mBuffer + 0x200000));
    LogCapture log;
    EXPECT_EQ(request->ExecuteReadTicket(first.get()), 0);
    EXPECT_EQ(request->ExecuteReadTicket(second.get()), 0);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(request->ExecuteReadTicket(third.get()), 0);
    EXPECT_EQ(log.Text(), expected);
    EXPECT_EQ(request->mBytesRead, 0x180000);
    EXPECT_EQ(request->mCompletionStatus, 0);
    EXPECT_EQ(completion.calls, 0);
}

TEST(ReadTicket, OnesThatMakeNoSenseEndTheRequest) {
    const PatternedFile file(20000);
    char buffer[16];
    for (const int kind : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(kind);
        Completion completion;
        const Reference<ReadRequest> request = Make(file, 0, 10, &completion);
        const Reference<ReadRequest> other = Make(file, 0, 10, nullptr);
        ReadTicket tickets[] = {{other.get(), buffer, 16, 0},
                                {request.get(), nullptr, 16, 0},
                                {request.get(), buffer, 0, 0},
                                {request.get(), buffer, 16, -1}};
        LogCapture log;
        EXPECT_EQ(request->ExecuteReadTicket(kind == 4 ? nullptr : &tickets[kind]), 22);
        EXPECT_EQ(log.Raw(), "");
        EXPECT_EQ(completion.calls, 1);
        EXPECT_EQ(completion.status, 22);
    }
}

TEST(ReadTicket, AfterCancelNothingIsRead) {
    const PatternedFile file(0x300000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 0x300000, &completion);
    const Ticket ticket = Take(*request);
    std::memset(request->mBuffer, 0x55, 0x300000);
    int argument = 0;
    LogCapture log;
    EXPECT_EQ(request->Cancel(&argument), 0);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(completion.status, 89);
    EXPECT_EQ(completion.arg, &argument);

    ReadTicket* next = nullptr;
    bool last = false;
    EXPECT_EQ(request->GetReadTicket(next, last), 89);
    EXPECT_EQ(next, nullptr);
    EXPECT_EQ(request->ExecuteReadTicket(ticket.get()), 89);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_TRUE(std::all_of(request->mBuffer, request->mBuffer + 0x300000,
                            [](char byte) { return byte == 0x55; }));
}

TEST(ReadTicket, TheFirstFailureStaysAndTheCompletionRunsOnce) {
    const PatternedFile file(20000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 10, &completion);
    EXPECT_EQ(request->MarkComplete(5, nullptr), 0);
    EXPECT_EQ(request->MarkComplete(7, nullptr), 0);
    EXPECT_EQ(request->MarkComplete(0, nullptr), 0);
    EXPECT_EQ(request->Cancel(nullptr), 0);
    EXPECT_EQ(request->mCompletionStatus, 5);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(completion.status, 5);
}

TEST(ReadTicket, AFailureBehindTheCompletionIsKeptButNotTold) {
    const PatternedFile file(20000);
    Completion completion;
    const Reference<ReadRequest> request = Make(file, 0, 10, &completion);
    EXPECT_EQ(request->MarkComplete(0, nullptr), 0);
    EXPECT_EQ(request->MarkComplete(7, nullptr), 0);
    EXPECT_EQ(request->mCompletionStatus, 7);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_EQ(completion.status, 0);
}

TEST(ReadTicket, ARequestNeedsNoCompletionFunction) {
    const PatternedFile file(20000);
    const Reference<ReadRequest> request = Make(file, 5000, 100, nullptr);
    EXPECT_EQ(request->ExecuteReadTicket(Take(*request).get()), 0);
    long status = -1;
    EXPECT_EQ(request->WaitForCompletion(status), 0);
    EXPECT_EQ(status, 0);
}

TEST(ReadTicket, WaitingGivesTheStatusOfTheRequest) {
    const PatternedFile file(20000);
    const Reference<ReadRequest> request = Make(file, 5000, 100, nullptr);
    EXPECT_EQ(request->Cancel(nullptr), 0);
    long status = -1;
    EXPECT_EQ(request->WaitForCompletion(status), 0);
    EXPECT_EQ(status, 89);
}

void Count(void* userData) {
    ++*static_cast<int*>(userData);
}

TEST(ReadTicket, IdleIsToldAtOnceWhenNoTicketIsOut) {
    const PatternedFile file(20000);
    const Reference<ReadRequest> request = Make(file, 0, 10, nullptr);
    int told = 0;
    request->NotifyWhenIdle(&Count, &told);
    EXPECT_EQ(told, 1);
}

TEST(ReadTicket, IdleIsToldOnceAtTheEndOfTheLastTicket) {
    const PatternedFile file(0x300000);
    const Reference<ReadRequest> request = Make(file, 0, 0x300000, nullptr);
    const Ticket first = Take(*request);
    const Ticket second = Take(*request);
    const Ticket third = Take(*request);
    EXPECT_EQ(request->Cancel(nullptr), 0);
    int told = 0;
    request->NotifyWhenIdle(&Count, &told);
    EXPECT_EQ(request->ExecuteReadTicket(second.get()), 89);
    request->DropReadTicket();
    EXPECT_EQ(told, 0);
    EXPECT_EQ(request->ExecuteReadTicket(first.get()), 89);
    EXPECT_EQ(told, 1);
    // Whatever comes then.
    EXPECT_EQ(request->ExecuteReadTicket(nullptr), 89);
    EXPECT_EQ(told, 1);
}

// Tickets that the request did not hand out say nothing about those that it did.
TEST(ReadTicket, IdleIsNotToldByOthersTickets) {
    const PatternedFile file(20000);
    const Reference<ReadRequest> request = Make(file, 0, 10, nullptr);
    const Reference<ReadRequest> other = Make(file, 0, 10, nullptr);
    const Ticket own = Take(*request);
    const Ticket foreign = Take(*other);
    int told = 0;
    EXPECT_EQ(request->Cancel(nullptr), 0);
    request->NotifyWhenIdle(&Count, &told);
    EXPECT_EQ(request->ExecuteReadTicket(nullptr), 89);
    EXPECT_EQ(request->ExecuteReadTicket(foreign.get()), 89);
    EXPECT_EQ(told, 0);
    EXPECT_EQ(request->ExecuteReadTicket(own.get()), 89);
    EXPECT_EQ(told, 1);
}

TEST(ReadTicket, IdleIsToldOnlyAtTheEndOfTicketsThatCameAfterStrayOnes) {
    const PatternedFile file(20000);
    char buffer[16];
    for (const int kind : {0, 1, 2}) {
        SCOPED_TRACE(kind);
        const Reference<ReadRequest> request = Make(file, 0, 10, nullptr);
        const Reference<ReadRequest> other = Make(file, 0, 10, nullptr);
        ReadTicket foreign = {other.get(), buffer, 16, 0};
        ReadTicket madeUp = {request.get(), nullptr, 16, 0};
        ReadTicket* const strays[] = {nullptr, &foreign, &madeUp};
        // Completes it, which a ticket that is taken afterwards must not be refused for.
        EXPECT_EQ(request->ExecuteReadTicket(strays[kind]), 22);
        request->mCompletionStatus = 0;
        const Ticket own = Take(*request);
        int told = 0;
        request->NotifyWhenIdle(&Count, &told);
        EXPECT_EQ(told, 0);
        EXPECT_EQ(request->ExecuteReadTicket(own.get()), 0);
        EXPECT_EQ(told, 1);
    }
}

TEST(ReadTicket, IdleIsNotToldWhileOneTicketIsOut) {
    const PatternedFile file(20000);
    const Reference<ReadRequest> request = Make(file, 0, 10, nullptr);
    const Ticket only = Take(*request);
    int told = 0;
    request->NotifyWhenIdle(&Count, &told);
    EXPECT_EQ(told, 0);
    EXPECT_EQ(request->ExecuteReadTicket(only.get()), 0);
    EXPECT_EQ(told, 1);
}

}  // namespace
