// The end of a frame's read, and what becomes of a frame that the conversion pool does not take.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <type_traits>

#include "pipeline/frame_test.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/pool_by_hand.h"
#include "pipeline/read_controller.h"
#include "support/fault_injection.h"

namespace {

using KVX::ImportFrame;
using KVX::ImportFrameConverter;
using KVX::ReadController;
using kvx_test::Bytes;
using kvx_test::Fault;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::PoolByHand;
using kvx_test::Reference;
using kvx_test::SystemCall;

static_assert(std::is_convertible_v<ImportFrame*, KVX::Core::Lockable*>);
static_assert(std::is_convertible_v<ImportFrame*, KVX::Core::Refcounted*>);

class FrameCompletion : public kvx_test::FrameTest {
  protected:
    // Pixels beside a page, so that the bytes have to be copied.
    void SetUp() override {
        buffers.settings.misalignment = 16;
        OpenMovie(MovieOfPicture(kPageUYVY, 1));
    }

    // Issues a frame, with a reference of the test's own, and reads it.
    Reference<ImportFrame> ReadFrame() {
        Reference<ImportFrame> frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0);
        EXPECT_TRUE(frame->mNeedsConversion);
        frame->mStatus = 77;  // until somebody writes it
        EXPECT_TRUE(mReading.RunOne());
        return frame;
    }

    PoolByHand<ReadController> mReading;
    PoolByHand<ImportFrameConverter> mConverting;
};

TEST_F(FrameCompletion, AFrameThatWasReadWaitsInTheOtherQueue) {
    const LogCapture log;
    const auto frame = ReadFrame();
    EXPECT_TRUE(frame->mReadDone);
    EXPECT_EQ(frame->mStatus, 0);
    // The maker's, the conversion queue's and the test's.
    EXPECT_EQ(frame->mRefCount, 3);
    EXPECT_EQ(cache.Additions(), 0);
    EXPECT_TRUE(IsFresh(frame->mPixels, 4096));

    EXPECT_TRUE(mConverting.RunOne());
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(cache.Additions(), 1);
    EXPECT_EQ(Bytes(frame->mPixels, 4096), Media(0, 4096));
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(FrameCompletion, AFrameThatTheConversionPoolRefusesIsCachedAsItIs) {
    LogCapture log;
    ASSERT_EQ(mConverting.Lock(), 0);
    const auto frame = ReadFrame();
    EXPECT_EQ(mConverting.Unlock(), 0);
    const std::string returned = " returned " + std::to_string(EDEADLK) + "\n";
    EXPECT_EQ(log.Text(), "Lock: pthread_mutex_lock" + returned + "Lock: Lock" + returned +
                              "AddFrame: Lock" + returned +
                              "ReadCompleted: ImportFrameConverter::AddFrame" + returned);
    EXPECT_TRUE(frame->mReadDone);
    EXPECT_EQ(frame->mStatus, EDEADLK);
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(cache.AdditionsOf(clip->ImporterID(), 0), 1);
    EXPECT_TRUE(IsFresh(frame->mPixels, 4096));
    EXPECT_FALSE(mConverting.RunOne());
}

// The frame is queued although its pool was not woken: it is cached at once, and a thread that
// looks later does not add it a second time.
TEST_F(FrameCompletion, AFrameWhoseConversionThreadIsNotWokenIsCachedOnce) {
    LogCapture log;
    Reference<ImportFrame> frame;
    {
        const Fault fault(SystemCall::kCondSignal, 22);
        frame = ReadFrame();
    }
    EXPECT_EQ(log.Text(),
              "WakeOne: pthread_cond_signal returned 22\n"
              "AddFrame: WakeOne returned 22\n"
              "ReadCompleted: ImportFrameConverter::AddFrame returned 22\n");
    EXPECT_EQ(frame->mStatus, 22);
    EXPECT_EQ(cache.Additions(), 1);
    // The queue's and the test's.
    EXPECT_EQ(frame->mRefCount, 2);
    EXPECT_TRUE(mConverting.RunOne());
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(cache.Additions(), 1);
}

TEST_F(FrameCompletion, AFailedReadDoesNotComeToTheConversionPool) {
    const LogCapture log;
    const int descriptor = track->mFileDescriptor;
    track->mFileDescriptor = 100000;
    const auto frame = ReadFrame();
    track->mFileDescriptor = descriptor;
    EXPECT_EQ(frame->mStatus, 9);
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(cache.Additions(), 1);
    EXPECT_FALSE(mConverting.RunOne());
}

TEST_F(FrameCompletion, TheRequestsArgumentIsNotLookedAt) {
    const Reference<ImportFrame> frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
    frame->Retain();
    ASSERT_EQ(frame->Issue(), 0);
    ImportFrame::StaticReadCompleted(frame.get(), 5, this);
    EXPECT_EQ(frame->mStatus, 5);
    EXPECT_TRUE(frame->mReadDone);
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(cache.Additions(), 1);
}

TEST_F(FrameCompletion, ACompletionOfNoFrameIsPassedOver) {
    const LogCapture log;
    ImportFrame::StaticReadCompleted(nullptr, 5, nullptr);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(cache.Additions(), 0);
}

TEST_F(FrameCompletion, TheCachesAnswerIsToldInBothForms) {
    cache.faults.FailAt("AddFrameToCache", 1, 0x1A);
    LogCapture log;
    const auto frame = ReadFrame();
    EXPECT_TRUE(mConverting.RunOne());
    EXPECT_EQ(log.Text(), "ConvertCompleted: AddFrameToCache returned 26 (0x0000001a)\n");
    EXPECT_EQ(frame->mStatus, 0);
    EXPECT_EQ(frame->mRefCount, 1);
}

}  // namespace
