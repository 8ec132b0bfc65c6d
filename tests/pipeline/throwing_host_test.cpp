// A host whose suites throw. On the host's own thread an exception ends at the entry point, on the
// pools' threads where the suite was called; the frame's pixels and references go in any case.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "pipeline/frame_test.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/pool_by_hand.h"
#include "pipeline/read_buffers.h"
#include "pipeline/read_controller.h"
#include "support/fault_injection.h"

namespace {

using KVX::AsyncImportModule;
using KVX::ImportFrame;
using KVX::ImportFrameConverter;
using KVX::ReadBuffers;
using KVX::ReadController;
using kvx_hostkit::Host;
using kvx_test::CallCount;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::PoolByHand;
using kvx_test::Reference;
using kvx_test::SystemCall;

// No class of the standard library's: a host may throw anything.
struct HostsOwn {};

template <typename... Parameters>
int32_t Throw(Parameters...) {
    throw HostsOwn();
}

template <typename... Parameters>
void LetThrow(int32_t (*&function)(Parameters...)) {
    function = &Throw<Parameters...>;
}

constexpr char kEnded[] = "AsyncImportEntry: Selector 0 ended with an exception\n";

class ThrowingHost : public kvx_test::FrameTest {
  protected:
    void SetUp() override {
        OpenMovie(MovieOfPicture(kPageUYVY, 3));
        cacheSuite = *module->mCacheSuite;
        creatorSuite = *module->mCreatorSuite;
        creator2Suite = *module->mCreator2Suite;
        ppixSuite = *module->mPPixSuite;
        module->mCacheSuite = &cacheSuite;
        module->mCreatorSuite = &creatorSuite;
        module->mCreator2Suite = &creator2Suite;
        module->mPPixSuite = &ppixSuite;
    }

    long Request(PrPixelFormat format) {
        imFrameFormat offered = {0, 0, format};
        aiAsyncRequest request = {};
        request.privatedata = module;
        request.sourceRec.privatedata = module;
        request.sourceRec.frameFormats = &offered;
        request.sourceRec.frameFormatCount = 1;
        return AsyncImportEntry(aiInitiateAsyncRead, &request);
    }

    void ExpectRefused(PrPixelFormat format) {
        const long requests = CallCount(SystemCall::kValloc);
        LogCapture log;
        EXPECT_EQ(Request(format), 12);
        EXPECT_EQ(log.Text(), kEnded);
        EXPECT_EQ(buffers.LiveCount(), 0);
        EXPECT_EQ(cache.Additions(), 0);
        EXPECT_EQ(CallCount(SystemCall::kValloc), requests);
    }

    // Of the usual functions, any of which a test lets throw.
    PrSDKPPixCacheSuite cacheSuite;
    PrSDKPPixCreatorSuite creatorSuite;
    PrSDKPPixCreator2Suite creator2Suite;
    PrSDKPPixSuite ppixSuite;
};

TEST_F(ThrowingHost, WhenAFrameIsLookedFor) {
    LetThrow(cacheSuite.GetFrameFromCache);
    ExpectRefused(PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(ThrowingHost, WhenAFrameThatIsThereAlreadyIsGivenBack) {
    cacheSuite.GetFrameFromCache = [](uint32_t, int32_t, int32_t, int32_t, imFrameFormat*,
                                      PPixHand* ppix, void*, int32_t) {
        static char pixels = 0;
        static char* handle = &pixels;
        *ppix = &handle;
        return int32_t{0};
    };
    LetThrow(ppixSuite.Dispose);
    ExpectRefused(PrPixelFormat_UYVY_422_8u_601);
}

TEST_F(ThrowingHost, WhenPixelsAreMade) {
    LetThrow(creatorSuite.CreatePPix);
    LetThrow(creator2Suite.CreateCustomPPix);
    ExpectRefused(PrPixelFormat_UYVY_422_8u_601);
    ExpectRefused(kKVXCustomPixelFormat);
}

TEST_F(ThrowingHost, WhenPixelsAreAskedFor) {
    LetThrow(ppixSuite.GetPixels);
    ExpectRefused(PrPixelFormat_UYVY_422_8u_601);
    ExpectRefused(kKVXCustomPixelFormat);
    EXPECT_EQ(buffers.CreatedCount(), 2);
}

TEST_F(ThrowingHost, WhenRowBytesAreAskedFor) {
    LetThrow(ppixSuite.GetRowBytes);
    ExpectRefused(PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(buffers.CreatedCount(), 1);
}

TEST_F(ThrowingHost, AsTheModuleIsMade) {
    static const SPBasicSuite kThrows = {&Throw<const char*, int32_t, const void**>, nullptr};
    modules.clear();
    EXPECT_THROW(AsyncImportModule::Create(1, const_cast<SPBasicSuite*>(&kThrows), track),
                 HostsOwn);
    // Nothing is left that would keep buffers.
    constexpr size_t kSize = size_t{1} << 20;
    ReadBuffers::Free(ReadBuffers::Allocate(kSize));
    const long before = CallCount(SystemCall::kValloc);
    ReadBuffers::Free(ReadBuffers::Allocate(kSize));
    EXPECT_EQ(CallCount(SystemCall::kValloc), before + 1);
}

// The ends of a frame's road, with the pools' work done by hand.
class ThrowingHostAtTheEnd : public ThrowingHost, public testing::WithParamInterface<bool> {
  protected:
    static bool IsCopied() { return GetParam(); }

    Reference<ImportFrame> RunToTheEnd() {
        buffers.settings.misalignment = IsCopied() ? 16 : 0;
        Reference<ImportFrame> frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0);
        EXPECT_EQ(frame->mNeedsConversion, IsCopied());
        EXPECT_TRUE(mReading.RunOne());
        EXPECT_EQ(mConverting.RunOne(), IsCopied());
        return frame;
    }

    PoolByHand<ReadController> mReading;
    PoolByHand<ImportFrameConverter> mConverting;
};

TEST_P(ThrowingHostAtTheEnd, AsAFrameIsAddedToTheCache) {
    LetThrow(cacheSuite.AddFrameToCache);
    LogCapture log;
    auto frame = RunToTheEnd();
    EXPECT_EQ(log.Text(), "ConvertCompleted: AddFrameToCache returned 12 (0x0000000c)\n");
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(frame->mReadRequest->mRefCount, 1);
    frame.reset();
    EXPECT_EQ(buffers.LiveCount(), 0);
    EXPECT_EQ(mReading.mQueue.size() + mConverting.mQueue.size(), 0u);
}

TEST_P(ThrowingHostAtTheEnd, AsAFramesPixelsAreGivenBack) {
    ppixSuite.Dispose = [](PPixHand ppix) -> int32_t {
        kvx_hostkit::PixelBuffers::Dispose(ppix);
        throw std::runtime_error("disposed of");
    };
    const LogCapture log;
    RunToTheEnd();
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(cache.Additions(), 1);
    cache.Forget();
    EXPECT_EQ(buffers.LiveCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(, ThrowingHostAtTheEnd, testing::Bool(), [](const auto& road) {
    return std::string(road.param ? "Copied" : "InPlace");
});

// Completions under the read pool's lock, which is free again.
class ThrowingHostUnderTheLock : public ThrowingHost {
  protected:
    ThrowingHostUnderTheLock() { mFormat = PrPixelFormat_UYVY_422_8u_601; }

    PrPixelFormat mFormat;
    PoolByHand<ReadController> mReading;
};

TEST_F(ThrowingHostUnderTheLock, OfACancelledRequest) {
    LetThrow(cacheSuite.AddFrameToCache);
    LogCapture log;
    ASSERT_EQ(Request(mFormat), 0);
    ASSERT_EQ(mReading.mQueue.size(), 1u);
    EXPECT_EQ(mReading.CancelRequest(mReading.mQueue.front(), nullptr), 0);
    EXPECT_EQ(log.Text(), "ConvertCompleted: AddFrameToCache returned 12 (0x0000000c)\n");
    EXPECT_TRUE(mReading.mQueue.empty());
    EXPECT_EQ(buffers.LiveCount(), 0);
    EXPECT_EQ(mReading.Lock(), 0);
    EXPECT_EQ(mReading.Unlock(), 0);
}

TEST_F(ThrowingHostUnderTheLock, OfATicketThatCannotBeMade) {
    LetThrow(cacheSuite.AddFrameToCache);
    const LogCapture log;
    ASSERT_EQ(Request(mFormat), 0);
    {
        const kvx_test::Fault fault(SystemCall::kNewNothrow, 12);
        EXPECT_FALSE(mReading.RunOne());
    }
    EXPECT_TRUE(mReading.mQueue.empty());
    EXPECT_EQ(buffers.LiveCount(), 0);
    EXPECT_EQ(mReading.Lock(), 0);
    EXPECT_EQ(mReading.Unlock(), 0);
}

}  // namespace
