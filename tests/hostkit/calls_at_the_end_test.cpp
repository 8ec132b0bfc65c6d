// The host's side of a frame's road is destroyed as soon as the last frame is in the cache, while
// the thread that put it there is still on its way out of the host's suites.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "hostkit/frame_cache.h"
#include "hostkit/pixel_buffers.h"

namespace {

using kvx_hostkit::FrameCache;
using kvx_hostkit::Host;
using kvx_hostkit::PixelBuffers;

constexpr uint32_t kFile = 5;

class CallsAtTheEnd : public testing::TestWithParam<const char*> {
  protected:
    template <typename Suite>
    static const Suite& Acquire(const char* name, int32_t version) {
        const void* suite = nullptr;
        EXPECT_EQ(Host::BasicSuite()->AcquireSuite(name, version, &suite), 0);
        return *static_cast<const Suite*>(suite);
    }

    // The call of that name, as an importer makes it.
    void Call(const std::string& name) {
        const prRect bounds = {0, 0, 2, 2};
        imFrameFormat any = {0, 0, PrPixelFormat_Any};
        PPixHand made = nullptr;
        char* pixels = nullptr;
        int32_t rowBytes = 0;
        if (name == "CreatePPix") {
            creator.CreatePPix(&made, 2, PrPixelFormat_BGRA_4444_8u, &bounds);
        } else if (name == "CreateCustomPPix") {
            creator2.CreateCustomPPix(&made, 2, kKVXCustomPixelFormat, 2, 2, 1, 1, 8192);
        } else if (name == "GetPixels") {
            ppixSuite.GetPixels(ppix, 2, &pixels);
            EXPECT_NE(pixels, nullptr);
        } else if (name == "GetRowBytes") {
            ppixSuite.GetRowBytes(ppix, &rowBytes);
            EXPECT_EQ(rowBytes, 8);
        } else if (name == "Dispose") {
            PixelBuffers::Retain(ppix);
            ppixSuite.Dispose(ppix);
        } else if (name == "AddFrameToCache") {
            cacheSuite.AddFrameToCache(kFile, 0, ppix, 0, nullptr, 0);
        } else {
            cacheSuite.GetFrameFromCache(kFile, 0, 0, 1, &any, &made, nullptr, 0);
        }
        if (made != nullptr) {
            PixelBuffers::Dispose(made);
        }
    }

    // Runs a call of that name, in the middle of which another thread destroys `object`. Tells
    // whether the object was there for as long as the call.
    template <typename Object>
    bool OutlivesCall(std::unique_ptr<Object>& object, const std::string& name) {
        std::atomic<bool> destroyed{false};
        bool outlived = true;
        std::thread destroyer;
        object->faults.RunAt(name, 1, [&] {
            destroyer = std::thread([&] {
                object.reset();
                destroyed = true;
            });
            // Time enough for a destructor that does not wait.
            for (int wait = 0; wait < 50 && !destroyed; ++wait) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            outlived = !destroyed;
        });
        Call(name);
        destroyer.join();
        return outlived && destroyed;
    }

    Host host;
    std::unique_ptr<PixelBuffers> buffers = std::make_unique<PixelBuffers>(host);
    std::unique_ptr<FrameCache> cache = std::make_unique<FrameCache>(host);
    const PrSDKPPixCreatorSuite& creator =
        Acquire<PrSDKPPixCreatorSuite>(kPrSDKPPixCreatorSuite, kPrSDKPPixCreatorSuiteVersion);
    const PrSDKPPixCreator2Suite& creator2 =
        Acquire<PrSDKPPixCreator2Suite>(kPrSDKPPixCreator2Suite, kPrSDKPPixCreator2SuiteVersion);
    const PrSDKPPixSuite& ppixSuite =
        Acquire<PrSDKPPixSuite>(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion);
    const PrSDKPPixCacheSuite& cacheSuite =
        Acquire<PrSDKPPixCacheSuite>(kPrSDKPPixCacheSuite, kPrSDKPPixCacheSuiteVersion);
    const PPixHand ppix = buffers->Create(PrPixelFormat_BGRA_4444_8u, 2, 2);
};

using CallsOfBuffersAtTheEnd = CallsAtTheEnd;

TEST_P(CallsOfBuffersAtTheEnd, FindTheBuffers) {
    EXPECT_TRUE(OutlivesCall(buffers, GetParam()));
    cache.reset();
    PixelBuffers::Dispose(ppix);
}

INSTANTIATE_TEST_SUITE_P(, CallsOfBuffersAtTheEnd,
                         testing::Values("CreatePPix", "CreateCustomPPix", "GetPixels",
                                         "GetRowBytes", "Dispose"),
                         [](const auto& info) { return std::string(info.param); });

using CallsOfTheCacheAtTheEnd = CallsAtTheEnd;

TEST_P(CallsOfTheCacheAtTheEnd, FindTheCache) {
    EXPECT_TRUE(OutlivesCall(cache, GetParam()));
    EXPECT_EQ(buffers->LiveCount(), 1) << "the cache's frames go with it";
    PixelBuffers::Dispose(ppix);
}

INSTANTIATE_TEST_SUITE_P(, CallsOfTheCacheAtTheEnd,
                         testing::Values("AddFrameToCache", "GetFrameFromCache"),
                         [](const auto& info) { return std::string(info.param); });

using CallsBehindTheEnd = CallsAtTheEnd;

TEST_F(CallsBehindTheEnd, AreAnsweredByStatus) {
    cache.reset();
    buffers.reset();
    PPixHand made = nullptr;
    const prRect bounds = {0, 0, 2, 2};
    EXPECT_NE(creator.CreatePPix(&made, 2, PrPixelFormat_BGRA_4444_8u, &bounds), 0);
    EXPECT_NE(cacheSuite.AddFrameToCache(kFile, 0, ppix, 0, nullptr, 0), 0);
    imFrameFormat any = {0, 0, PrPixelFormat_Any};
    EXPECT_NE(cacheSuite.GetFrameFromCache(kFile, 0, 0, 1, &any, &made, nullptr, 0), 0);
    EXPECT_EQ(made, nullptr);
    // A buffer outlives both.
    char* pixels = nullptr;
    EXPECT_EQ(ppixSuite.GetPixels(ppix, 2, &pixels), 0);
    EXPECT_EQ(ppixSuite.Dispose(ppix), 0);
}

}  // namespace
