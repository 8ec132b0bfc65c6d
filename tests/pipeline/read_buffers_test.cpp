// Which buffers of read requests are used again. What the system was asked for tells: a buffer that
// was kept costs no call.
#include "pipeline/read_buffers.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/pool_by_hand.h"
#include "pipeline/read_controller.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "support/sanitizers.h"

namespace {

using KVX::ReadBuffers;
using KVX::ReadRequest;
using kvx_test::CallCount;
using kvx_test::Eventually;
using kvx_test::Fault;
using kvx_test::FrameTest;
using kvx_test::LogCapture;
using kvx_test::Reference;
using kvx_test::SystemCall;

constexpr size_t kMiB = size_t{1} << 20;

void Turn(size_t size) {
    ReadBuffers::Free(ReadBuffers::Allocate(size));
}

// Asks for buffers of one size, gives all of them back, and counts how many of as many again are
// fresh.
long FreshOfSecondTurn(size_t size, int count) {
    std::vector<ReadBuffers::Buffer> buffers;
    for (int i = 0; i < count; ++i) {
        buffers.push_back(ReadBuffers::Allocate(size));
    }
    for (ReadBuffers::Buffer& buffer : buffers) {
        ReadBuffers::Free(buffer);
    }
    const long before = CallCount(SystemCall::kValloc);
    for (ReadBuffers::Buffer& buffer : buffers) {
        buffer = ReadBuffers::Allocate(size);
    }
    const long fresh = CallCount(SystemCall::kValloc) - before;
    for (const ReadBuffers::Buffer& buffer : buffers) {
        ReadBuffers::Free(buffer);
    }
    return fresh;
}

TEST(ReadBuffers, NothingIsKeptForNobody) {
    EXPECT_EQ(FreshOfSecondTurn(kMiB, 3), 3);
}

TEST(ReadBuffers, TheOneThatCameBackLastIsUsedFirst) {
    const ReadBuffers::Keeper keeper;
    const ReadBuffers::Buffer first = ReadBuffers::Allocate(kMiB);
    const ReadBuffers::Buffer second = ReadBuffers::Allocate(kMiB);
    ASSERT_NE(first.memory, second.memory);
    ReadBuffers::Free(second);
    ReadBuffers::Free(first);
    EXPECT_EQ(ReadBuffers::Allocate(kMiB).memory, first.memory);
    EXPECT_EQ(ReadBuffers::Allocate(kMiB).memory, second.memory);
    ReadBuffers::Free(first);
    ReadBuffers::Free(second);
}

TEST(ReadBuffers, AKeptBufferBeginsAtAPageAndIsWholeMemory) {
    const ReadBuffers::Keeper keeper;
    constexpr size_t kSize = kMiB + 4004;  // of a read that ends with its file
    for (int turn = 0; turn < 3; ++turn) {
        const ReadBuffers::Buffer buffer = ReadBuffers::Allocate(kSize);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer.memory) % 4096, 0u);
        // The address sanitizer looks at this.
        std::memset(buffer.memory, turn, kSize);
        ReadBuffers::Free(buffer);
    }
}

struct Fit {
    size_t kept;
    size_t asked;
    bool fits;
};

TEST(ReadBuffers, ABufferUpToTwoPagesTooLargeWillDo) {
    const Fit fits[] = {
        {kMiB, kMiB, true},         {kMiB, kMiB - 1, true},     {kMiB, kMiB - 4096, true},
        {kMiB, kMiB - 8192, true},  {kMiB, kMiB - 8193, false}, {kMiB, kMiB + 1, false},
        {kMiB, kMiB + 4096, false}, {2 * kMiB, kMiB, false},
    };
    for (const Fit& fit : fits) {
        const ReadBuffers::Keeper keeper;
        Turn(fit.kept);
        const long before = CallCount(SystemCall::kValloc);
        const ReadBuffers::Buffer buffer = ReadBuffers::Allocate(fit.asked);
        EXPECT_EQ(CallCount(SystemCall::kValloc) - before, fit.fits ? 0 : 1) << fit.asked;
        // It comes back as what it is, and serves as that again.
        EXPECT_EQ(buffer.size, fit.fits ? fit.kept : fit.asked);
        ReadBuffers::Free(buffer);
        const long between = CallCount(SystemCall::kValloc);
        Turn(fit.kept);
        EXPECT_EQ(CallCount(SystemCall::kValloc), between) << fit.asked;
    }
}

struct Bound {
    size_t size;
    int count;
    long fresh;
};

TEST(ReadBuffers, NoMoreThanSixtyFourAndOf192MegabytesAreKept) {
    const Bound bounds[] = {
        {kMiB, 64, 0},          {kMiB, 65, 1},           {kMiB, 90, 26},
        {16 * kMiB, 12, 0},     {16 * kMiB, 14, 2},      {192 * kMiB, 2, 1},
        {192 * kMiB + 1, 1, 1}, {5529600 + 4096, 40, 4},  // v210, 1920 x 1080
    };
    for (const Bound& bound : bounds) {
        const ReadBuffers::Keeper keeper;
        EXPECT_EQ(FreshOfSecondTurn(bound.size, bound.count), bound.fresh)
            << bound.count << " of " << bound.size;
    }
}

// Bytes of the process's memory that the system may not simply take; 0 where it does not tell.
long BytesHeld() {
    std::ifstream file("/proc/self/smaps_rollup");
    long held = 0;
    for (std::string line; std::getline(file, line);) {
        long kibibytes = 0;
        if (std::sscanf(line.c_str(), "Rss: %ld kB", &kibibytes) == 1) {
            held += kibibytes * 1024;
        } else if (std::sscanf(line.c_str(), "LazyFree: %ld kB", &kibibytes) == 1) {
            held -= kibibytes * 1024;
        }
    }
    return held;
}

TEST(ReadBuffers, BeyondSixtyFourMegabytesTheSystemMayTakeThem) {
    if (kvx_test::IsUnderAddressSanitizer()) {
        GTEST_SKIP() << "what the sanitizer notes of kept buffers is memory, too";
    }
    if (BytesHeld() == 0) {
        GTEST_SKIP();
    }
    constexpr size_t kSize = 16 * kMiB;
    const ReadBuffers::Keeper keeper;
    std::vector<ReadBuffers::Buffer> buffers;
    for (int i = 0; i < 6; ++i) {
        buffers.push_back(ReadBuffers::Allocate(kSize));
        std::memset(buffers.back().memory, 1, kSize);
    }
    const long before = BytesHeld();
    for (const ReadBuffers::Buffer& buffer : buffers) {
        ReadBuffers::Free(buffer);
    }
    // The fifth and the sixth, once nobody has asked for them for a while. The system takes notice
    // of some pages later than of others.
    EXPECT_TRUE(Eventually([=] { return before - BytesHeld() > static_cast<long>(30 * kMiB); }));
    EXPECT_LT(before - BytesHeld(), static_cast<long>(34 * kMiB));
    const long fresh = CallCount(SystemCall::kValloc);
    for (ReadBuffers::Buffer& buffer : buffers) {
        buffer = ReadBuffers::Allocate(kSize);
        std::memset(buffer.memory, 2, kSize);
    }
    EXPECT_EQ(CallCount(SystemCall::kValloc), fresh);
    for (const ReadBuffers::Buffer& buffer : buffers) {
        EXPECT_EQ(std::count(buffer.memory, buffer.memory + kSize, 2), static_cast<long>(kSize));
        ReadBuffers::Free(buffer);
    }
}

// The fifth to the seventh of each turn.
TEST(ReadBuffers, WithoutAThreadThatOffersThemTheNextThatComesBackTriesAgain) {
    // A test's before this one may still be resting.
    EXPECT_TRUE(Eventually([] {
        const ReadBuffers::Keeper keeper;
        const Fault fault(SystemCall::kThreadCreate, EAGAIN, 1, Fault::kForever);
        EXPECT_EQ(FreshOfSecondTurn(16 * kMiB, 7), 0);
        return fault.Hits() == 6;
    }));
}

TEST(ReadBuffers, SizesThatAreUsedNoMoreMakeRoom) {
    const ReadBuffers::Keeper keeper;
    EXPECT_EQ(FreshOfSecondTurn(16 * kMiB, 12), 0);
    EXPECT_EQ(FreshOfSecondTurn(kMiB, 64), 0);
    EXPECT_EQ(FreshOfSecondTurn(192 * kMiB, 1), 0);
    EXPECT_EQ(FreshOfSecondTurn(16 * kMiB, 12), 0);
}

TEST(ReadBuffers, SizesInUseSideBySideLeaveEachOtherAlone) {
    const ReadBuffers::Keeper keeper;
    Turn(3 * kMiB);
    EXPECT_EQ(FreshOfSecondTurn(kMiB, 63), 0);
    const long before = CallCount(SystemCall::kValloc);
    Turn(3 * kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before);
}

TEST(ReadBuffers, TheLastKeeperTakesAllWithIt) {
    std::optional<ReadBuffers::Keeper> one;
    std::optional<ReadBuffers::Keeper> other;
    one.emplace();
    other.emplace();
    const ReadBuffers::Buffer out = ReadBuffers::Allocate(kMiB);
    Turn(kMiB);
    one.reset();
    const long before = CallCount(SystemCall::kValloc);
    Turn(kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before);
    other.reset();
    // A frame that was in flight when its clip was closed.
    ReadBuffers::Free(out);
    one.emplace();
    Turn(kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
}

// As many as are kept, and each a page too small for the clip that comes next.
TEST(ReadBuffers, AClipIsNotKeptOffTheShelfByASmallerOne) {
    const ReadBuffers::Keeper keeper;
    FreshOfSecondTurn(kMiB, 64);
    const long before = CallCount(SystemCall::kValloc);
    for (int frame = 0; frame < 200; ++frame) {
        Turn(kMiB + 4096);
    }
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
}

TEST(ReadBuffers, ABufferThatIsTooLargeToBeKeptLeavesTheOthers) {
    const ReadBuffers::Keeper keeper;
    EXPECT_EQ(FreshOfSecondTurn(16 * kMiB, 12), 0);
    Turn(192 * kMiB + 1);
    EXPECT_EQ(FreshOfSecondTurn(16 * kMiB, 12), 0);
}

// The system refuses, and has what lies idle here by the time it is asked again.
TEST(ReadBuffers, WhatIsKeptGoesBackBeforeMemoryIsRefused) {
    const ReadBuffers::Keeper keeper;
    FreshOfSecondTurn(16 * kMiB, 12);
    {
        const Fault fault(SystemCall::kValloc, ENOMEM);
        const ReadBuffers::Buffer buffer = ReadBuffers::Allocate(kMiB);
        EXPECT_NE(buffer.memory, nullptr);
        EXPECT_EQ(fault.Calls(), 2);
        ReadBuffers::Free(buffer);
    }
    const long before = CallCount(SystemCall::kValloc);
    Turn(16 * kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
}

TEST(ReadBuffers, MemoryIsAskedForOnceWhenNothingIsKept) {
    const ReadBuffers::Keeper keeper;
    const Fault fault(SystemCall::kValloc, ENOMEM);
    EXPECT_EQ(ReadBuffers::Allocate(kMiB).memory, nullptr);
    EXPECT_EQ(fault.Calls(), 1);
}

// Too large for the allocator's own heaps: each is a mapping that the system has back when it is
// freed.
constexpr size_t kMapped = 40 * kMiB;

// Looks at the page in the middle, which has been written to: where a mapping of somebody else lies
// at the address by now, it has not.
[[maybe_unused]] bool IsThere(char* memory) {
    unsigned char resident = 0;
    return mincore(memory + kMapped / 2, 1, &resident) == 0 && (resident & 1) != 0;
}

// Returns what was kept, and has left with its keeper. So little is not offered to the system.
std::vector<char*> KeepAndLeave() {
    static_assert(kMapped <= ReadBuffers::kMostBytesHeld);
    const ReadBuffers::Keeper keeper;
    const ReadBuffers::Buffer buffer = ReadBuffers::Allocate(kMapped);
    buffer.memory[kMapped / 2] = 1;
    ReadBuffers::Free(buffer);
    return {buffer.memory};
}

// An address sanitizer keeps freed memory for a while, and looks for what is left by itself.
void ExpectGone(const std::vector<char*>& memory, bool atOnce) {
    if (kvx_test::IsUnderAddressSanitizer()) {
        return;
    }
    const auto areGone = [&] { return std::none_of(memory.begin(), memory.end(), &IsThere); };
    EXPECT_TRUE(atOnce ? areGone() : Eventually(areGone));
}

TEST(ReadBuffers, TheLastKeeperHasThemGivenBackByAThreadOfItsOwn) {
    const long threads = CallCount(SystemCall::kThreadCreate);
    const std::vector<char*> kept = KeepAndLeave();
    EXPECT_EQ(CallCount(SystemCall::kThreadCreate), threads + 1);
    ExpectGone(kept, false);
}

TEST(ReadBuffers, WithoutAThreadTheLastKeeperGivesThemBackItself) {
    const Fault fault(SystemCall::kThreadCreate, EAGAIN);
    const std::vector<char*> kept = KeepAndLeave();
    EXPECT_EQ(fault.Hits(), 1);
    ExpectGone(kept, true);
}

TEST(ReadBuffers, WithoutMemoryForAThreadsWorkTheLastKeeperGivesThemBackItself) {
    const Fault fault(SystemCall::kNewNothrow, ENOMEM);
    const std::vector<char*> kept = KeepAndLeave();
    EXPECT_EQ(fault.Hits(), 1);
    ExpectGone(kept, true);
}

TEST(ReadBuffers, ALastKeeperThatKeptNothingNeedsNoThread) {
    const long threads = CallCount(SystemCall::kThreadCreate);
    { const ReadBuffers::Keeper keeper; }
    EXPECT_EQ(CallCount(SystemCall::kThreadCreate), threads);
}

TEST(ReadBuffers, NoMemoryIsNoBuffer) {
    const ReadBuffers::Keeper keeper;
    const Fault fault(SystemCall::kValloc, ENOMEM, 1, Fault::kForever);
    EXPECT_EQ(ReadBuffers::Allocate(kMiB).memory, nullptr);
    EXPECT_EQ(ReadBuffers::Allocate(4096).memory, nullptr);
}

TEST(ReadBuffers, ALockThatFailsIsDoneWithout) {
    const ReadBuffers::Keeper keeper;
    Turn(kMiB);
    LogCapture log;
    const long before = CallCount(SystemCall::kValloc);
    {
        const Fault fault(SystemCall::kMutexLock, EDEADLK, 1, 2);
        Turn(kMiB);
        EXPECT_EQ(fault.Hits(), 2);
    }
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
    EXPECT_EQ(log.Text(),
              "Lock: pthread_mutex_lock returned 35\n"
              "Lock: pthread_mutex_lock returned 35\n");
    Turn(kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
}

Reference<ReadRequest> RequestOf(long long size) {
    ReadRequest* request = nullptr;
    EXPECT_EQ(ReadRequest::Create(1000, 100 * kMiB, 0, size, nullptr, nullptr, nullptr, 0, request),
              0);
    return Reference<ReadRequest>(request);
}

TEST(ReadBuffers, ARequestGetsTheBufferOfTheOneBeforeIt) {
    const ReadBuffers::Keeper keeper;
    RequestOf(5 * kMiB);
    const long before = CallCount(SystemCall::kValloc);
    const Reference<ReadRequest> second = RequestOf(5 * kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before);
    EXPECT_TRUE(second->mOwnsBuffer);
    // With the spare page.
    std::memset(second->mBuffer, 1, 5 * kMiB + 4096);
    const Reference<ReadRequest> third = RequestOf(5 * kMiB);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
    EXPECT_NE(third->mBuffer, second->mBuffer);
}

// Rows of 3456 bytes, 607 pages and a half: a frame takes 608 pages or 609, by where it begins, and
// 608 and some bytes at the end of the file.
const kvx_test::Picture kHalfPages = {"v210", 1280, 720, 3456 * 720};

class ReadBuffersOfFrames : public FrameTest {
  protected:
    template <typename Pool>
    static void RunAll(kvx_test::PoolByHand<Pool>& pool) {
        while (pool.RunOne()) {
        }
    }
};

TEST_F(ReadBuffersOfFrames, AClipsFramesUseOneBufferAfterTheOtherUntilItIsClosed) {
    OpenMovie(MovieOfPicture(kHalfPages, 6, kvx_test::kMediaOffset + 2500));
    RunFrame(PrPixelFormat_V210_422_10u_709, 0).reset();
    RunFrame(PrPixelFormat_V210_422_10u_709, 1).reset();
    const long before = CallCount(SystemCall::kValloc);
    for (long index = 0; index < 6; ++index) {
        RunFrame(PrPixelFormat_V210_422_10u_709, index).reset();
    }
    EXPECT_EQ(CallCount(SystemCall::kValloc), before);
    modules.clear();
    RequestOf(kHalfPages.frameSize);
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
}

// Whoever holds a frame may look at its bytes, and have them converted again.
TEST_F(ReadBuffersOfFrames, AFrameThatIsHeldKeepsItsBytes) {
    OpenMovie(MovieOfPicture(kHalfPages, 1, kvx_test::kMediaOffset + 2500));
    kvx_test::PoolByHand<KVX::ReadController> reading;
    kvx_test::PoolByHand<KVX::ImportFrameConverter> converting;
    const Reference<KVX::ImportFrame> frame(NewFrame(PrPixelFormat_V210_422_10u_709));
    frame->Retain();
    ASSERT_EQ(frame->Issue(), 0);
    RunAll(reading);
    RunAll(converting);
    ASSERT_NE(frame->mReadRequest->mBuffer, nullptr);
    ASSERT_EQ(frame->mRefCount, 1);
    const kvx_test::Bytes media = Media(0, kHalfPages.frameSize);
    for (int turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(kvx_test::Bytes(frame->mPixels, media.size()), media);
        std::memset(frame->mPixels, turn, media.size());
        EXPECT_EQ(frame->Convert(), 0);
    }
    EXPECT_EQ(cache.Additions(), 1);
}

}  // namespace
