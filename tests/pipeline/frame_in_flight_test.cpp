// Frames whose read is held back: references on the road, cancelling at each stage, failures while
// other tickets are still being read.
#include <gtest/gtest.h>

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
using kvx_test::kMediaOffset;
using kvx_test::kPageUYVY;
using kvx_test::kPatience;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Picture;
using kvx_test::Reference;
using kvx_test::ReferencesTo;

using Frame = Reference<ImportFrame>;

constexpr int kReadThreads = 8;
constexpr uint32_t kLargeSize = 0x400000;  // four tickets
const Picture kLargeUYVY = {"2vuy", 1024, 2048, kLargeSize};

class FrameInFlight : public kvx_test::FrameTest {
  protected:
    // Issues a frame and keeps a reference of the test's own.
    Frame Issue(PrPixelFormat format, long index) {
        Frame frame(NewFrame(format, index));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0);
        return frame;
    }

    // Small frames that keep so many read threads before the gate.
    void Occupy(GatedReads& gate, int threads) {
        for (int index = 0; index < threads; ++index) {
            mOthers.push_back(Issue(kKVXCustomPixelFormat, index));
        }
        ASSERT_TRUE(gate.WaitForWaiting(threads));
    }

    int AdditionsOf(long index) {
        return cache.AdditionsOf(clip->ImporterID(), static_cast<int32_t>(index));
    }

    bool IsDone(const Frame& frame) {
        return Eventually([&] {
            return ReferencesTo(*frame) == 1 && ReferencesTo(*frame->mReadRequest) == 1;
        });
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
    OpenMovie(MovieOfPicture(kPageUYVY, 20));
    GatedReads gate;
    Occupy(gate, kReadThreads);
    const Frame frame = Issue(PrPixelFormat_UYVY_422_8u_601, 10);
    // The pipeline's two and the test's; the frame's and the queue's.
    EXPECT_EQ(ReferencesTo(*frame), 3);
    EXPECT_EQ(ReferencesTo(*frame->mReadRequest), 2);
    gate.Let(static_cast<int64_t>(kMediaOffset));
    ASSERT_TRUE(gate.WaitForReadAt(static_cast<int64_t>(kMediaOffset) + 10 * 4096));
    // The queue's has gone, and the ticket's has come.
    EXPECT_EQ(ReferencesTo(*frame->mReadRequest), 2);
    EXPECT_EQ(ReferencesTo(*frame), 3);
    FinishOthers(gate);
    EXPECT_TRUE(IsDone(frame));
    EXPECT_EQ(Bytes(frame->mPixels, 4096), Media(10, 4096));
}

TEST_F(FrameInFlight, CancelledBeforeItsFirstTicketIsCachedWithNothingRead) {
    OpenMovie(MovieOfPicture(kPageUYVY, 20));
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
}

TEST_F(FrameInFlight, CancelledBetweenItsTicketsKeepsThePixelsUntilTheReadIsOver) {
    OpenMovie(MovieOfPicture(kLargeUYVY, 8));
    GatedReads gate;
    // One thread is left for the large frame.
    Occupy(gate, 2);
    const Frame frame = Issue(PrPixelFormat_UYVY_422_8u_601, 7);
    const auto offset = static_cast<int64_t>(kMediaOffset) + 7 * int64_t{kLargeSize};
    // The two others are large too: eight threads read their tickets and some of this frame's, if
    // any. Those of the first one are let through, so that threads come to this frame.
    gate.Let(static_cast<int64_t>(kMediaOffset));
    ASSERT_TRUE(gate.WaitForReadAt(offset));
    ASSERT_FALSE(frame->mNeedsConversion);
    EXPECT_EQ(Cancel(frame), 0);
    EXPECT_EQ(AdditionsOf(7), 1);
    EXPECT_EQ(frame->mStatus, 89);
    FinishOthers(gate);
    EXPECT_TRUE(IsDone(frame));
    EXPECT_EQ(AdditionsOf(7), 1);
}

}  // namespace
