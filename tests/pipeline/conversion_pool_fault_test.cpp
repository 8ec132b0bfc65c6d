// The conversion pool while its calls of the system fail: what is answered and logged, how many
// threads it has, and where the references are.
#include <gtest/gtest.h>

#include <string>

#include "pipeline/import_frame.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/reference.h"
#include "quicktime/video_track.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::ImportFrame;
using KVX::ImportFrameConverter;
using kvx_test::CallCount;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::Reference;
using kvx_test::SystemCall;

// Without threads, so that the test itself does their work.
class StillPool : public ImportFrameConverter {
  public:
    StillPool() { EXPECT_EQ(Threaded::Init(0), 22); }
};

int sAdditions = 0;
PrSDKPPixCacheSuite sCacheSuite = {[](uint32_t, int32_t, PPixHand, int32_t, void*, int32_t) {
                                       ++sAdditions;
                                       return int32_t{0};
                                   },
                                   nullptr};

class ConversionPoolFault : public testing::Test {
  protected:
    ConversionPoolFault() : mFrame(NewFrame()) { sAdditions = 0; }

    // With one reference, and nothing read.
    ImportFrame* NewFrame() {
        auto* frame = new ImportFrame(1, &mTrack, nullptr, PrPixelFormat_UYVY_422_8u_601, 0, 0,
                                      &sCacheSuite, nullptr, nullptr, nullptr);
        EXPECT_EQ(frame->Init(), 0);
        return frame;
    }

    KVX::QT::VideoTrack mTrack;
    const Reference<ImportFrame> mFrame;
    StillPool mPool;
    LogCapture mLog;
};

TEST_F(ConversionPoolFault, AddingWithoutTheLockQueuesNothing) {
    const Fault fault(SystemCall::kMutexLock, 35);
    EXPECT_EQ(mPool.AddFrame(mFrame.get()), 35);
    EXPECT_EQ(mLog.Text(),
              "Lock: pthread_mutex_lock returned 35\n"
              "Lock: Lock returned 35\n"
              "AddFrame: Lock returned 35\n");
    EXPECT_TRUE(mPool.mQueue.empty());
    EXPECT_EQ(mFrame->mRefCount, 1);
}

TEST_F(ConversionPoolFault, AddingThatWakesNobodyKeepsTheFrameQueued) {
    {
        const Fault fault(SystemCall::kCondSignal, 22);
        EXPECT_EQ(mPool.AddFrame(mFrame.get()), 22);
    }
    EXPECT_EQ(mLog.Text(),
              "WakeOne: pthread_cond_signal returned 22\n"
              "AddFrame: WakeOne returned 22\n");
    ASSERT_EQ(mPool.mQueue.size(), 1u);
    EXPECT_EQ(mPool.mQueue.front(), mFrame.get());
    EXPECT_EQ(mFrame->mRefCount, 2);
}

TEST_F(ConversionPoolFault, AddingWakesOneThreadAndNotAll) {
    const long signals = CallCount(SystemCall::kCondSignal);
    const long broadcasts = CallCount(SystemCall::kCondBroadcast);
    EXPECT_EQ(mPool.AddFrame(mFrame.get()), 0);
    EXPECT_EQ(CallCount(SystemCall::kCondSignal), signals + 1);
    EXPECT_EQ(CallCount(SystemCall::kCondBroadcast), broadcasts);
}

// The maker's reference stays: nobody is left who would drop it.
TEST_F(ConversionPoolFault, AFrameIsNotConvertedWithThePoolLocked) {
    mFrame->Retain();
    ASSERT_EQ(mPool.AddFrame(mFrame.get()), 0);
    const KVX::Core::Lock lock(&mPool);
    void* const frame = mPool.WorkToDo();
    EXPECT_EQ(mFrame->mRefCount, 3);
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        mPool.RunThreadPass(frame);
    }
    EXPECT_EQ(mLog.Text(),
              "Unlock: pthread_mutex_unlock returned 1\n"
              "Unlock: Unlock returned 1\n"
              "RunThreadPass: Unlock returned 1\n");
    EXPECT_EQ(mFrame->mRefCount, 2);
    EXPECT_EQ(sAdditions, 0);
    mFrame->Release();
}

TEST(ConversionPoolThreads, AreAsManyAsTheProcessors) {
    for (const int processors : {1, 2, 5}) {
        const LogCapture log;
        ImportFrameConverter pool;
        const Fault fault(SystemCall::kProcessorCount, processors);
        EXPECT_EQ(pool.Init(), 0);
        EXPECT_EQ(pool.mThreadCount, processors);
        EXPECT_EQ(log.Raw(), "");
    }
}

TEST(ConversionPoolThreads, NoProcessorIsNoPool) {
    const LogCapture log;
    {
        ImportFrameConverter pool;
        const Fault fault(SystemCall::kProcessorCount, 0);
        EXPECT_EQ(pool.Init(), 22);
        EXPECT_EQ(pool.mThreadCount, 0);
    }
    EXPECT_EQ(log.Text(), "Init: Threaded::Init returned 22\n");
}

TEST(ConversionPoolThreads, ProcessorsThatCannotBeCountedAreNoPool) {
    const LogCapture log;
    {
        ImportFrameConverter pool;
        const Fault fault(SystemCall::kProcessorCount, -1);
        EXPECT_EQ(pool.Init(), -1);
        EXPECT_EQ(pool.mThreadCount, 0);
    }
    EXPECT_EQ(log.Text(), "Init: sysctlbyname returned -1\n");
}

TEST(ConversionPoolThreads, AThreadThatDoesNotStartIsToldByThePoolToo) {
    const LogCapture log;
    {
        ImportFrameConverter pool;
        const Fault processors(SystemCall::kProcessorCount, 4);
        const Fault create(SystemCall::kThreadCreate, 11, 3);
        EXPECT_EQ(pool.Init(), 11);
        EXPECT_EQ(pool.mThreadCount, 2);
    }
    EXPECT_EQ(log.Text(),
              "Init: pthread_create returned 11\n"
              "Init: Threaded::Init returned 11\n");
}

}  // namespace
