#include "platform/large_memory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "support/memory_calls.h"

using KVX::Platform::AllocateLarge;
using KVX::Platform::FreeLarge;
using KVX::Platform::OfferMemory;
using kvx_test::MemoryCall;
using kvx_test::MemoryCallRecorder;

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

// It is mapped with room for its alignment. All that is left over goes back, on both sides, and
// nothing of the memory itself does before its end.
TEST_P(LargeMemory, TheRoomForItsAlignmentGoesBack) {
    const size_t size = GetParam();
    const size_t whole = (size / kLargePage + (size % kLargePage != 0 ? 1 : 0)) * kLargePage;
    for (int i = 0; i < 4; ++i) {
        const MemoryCallRecorder recorder;
        const auto* const block = static_cast<const char*>(AllocateLarge(size));
        ASSERT_NE(block, nullptr);
        size_t before = 0;
        size_t behind = 0;
        for (const MemoryCall& call : MemoryCallRecorder::Calls()) {
            if (call.advice != MemoryCall::kUnmapped) {
                EXPECT_EQ(call.address, block);
                EXPECT_EQ(call.length, whole);
            } else if (call.address < block) {
                EXPECT_EQ(call.address + call.length, block);
                before += call.length;
            } else {
                EXPECT_EQ(call.address, block + whole);
                behind += call.length;
            }
        }
        EXPECT_EQ(before + behind, kLargePage);
        const size_t soFar = MemoryCallRecorder::Calls().size();

        FreeLarge(const_cast<char*>(block), size);
        const std::vector<MemoryCall> calls = MemoryCallRecorder::Calls();
        ASSERT_EQ(calls.size(), soFar + 1);
        EXPECT_EQ(calls.back(), (MemoryCall{block, whole, MemoryCall::kUnmapped}));
        // The next one is mapped elsewhere.
        const std::vector<char> keepsAway(static_cast<size_t>(i + 1) * 300'000);
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

// Exactly the whole pages of the memory are offered: the system may clear them at any time.
TEST(OfferedMemory, IsWholePages) {
    const auto kPage = static_cast<size_t>(getpagesize());
    constexpr size_t kPages = 5;
    auto* const memory = static_cast<char*>(AllocateLarge(kPages * kPage));
    ASSERT_NE(memory, nullptr);
    const size_t places[] = {0,
                             1,
                             100,
                             kPage - 1,
                             kPage,
                             kPage + 1,
                             kPage + 100,
                             2 * kPage - 1,
                             2 * kPage,
                             2 * kPage + 1,
                             3 * kPage - 1,
                             3 * kPage,
                             5 * kPage - 1,
                             5 * kPage};
    for (const size_t begin : places) {
        for (const size_t end : places) {
            if (end < begin) {
                continue;
            }
            std::vector<size_t> whole;
            for (size_t page = 0; page < kPages; ++page) {
                if (page * kPage >= begin && (page + 1) * kPage <= end) {
                    whole.push_back(page);
                }
            }
            std::vector<MemoryCall> expected;
            if (!whole.empty()) {
                expected.push_back(
                    {memory + whole.front() * kPage, whole.size() * kPage, MADV_FREE});
            }
            const MemoryCallRecorder recorder;
            OfferMemory(memory + begin, end - begin);
            EXPECT_EQ(MemoryCallRecorder::Calls(), expected) << begin << " to " << end;
        }
    }
    FreeLarge(memory, kPages * kPage);
}

// What stands beside the memory on its pages stays, and the memory itself can be written to again.
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
