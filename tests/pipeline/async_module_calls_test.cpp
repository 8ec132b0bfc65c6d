// What the asynchronous module of a clip asks of the host and gives to its frames.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/pool_by_hand.h"
#include "pipeline/read_controller.h"

namespace {

using KVX::AsyncImportModule;
using kvx_hostkit::Host;
using kvx_hostkit::PixelBuffers;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;

class AsyncModuleCalls : public kvx_test::FrameTest {
  protected:
    void SetUp() override { OpenMovie(MovieOfPicture(kPageUYVY, 5)); }

    imSourceVideoRec Record(int64_t time, std::vector<PrPixelFormat> formats) {
        mFormats.clear();
        for (const PrPixelFormat format : formats) {
            mFormats.push_back({0, 0, format});
        }
        imSourceVideoRec record = {};
        record.frameTime = time;
        record.frameFormats = mFormats.data();
        record.frameFormatCount = static_cast<int32_t>(mFormats.size());
        record.ppix = &mFound;
        return record;
    }

    PPixHand mFound = nullptr;

  private:
    std::vector<imFrameFormat> mFormats;
};

TEST_F(AsyncModuleCalls, SuitesAreAcquiredInOrderUpToTheFirstThatFails) {
    const std::vector<kvx_test::Suite>& suites = kvx_test::SuitesOfFrames();
    const LogCapture log;
    for (size_t failing = 0; failing < suites.size(); ++failing) {
        std::vector<int> before;
        for (const kvx_test::Suite& suite : suites) {
            before.push_back(host.AcquisitionCount(suite.name, suite.version));
        }
        host.FailAcquisition(suites[failing].name, 13);
        EXPECT_EQ(AsyncImportModule::Create(1, Host::BasicSuite(), track), nullptr);
        host.FailAcquisition(suites[failing].name, 0);
        for (size_t index = 0; index < suites.size(); ++index) {
            const kvx_test::Suite& suite = suites[index];
            EXPECT_EQ(host.AcquisitionCount(suite.name, suite.version) - before[index],
                      index < failing ? 1 : 0)
                << suite.name << " while it fails to get " << suites[failing].name;
            // What it got it keeps.
            EXPECT_EQ(host.ReleaseCount(suite.name, suite.version), 0);
        }
    }
}

// As from a host that gave no table of suites when the file was opened.
TEST_F(AsyncModuleCalls, NothingIsAskedOfAHostWithoutSuites) {
    LogCapture log;
    EXPECT_EQ(AsyncImportModule::Create(1, nullptr, track), nullptr);
    EXPECT_EQ(log.Text(),
              "Init: AcquireSuite returned 22\n"
              "Create: AsyncModule::Init() returned 22\n");
}

std::vector<int32_t> sTimebase;
int32_t AnswerTicks(int32_t timebase, int32_t sampleSize, int64_t* ticks) {
    sTimebase = {timebase, sampleSize};
    *ticks = 0x123456789A;
    return 0;
}

TEST_F(AsyncModuleCalls, TheTicksOfAFrameAreAskedForIn32Bits) {
    static const PrSDKLegacySuite kLegacy = {&AnswerTicks};
    host.AddSuite("Premiere Legacy Suite", 1, &kLegacy);
    track->mMediaTimeScale = 0x100007530;
    track->mSampleDuration = 0x2000003E9;
    AsyncImportModule* const made = AsyncImportModule::Create(1, Host::BasicSuite(), track);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(sTimebase, (std::vector<int32_t>{30000, 1001}));
    EXPECT_EQ(made->mTicksPerFrame, 0x123456789A);
    EXPECT_EQ(made->Close(), 0);
}

TEST_F(AsyncModuleCalls, WithoutTicksBothCallsSaySo) {
    module->mTicksPerFrame = 0;
    imSourceVideoRec record = Record(5, {kKVXCustomPixelFormat});
    LogCapture log;
    EXPECT_EQ(module->InitiateAsyncRead(&record), 22);
    EXPECT_EQ(module->GetFrame(&record), 22);
    EXPECT_EQ(log.Text(),
              "InitiateAsyncRead: GetFrameIndex returned 22\n"
              "GetFrame: GetFrameIndex returned 22\n");
    EXPECT_EQ(cache.faults.Calls("GetFrameFromCache"), 0);
}

TEST_F(AsyncModuleCalls, AFrameIsGivenAllThatItNeedsOfTheModule) {
    kvx_test::PoolByHand<KVX::ReadController> reading;
    imSourceVideoRec record =
        Record(2 * module->mTicksPerFrame + 7,
               {PrPixelFormat_V210_422_10u_601, PrPixelFormat_UYVY_422_8u_709});
    ASSERT_EQ(module->InitiateAsyncRead(&record), 0);
    ASSERT_EQ(reading.mQueue.size(), 1u);
    KVX::ReadRequest* const request = reading.mQueue.front();
    EXPECT_EQ(request->mCompletion, &KVX::ImportFrame::StaticReadCompleted);
    const auto* frame = static_cast<const KVX::ImportFrame*>(request->mCompletionData);
    EXPECT_EQ(frame->mImporterID, clip->ImporterID());
    EXPECT_EQ(frame->mVideoTrack, track);
    EXPECT_EQ(frame->mDecompressor, nullptr);
    EXPECT_EQ(frame->mPixelFormat, PrPixelFormat_UYVY_422_8u_709);
    EXPECT_EQ(frame->mFrameIndex, 2);
    EXPECT_EQ(frame->mFrameTime, 2 * module->mTicksPerFrame + 7);
    EXPECT_EQ(frame->mCacheSuite, module->mCacheSuite);
    EXPECT_EQ(frame->mCreatorSuite, module->mCreatorSuite);
    EXPECT_EQ(frame->mCreator2Suite, module->mCreator2Suite);
    EXPECT_EQ(frame->mPPixSuite, module->mPPixSuite);
    EXPECT_EQ(frame->mReadRequest, request);
    // The maker's, which nobody else holds any more, and Issue's; the frame's and the queue's.
    EXPECT_EQ(frame->mRefCount, 2);
    EXPECT_EQ(request->mRefCount, 2);
    EXPECT_TRUE(reading.RunOne());
    EXPECT_EQ(cache.AdditionsOf(clip->ImporterID(), 2), 1);
}

TEST_F(AsyncModuleCalls, TheFirstFormatThatServesSettlesTheRoad) {
    imSourceVideoRec record =
        Record(0, {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_UYVY_422_8u_601});
    ASSERT_EQ(module->InitiateAsyncRead(&record), 0);
    ASSERT_TRUE(cache.WaitForFrame(clip->ImporterID(), 0, kvx_test::kPatience));
    ASSERT_EQ(module->GetFrame(&record), 0);
    const kvx_hostkit::PixelBufferView view = PixelBuffers::View(mFound);
    EXPECT_EQ(view.format, PrPixelFormat_BGRA_4444_8u);
    EXPECT_EQ(view.rowBytes, 4 * 64);
    // Converted: each pixel is opaque.
    for (size_t pixel = 0; pixel < 64 * 32; ++pixel) {
        ASSERT_EQ(view.pixels[4 * pixel + 3], '\xFF') << pixel;
    }
    PixelBuffers::Dispose(mFound);
}

char sPixels = 0;
char* sCached = &sPixels;
std::vector<PPixHand> sDisposed;

TEST_F(AsyncModuleCalls, AFrameThatIsCachedAlreadyIsGivenBack) {
    PrSDKPPixCacheSuite cacheSuite = {nullptr, [](uint32_t, int32_t, int32_t, int32_t,
                                                  imFrameFormat*, PPixHand* ppix, void*, int32_t) {
                                          *ppix = &sCached;
                                          return int32_t{0};
                                      }};
    PrSDKPPixSuite ppixSuite = {[](PPixHand ppix) {
                                    sDisposed.push_back(ppix);
                                    return int32_t{6};
                                },
                                nullptr,
                                {},
                                nullptr};
    module->mCacheSuite = &cacheSuite;
    module->mPPixSuite = &ppixSuite;
    sDisposed.clear();
    imSourceVideoRec record = Record(0, {});
    LogCapture log;
    EXPECT_EQ(module->InitiateAsyncRead(&record), 0);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(sDisposed, std::vector<PPixHand>{&sCached});
    EXPECT_EQ(mFound, nullptr);

    // Whoever looks for it keeps it.
    EXPECT_EQ(module->GetFrame(&record), 0);
    EXPECT_EQ(mFound, &sCached);
    EXPECT_EQ(sDisposed.size(), 1u);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

// It has the frame, or says so; there is nothing to give back.
TEST_F(AsyncModuleCalls, AFrameThatIsCachedWithoutPixelsIsNotGivenBack) {
    PrSDKPPixCacheSuite cacheSuite = {
        nullptr, [](uint32_t, int32_t, int32_t, int32_t, imFrameFormat*, PPixHand*, void*,
                    int32_t) { return int32_t{0}; }};
    PrSDKPPixSuite ppixSuite = {[](PPixHand ppix) {
                                    sDisposed.push_back(ppix);
                                    return int32_t{0};
                                },
                                nullptr,
                                {},
                                nullptr};
    module->mCacheSuite = &cacheSuite;
    module->mPPixSuite = &ppixSuite;
    sDisposed.clear();
    imSourceVideoRec record = Record(0, {});
    EXPECT_EQ(module->InitiateAsyncRead(&record), 0);
    EXPECT_EQ(sDisposed.size(), 0u);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

std::vector<int32_t> sLookedFor;

TEST_F(AsyncModuleCalls, TheCacheCountsFramesIn32Bits) {
    PrSDKPPixCacheSuite cacheSuite = {nullptr, [](uint32_t, int32_t, int32_t frameIndex, int32_t,
                                                  imFrameFormat*, PPixHand*, void*, int32_t) {
                                          sLookedFor.push_back(frameIndex);
                                          return int32_t{9};
                                      }};
    module->mCacheSuite = &cacheSuite;
    module->mTicksPerFrame = 1;
    sLookedFor.clear();
    imSourceVideoRec record = Record(0x500000003, {});
    LogCapture log;
    EXPECT_EQ(module->GetFrame(&record), 9);
    EXPECT_EQ(module->InitiateAsyncRead(&record), 22);
    EXPECT_EQ(sLookedFor, (std::vector<int32_t>{3, 3}));
    EXPECT_EQ(log.Text(),
              "GetFrame: GetFrameFromCache returned 9 (0x00000009) for frameIndex 21474836483\n"
              "ChooseDestinationFormat: Failed to pick a destination pixel format for source "
              "format kvxFormat8BitYUV\n"
              "InitiateAsyncRead: ChooseDestinationFormat returned 22\n");
}

// Ticks that run backwards, and the one division that has no result.
TEST_F(AsyncModuleCalls, TicksBelowZeroAreDividedByAsTheyAre) {
    PrSDKPPixCacheSuite cacheSuite = {nullptr, [](uint32_t, int32_t, int32_t frameIndex, int32_t,
                                                  imFrameFormat*, PPixHand*, void*, int32_t) {
                                          sLookedFor.push_back(frameIndex);
                                          return kPPixCacheMiss;
                                      }};
    module->mCacheSuite = &cacheSuite;
    struct Case {
        long ticks;
        int64_t time;
        int32_t index;
    };
    for (const Case& each : {Case{-10, 29, -2}, Case{-10, -29, 2}, Case{-1, 7, -7}, Case{-1, -7, 7},
                             // 2^63, of which the cache's 32 bits are 0.
                             Case{-1, INT64_MIN, 0}, Case{-2, INT64_MIN + 2, -1}}) {
        module->mTicksPerFrame = each.ticks;
        sLookedFor.clear();
        imSourceVideoRec record = Record(each.time, {});
        EXPECT_EQ(module->GetFrame(&record), 3);
        EXPECT_EQ(sLookedFor, std::vector<int32_t>{each.index}) << each.time << "/" << each.ticks;
    }
}

}  // namespace
