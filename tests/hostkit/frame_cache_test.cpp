#include "hostkit/frame_cache.h"

#include <gtest/gtest.h>

#include <thread>

#include "hostkit/pixel_buffers.h"

namespace {

using kvx_hostkit::FrameCache;
using kvx_hostkit::Host;
using kvx_hostkit::PixelBuffers;
using std::chrono::milliseconds;

constexpr uint32_t kFile = 5;

class Cache : public testing::Test {
  protected:
    // Adds a frame through the suite; the cache's hold is the only one left.
    PPixHand Add(int32_t frameIndex, PrPixelFormat format = PrPixelFormat_BGRA_4444_8u) {
        const PPixHand ppix = buffers.Create(format, 2, 2);
        EXPECT_EQ(Suite().AddFrameToCache(kFile, 0, ppix, frameIndex, nullptr, 0), 0);
        PixelBuffers::Dispose(ppix);
        return ppix;
    }

    static int32_t Find(int32_t frameIndex, std::vector<PrPixelFormat> formats, PPixHand& ppix,
                        uint32_t file = kFile) {
        std::vector<imFrameFormat> offered;
        for (const PrPixelFormat format : formats) {
            offered.push_back({0, 0, format});
        }
        return Suite().GetFrameFromCache(file, 0, frameIndex, static_cast<int32_t>(offered.size()),
                                         offered.data(), &ppix, nullptr, 0);
    }

    static const PrSDKPPixCacheSuite& Suite() {
        const void* suite = nullptr;
        EXPECT_EQ(Host::BasicSuite()->AcquireSuite("Premiere PPix Cache Suite", 3, &suite), 0);
        return *static_cast<const PrSDKPPixCacheSuite*>(suite);
    }

    Host host;
    PixelBuffers buffers{host};
    FrameCache cache{host, 3};
};

TEST_F(Cache, FindsByFileFrameAndFormat) {
    const PPixHand added = Add(7);
    PPixHand found = nullptr;
    EXPECT_EQ(Find(6, {PrPixelFormat_Any}, found), INT32_MIN);
    EXPECT_EQ(Find(7, {PrPixelFormat_Any}, found, kFile + 1), INT32_MIN);
    EXPECT_EQ(Find(7, {PrPixelFormat_BGRA_4444_16u}, found), INT32_MIN);
    EXPECT_EQ(Find(7, {}, found), INT32_MIN);
    EXPECT_EQ(found, nullptr);
    for (const PrPixelFormat format : {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_Any}) {
        ASSERT_EQ(Find(7, {PrPixelFormat_BGRA_4444_16u, format}, found), 0);
        EXPECT_EQ(found, added);
        // With a hold for the caller.
        PixelBuffers::Dispose(found);
        EXPECT_EQ(buffers.LiveCount(), 1);
    }
}

TEST_F(Cache, NewestFrameComesFirst) {
    Add(1);
    const PPixHand newer = Add(1);
    PPixHand found = nullptr;
    ASSERT_EQ(Find(1, {PrPixelFormat_Any}, found), 0);
    EXPECT_EQ(found, newer);
    PixelBuffers::Dispose(found);
    EXPECT_EQ(cache.AdditionsOf(kFile, 1), 2);

    const PPixHand taken = cache.Take(kFile, 1);
    EXPECT_EQ(taken, newer);
    PixelBuffers::Dispose(taken);
    EXPECT_EQ(cache.Size(), 1u);
    EXPECT_EQ(cache.Take(kFile, 2), nullptr);
}

TEST_F(Cache, OldestLeaveAFullCache) {
    for (int32_t frame = 0; frame < 5; ++frame) {
        Add(frame);
    }
    EXPECT_EQ(cache.Size(), 3u);
    EXPECT_EQ(buffers.LiveCount(), 3);
    EXPECT_EQ(cache.Additions(), 5);
    PPixHand found = nullptr;
    EXPECT_EQ(Find(1, {PrPixelFormat_Any}, found), INT32_MIN);
    ASSERT_EQ(Find(2, {PrPixelFormat_Any}, found), 0);
    PixelBuffers::Dispose(found);
}

TEST_F(Cache, ForgetsAll) {
    Add(0);
    cache.Forget();
    EXPECT_EQ(cache.Size(), 0u);
    EXPECT_EQ(cache.Additions(), 0);
    EXPECT_EQ(cache.AdditionsOf(kFile, 0), 0);
    EXPECT_EQ(buffers.LiveCount(), 0);
}

TEST_F(Cache, WaitsForFramesAndNoLongerThanTold) {
    EXPECT_FALSE(cache.WaitForFrame(kFile, 3, milliseconds(1)));
    EXPECT_FALSE(cache.WaitForAdditions(1, milliseconds(1)));
    std::thread adder([this] {
        Add(3);
        Add(3);
    });
    EXPECT_TRUE(cache.WaitForFrame(kFile, 3, std::chrono::seconds(30), 2));
    EXPECT_TRUE(cache.WaitForAdditions(2, std::chrono::seconds(30)));
    adder.join();
}

TEST_F(Cache, CallsFailOnOrder) {
    const PPixHand ppix = buffers.Create(PrPixelFormat_BGRA_4444_8u, 2, 2);
    cache.faults.FailAt("AddFrameToCache", 1, 41);
    EXPECT_EQ(Suite().AddFrameToCache(kFile, 0, ppix, 0, nullptr, 0), 41);
    EXPECT_EQ(cache.Additions(), 0);
    PixelBuffers::Dispose(ppix);
    EXPECT_EQ(buffers.LiveCount(), 0);

    Add(0);
    cache.faults.FailAt("GetFrameFromCache", 1, 42, true);
    PPixHand found = nullptr;
    EXPECT_EQ(Find(0, {PrPixelFormat_Any}, found), 42);
    EXPECT_EQ(Find(0, {PrPixelFormat_Any}, found), 42);
    cache.faults.Clear();
    EXPECT_EQ(Find(0, {PrPixelFormat_Any}, found), 0);
    PixelBuffers::Dispose(found);
}

}  // namespace
