#include "hostkit/pixel_buffers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

using kvx_hostkit::Host;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;

class Buffers : public testing::Test {
  protected:
    template <typename Suite>
    static const Suite& Acquire(const char* name, int32_t version) {
        const void* suite = nullptr;
        EXPECT_EQ(Host::BasicSuite()->AcquireSuite(name, version, &suite), 0);
        return *static_cast<const Suite*>(suite);
    }

    Host host;
    PixelBuffers buffers{host};
    const PrSDKPPixCreatorSuite& creator =
        Acquire<PrSDKPPixCreatorSuite>("Premiere PPix Creator Suite", 1);
    const PrSDKPPixCreator2Suite& creator2 =
        Acquire<PrSDKPPixCreator2Suite>("Premiere PPix Creator 2 Suite", 3);
    const PrSDKPPixSuite& ppixSuite = Acquire<PrSDKPPixSuite>("Premiere PPix Suite", 1);
};

TEST_F(Buffers, RowsOfEachFormat) {
    const struct {
        PrPixelFormat format;
        int width;
        int rowBytes;
    } kCases[] = {
        {PrPixelFormat_BGRA_4444_8u, 7, 28},
        {PrPixelFormat_BGRA_4444_16u, 7, 56},
        {PrPixelFormat_BGRA_4444_32f, 7, 112},
        {PrPixelFormat_BGRX_4444_32f, 7, 112},
        {PrPixelFormat_RGB_444_10u, 7, 28},
        {PrPixelFormat_UYVY_422_8u_601, 8, 16},
        {PrPixelFormat_UYVY_422_8u_709, 8, 16},
        {PrPixelFormat_V210_422_10u_601, 48, 128},
        {PrPixelFormat_V210_422_10u_709, 1, 128},
        {PrPixelFormat_V210_422_10u_601, 49, 256},
        {PrPixelFormat_Raw, 8, 0},
        {kKVXCustomPixelFormat, 8, 0},
    };
    for (const auto& each : kCases) {
        EXPECT_EQ(kvx_hostkit::TightRowBytes(each.format, each.width), each.rowBytes);
    }
}

TEST_F(Buffers, LayoutIsAsOrdered) {
    buffers.settings.alignment = 256;
    buffers.settings.misalignment = 4;
    buffers.settings.extraRowBytes = 3;
    buffers.settings.rowBytesMultiple = 16;
    const PPixHand ppix = buffers.Create(PrPixelFormat_BGRA_4444_8u, 10, 3);
    ASSERT_NE(ppix, nullptr);
    const PixelBufferView view = PixelBuffers::View(ppix);
    EXPECT_EQ(view.format, PrPixelFormat_BGRA_4444_8u);
    EXPECT_EQ(view.width, 10);
    EXPECT_EQ(view.height, 3);
    EXPECT_EQ(view.rowBytes, 48);
    EXPECT_EQ(view.dataSize, 144u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(view.pixels) % 256, 4u);
    // A host's handle leads to the pixels.
    EXPECT_EQ(*ppix, view.pixels);
    EXPECT_TRUE(std::all_of(view.pixels, view.pixels + view.dataSize, [](char byte) {
        return static_cast<uint8_t>(byte) == kvx_hostkit::kFreshPixel;
    }));
    PixelBuffers::Dispose(ppix);
}

TEST_F(Buffers, SuitesMakeShowAndDispose) {
    const prRect bounds = {0, 0, 4, 8};
    PPixHand ppix = nullptr;
    ASSERT_EQ(creator.CreatePPix(&ppix, kPPixBufferAccess_ReadWrite, PrPixelFormat_UYVY_422_8u_601,
                                 &bounds),
              0);
    char* pixels = nullptr;
    int32_t rowBytes = 0;
    EXPECT_EQ(ppixSuite.GetPixels(ppix, kPPixBufferAccess_ReadWrite, &pixels), 0);
    EXPECT_EQ(pixels, PixelBuffers::View(ppix).pixels);
    EXPECT_EQ(ppixSuite.GetRowBytes(ppix, &rowBytes), 0);
    EXPECT_EQ(rowBytes, 16);
    EXPECT_EQ(buffers.LiveCount(), 1);
    EXPECT_EQ(ppixSuite.Dispose(ppix), 0);
    EXPECT_EQ(buffers.LiveCount(), 0);

    ASSERT_EQ(creator2.CreateCustomPPix(&ppix, kPPixBufferAccess_ReadWrite, kKVXCustomPixelFormat,
                                        8, 4, 1, 1, 999),
              0);
    EXPECT_EQ(PixelBuffers::View(ppix).dataSize, 999u);
    EXPECT_EQ(PixelBuffers::View(ppix).rowBytes, 0);
    ppixSuite.Dispose(ppix);
    EXPECT_EQ(buffers.CreatedCount(), 2);
}

TEST_F(Buffers, WhatCannotBeMadeIsRefused) {
    const prRect bounds = {0, 0, 4, 8};
    const prRect empty = {0, 0, 0, 8};
    PPixHand ppix = nullptr;
    EXPECT_NE(creator.CreatePPix(&ppix, 2, PrPixelFormat_Raw, &bounds), 0);
    EXPECT_NE(creator.CreatePPix(&ppix, 2, PrPixelFormat_BGRA_4444_8u, &empty), 0);
    EXPECT_NE(creator2.CreateCustomPPix(&ppix, 2, kKVXCustomPixelFormat, 8, 4, 1, 1, 0), 0);
    EXPECT_EQ(ppix, nullptr);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(Buffers, EveryHoldCounts) {
    const PPixHand ppix = buffers.Create(PrPixelFormat_BGRA_4444_8u, 1, 1);
    PixelBuffers::Retain(ppix);
    PixelBuffers::Dispose(ppix);
    EXPECT_EQ(buffers.LiveCount(), 1);
    PixelBuffers::Dispose(ppix);
    EXPECT_EQ(buffers.LiveCount(), 0);
}

// The first and the last byte beyond what an importer may touch.
TEST_F(Buffers, DamageOnEitherSideIsSeen) {
    const size_t slack = buffers.settings.slackBytes;
    const PPixHand whole = buffers.Create(PrPixelFormat_BGRA_4444_8u, 5, 5);
    const PixelBufferView view = PixelBuffers::View(whole);
    std::memset(view.pixels, 0, view.dataSize + slack);
    PixelBuffers::Dispose(whole);
    EXPECT_EQ(buffers.DamagedCount(), 0);

    const PPixHand before = buffers.Create(PrPixelFormat_BGRA_4444_8u, 5, 5);
    PixelBuffers::View(before).pixels[-1] = 0;
    PixelBuffers::Dispose(before);
    EXPECT_EQ(buffers.DamagedCount(), 1);

    const PPixHand behind = buffers.Create(PrPixelFormat_BGRA_4444_8u, 5, 5);
    PixelBuffers::View(behind).pixels[view.dataSize + slack] = 0;
    PixelBuffers::Dispose(behind);
    EXPECT_EQ(buffers.DamagedCount(), 2);
}

TEST_F(Buffers, RecycledMemoryServesAgain) {
    buffers.settings.recycles = true;
    buffers.settings.fills = false;
    const PPixHand first = buffers.Create(PrPixelFormat_BGRA_4444_8u, 5, 5);
    char* const pixels = PixelBuffers::View(first).pixels;
    std::memset(pixels, 0x11, 100);
    PixelBuffers::Dispose(first);
    const PPixHand second = buffers.Create(PrPixelFormat_BGRA_4444_8u, 5, 5);
    EXPECT_EQ(PixelBuffers::View(second).pixels, pixels);
    EXPECT_EQ(pixels[99], 0x11);
    PixelBuffers::Dispose(second);
}

TEST_F(Buffers, CallsFailOnOrder) {
    const prRect bounds = {0, 0, 4, 8};
    PPixHand ppix = nullptr;
    buffers.faults.FailAt("CreatePPix", 2, 33);
    EXPECT_EQ(creator.CreatePPix(&ppix, 2, PrPixelFormat_BGRA_4444_8u, &bounds), 0);
    PPixHand none = nullptr;
    EXPECT_EQ(creator.CreatePPix(&none, 2, PrPixelFormat_BGRA_4444_8u, &bounds), 33);
    EXPECT_EQ(none, nullptr);

    buffers.faults.FailAt("GetPixels", 1, 34);
    buffers.faults.FailAt("GetRowBytes", 1, 35);
    buffers.faults.FailAt("Dispose", 1, 36);
    char* pixels = nullptr;
    int32_t rowBytes = -1;
    EXPECT_EQ(ppixSuite.GetPixels(ppix, 2, &pixels), 34);
    EXPECT_EQ(ppixSuite.GetRowBytes(ppix, &rowBytes), 35);
    EXPECT_EQ(pixels, nullptr);
    EXPECT_EQ(rowBytes, -1);
    // It has let go all the same.
    EXPECT_EQ(ppixSuite.Dispose(ppix), 36);
    EXPECT_EQ(buffers.LiveCount(), 0);
}

TEST(BuffersLife, BuffersOutliveWhatMadeThem) {
    PPixHand ppix = nullptr;
    {
        Host host;
        PixelBuffers buffers(host);
        ppix = buffers.Create(PrPixelFormat_BGRA_4444_8u, 2, 2);
    }
    EXPECT_EQ(PixelBuffers::Current(), nullptr);
    EXPECT_EQ(PixelBuffers::View(ppix).width, 2);
    PixelBuffers::Dispose(ppix);
}

}  // namespace
