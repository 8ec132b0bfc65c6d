// Frames whose read is held back: references on the road, cancelling at each stage, failures while
// other tickets are still being read.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "support/gated_reads.h"

namespace {

using KVX::ImportFrame;
using KVX::ReadController;
using kvx_hostkit::PixelBuffers;
using kvx_test::Bytes;
using kvx_test::Eventually;
using kvx_test::GatedReads;
using kvx_test::kPageUYVY;
using kvx_test::kPatience;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Picture;
using kvx_test::Reference;
using kvx_test::ReferencesTo;

using Frame = Reference<ImportFrame>;

constexpr int kReadThreads = 8;

// Four tickets, far from where the small frames of the other movie lie.
const Picture kLargeUYVY = {"2vuy", 1024, 2048, 0x400000};
constexpr int64_t kLargeOffset = 0x1000000;
constexpr int64_t kTicketSize = 0x100000;

class FrameInFlight : public kvx_test::FrameTest {
  protected:
    // Issues a frame and keeps a reference of the test's own.
    Frame Issue(PrPixelFormat format, long index) {
        Frame frame(NewFrame(format, index));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0);
        return frame;
    }

    // Small frames, from 0 on, that keep so many read threads before the gate.
    void Occupy(GatedReads& gate, int threads) {
        OpenMovie(MovieOfPicture(kPageUYVY, 20));
        for (int index = 0; index < threads; ++index) {
            mOthers.push_back(Issue(kKVXCustomPixelFormat, index));
        }
        ASSERT_TRUE(gate.WaitForWaiting(threads));
    }

    // One frame whose reads go to the threads that are left.
    Frame IssueLarge(GatedReads& gate, int tickets) {
        OpenMovie(MovieOfPicture(kLargeUYVY, 1, kLargeOffset));
        Frame frame = Issue(PrPixelFormat_UYVY_422_8u_601, 0);
        EXPECT_FALSE(frame->mNeedsConversion);
        for (int ticket = 0; ticket < tickets; ++ticket) {
            EXPECT_TRUE(gate.WaitForReadAt(kLargeOffset + ticket * kTicketSize));
        }
        return frame;
    }

    int AdditionsOf(long index) {
        return cache.AdditionsOf(clip->ImporterID(), static_cast<int32_t>(index));
    }

    bool IsDone(const Frame& frame) {
        return Eventually(
            [&] { return ReferencesTo(*frame) == 1 && ReferencesTo(*frame->mReadRequest) == 1; });
    }

    void FinishOthers(GatedReads& gate) {
        gate.LetAll();
        for (const Frame& frame : mOthers) {
            EXPECT_TRUE(IsDone(frame));
        }
        mOthers.clear();
    }

    static long Cancel(const Frame& frame) {
        return ReadController::sInstance->CancelRequest(frame->mReadRequest, nullptr);
    }

    std::vector<Frame> mOthers;
};

TEST_F(FrameInFlight, HasTwoReferencesAndItsRequestOneForEachHolder) {
    GatedReads gate;
    Occupy(gate, kReadThreads);
    const Frame frame = Issue(PrPixelFormat_UYVY_422_8u_601, 10);
    // The pipeline's two and the test's; the frame's and the queue's.
    EXPECT_EQ(ReferencesTo(*frame), 3);
    EXPECT_EQ(ReferencesTo(*frame->mReadRequest), 2);
    gate.Let(kvx_test::kMediaOffset);
    ASSERT_TRUE(gate.WaitForReadAt(kvx_test::kMediaOffset + 10 * 4096));
    // The queue's has gone, and the ticket's has come.
    EXPECT_EQ(ReferencesTo(*frame->mReadRequest), 2);
    EXPECT_EQ(ReferencesTo(*frame), 3);
    FinishOthers(gate);
    EXPECT_TRUE(IsDone(frame));
    EXPECT_EQ(Bytes(frame->mPixels, 4096), Media(10, 4096));
}

TEST_F(FrameInFlight, CancelledBeforeItsFirstTicketIsCachedWithNothingRead) {
    const LogCapture log;
    GatedReads gate;
    Occupy(gate, kReadThreads);
    const Frame frame = Issue(PrPixelFormat_UYVY_422_8u_601, 10);
    EXPECT_EQ(Cancel(frame), 0);
    EXPECT_EQ(AdditionsOf(10), 1);
    EXPECT_EQ(frame->mStatus, 89);
    EXPECT_TRUE(frame->mReadDone);
    EXPECT_EQ(ReferencesTo(*frame), 1);
    EXPECT_EQ(ReferencesTo(*frame->mReadRequest), 1);
    FinishOthers(gate);
    EXPECT_TRUE(IsFresh(frame->mPixels, 4096));
    EXPECT_EQ(AdditionsOf(10), 1);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(FrameInFlight, CancelledBetweenItsTicketsKeepsThePixelsUntilTheReadIsOver) {
    const LogCapture log;
    GatedReads gate;
    Occupy(gate, kReadThreads - 1);
    Frame frame = IssueLarge(gate, 1);
    EXPECT_EQ(Cancel(frame), 0);
    EXPECT_EQ(AdditionsOf(0), 1);
    EXPECT_EQ(frame->mStatus, 89);
    // Neither the host nor the test wants it any more, and a megabyte is still on its way to it.
    cache.Forget();
    frame.reset();
    EXPECT_EQ(buffers.LiveCount(), kReadThreads - 1 + 1);
    gate.Let(kLargeOffset);
    EXPECT_TRUE(Eventually([this] { return buffers.LiveCount() == kReadThreads - 1; }));
    FinishOthers(gate);
}

TEST_F(FrameInFlight, CancelledWithAllTicketsTakenIsCompletedAsEver) {
    GatedReads gate;
    Occupy(gate, kReadThreads - 4);
    const Frame frame = IssueLarge(gate, 4);
    EXPECT_EQ(Cancel(frame), 0);
    EXPECT_EQ(AdditionsOf(0), 0);
    FinishOthers(gate);
    EXPECT_TRUE(IsDone(frame));
    EXPECT_EQ(AdditionsOf(0), 1);
    EXPECT_EQ(frame->mStatus, 0);
    EXPECT_TRUE(Bytes(frame->mPixels, kLargeUYVY.frameSize) == Media(0, kLargeUYVY.frameSize));
}

// A host's cache that keeps whoever comes until it is opened.
std::atomic<bool> sCacheIsOpen{false};
std::atomic<int> sBeforeTheCache{0};
int32_t WaitAtTheCache(uint32_t, int32_t, PPixHand, int32_t, void*, int32_t) {
    ++sBeforeTheCache;
    Eventually([] { return sCacheIsOpen.load(); });
    return 0;
}

TEST_F(FrameInFlight, CancelledWhileItIsConvertedIsCompletedAsEver) {
    PrSDKPPixCacheSuite suite = {&WaitAtTheCache, nullptr};
    sCacheIsOpen = false;
    sBeforeTheCache = 0;
    buffers.settings.misalignment = 16;
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    const Frame frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
    frame->mCacheSuite = &suite;
    frame->Retain();
    ASSERT_EQ(frame->Issue(), 0);
    ASSERT_TRUE(Eventually([] { return sBeforeTheCache == 1; }));
    EXPECT_EQ(Cancel(frame), 0);
    // The maker's, the conversion thread's and the test's.
    EXPECT_EQ(ReferencesTo(*frame), 3);
    sCacheIsOpen = true;
    EXPECT_TRUE(IsDone(frame));
    EXPECT_EQ(sBeforeTheCache, 1);
    EXPECT_EQ(frame->mStatus, 0);
    EXPECT_EQ(Bytes(frame->mPixels, 4096), Media(0, 4096));
}

TEST_F(FrameInFlight, AReadThatFailsBesideOthersKeepsThePixelsUntilTheyAreOver) {
    const LogCapture log;
    GatedReads gate;
    Occupy(gate, kReadThreads - 3);
    Frame frame = IssueLarge(gate, 3);
    gate.Let(kLargeOffset + kTicketSize, 5);
    ASSERT_TRUE(cache.WaitForFrame(clip->ImporterID(), 0, kPatience));
    // Its second ticket has ended, and with it the request; two are being read.
    EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame->mReadRequest) == 3; }));
    EXPECT_EQ(frame->mStatus, 5);
    cache.Forget();
    frame.reset();
    EXPECT_EQ(buffers.LiveCount(), kReadThreads - 3 + 1);
    gate.Let(kLargeOffset + 2 * kTicketSize);
    EXPECT_TRUE(gate.WaitForWaiting(kReadThreads - 3 + 1));
    EXPECT_EQ(buffers.LiveCount(), kReadThreads - 3 + 1);
    gate.Let(kLargeOffset);
    EXPECT_TRUE(Eventually([this] { return buffers.LiveCount() == kReadThreads - 3; }));
    FinishOthers(gate);
}

TEST_F(FrameInFlight, AFileThatIsPutToSleepFailsItsReadsAndTheFramesArrive) {
    LogCapture log;
    GatedReads gate;
    Occupy(gate, kReadThreads);
    mOthers.push_back(Issue(PrPixelFormat_UYVY_422_8u_601, 12));
    EXPECT_EQ(clip->Quiet(), 0);
    gate.LetAll();
    EXPECT_TRUE(cache.WaitForAdditions(kReadThreads + 1, kPatience));
    for (const Frame& frame : mOthers) {
        EXPECT_TRUE(IsDone(frame));
        EXPECT_EQ(frame->mStatus, 9);
    }
    mOthers.clear();
}

// The one road without an end: nothing tells a read that came short from one that goes on.
TEST_F(FrameInFlight, AFileThatBecomesShorterLeavesTheFrameOnItsWay) {
    LogCapture log;
    GatedReads gate;
    OpenMovie(MovieOfPicture(kPageUYVY, 20));
    const Frame frame = Issue(PrPixelFormat_UYVY_422_8u_601, 10);
    ASSERT_TRUE(gate.WaitForWaiting(1));
    ASSERT_EQ(truncate(movies.back().c_str(), 0x10000 + 10 * 4096), 0);
    gate.LetAll();
    EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame->mReadRequest) == 1; }));
    char expected[200];
    std::snprintf(expected, sizeof expected,
                  "ExecuteReadTicket: pread(%d, %p, 4096, 106496) hit EOF\n",
                  track->mFileDescriptor, static_cast<void*>(frame->mPixels));
    EXPECT_EQ(log.Text(), expected);
    EXPECT_EQ(ReferencesTo(*frame), 3);
    EXPECT_EQ(cache.Additions(), 0);
    // The test ends what nothing else will.
    EXPECT_EQ(frame->mReadRequest->Cancel(nullptr), 0);
    EXPECT_EQ(ReferencesTo(*frame), 1);
}

}  // namespace
