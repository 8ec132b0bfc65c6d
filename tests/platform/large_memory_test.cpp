#include "platform/large_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

using KVX::Platform::AllocateLarge;
using KVX::Platform::FreeLarge;
using KVX::Platform::OfferMemory;

namespace {

constexpr size_t kLargePage = 2 << 20;

class LargeMemory : public testing::TestWithParam<size_t> {};

TEST_P(LargeMemory, IsAlignedZeroedAndWritableToItsEnd) {
    const size_t size = GetParam();
    // Several at once, so that their places differ.
    std::vector<unsigned char*> blocks;
    for (int i = 0; i < 4; ++i) {
        auto* const block = static_cast<unsigned char*>(AllocateLarge(size));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % kLargePage, 0u);
        for (const size_t place : {size_t{0}, size - 1}) {
            EXPECT_EQ(block[place], 0);
            block[place] = static_cast<unsigned char>(i + 1);
        }
        blocks.push_back(block);
    }
    for (size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i][0], i + 1);
        EXPECT_EQ(blocks[i][size - 1], i + 1);
        FreeLarge(blocks[i], size);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, LargeMemory,
                         testing::Values(2, kLargePage - 1, kLargePage, kLargePage + 1,
                                         7 * kLargePage - 4096));

TEST(LargeMemoryLimits, SizesBeyondTheAddressSpaceAreRefused) {
    constexpr size_t kMost = std::numeric_limits<size_t>::max();
    EXPECT_EQ(AllocateLarge(kMost), nullptr);
    EXPECT_EQ(AllocateLarge(kMost - kLargePage), nullptr);
    EXPECT_EQ(AllocateLarge(kMost - 2 * kLargePage), nullptr);
    EXPECT_EQ(AllocateLarge(kMost / 2), nullptr);
}

// Only pages that are whole are offered: what stands beside the memory on its pages stays, and the
// memory itself can be written to again.
TEST(OfferedMemory, WhatStandsBesideItStays) {
    constexpr size_t kSize = 3 * 4096;
    auto* const memory = static_cast<unsigned char*>(AllocateLarge(kSize));
    ASSERT_NE(memory, nullptr);
    for (const size_t begin : {0, 1, 4095, 4096}) {
        for (const size_t end : {begin, begin + 1, size_t{8191}, size_t{8192}, kSize}) {
            std::memset(memory, 1, kSize);
            OfferMemory(memory + begin, end - begin);
            std::memset(memory + begin, 2, end - begin);
            EXPECT_EQ(std::count(memory, memory + kSize, 2), static_cast<long>(end - begin));
            EXPECT_EQ(std::count(memory, memory + kSize, 1),
                      static_cast<long>(kSize - (end - begin)));
        }
    }
    FreeLarge(memory, kSize);
}

}  // namespace
