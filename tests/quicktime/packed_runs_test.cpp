// Packed runs answer as a map of the same runs does.
#include "quicktime/packed_runs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <thread>
#include <utility>
#include <vector>

#include "quicktime/run_appender.h"
#include "support/random.h"

using KVX::QT::PackedMemory;
using KVX::QT::PackedRuns;
using KVX::QT::RunAppender;
using KVX::QT::RunMap;
using kvx_test::Random;

namespace {

constexpr long long kLowest = std::numeric_limits<long long>::min();
constexpr long long kHighest = std::numeric_limits<long long>::max();
constexpr int kBlock = PackedRuns::kBlock;

class Packed : public testing::Test {
  protected:
    using Expected = std::map<long long, std::pair<long long, unsigned int>>;

    void Append(const std::vector<PackedRuns::Run>& runs) {
        for (size_t first = 0; first < runs.size(); first += kBlock) {
            PackedRuns::Columns columns;
            const size_t count = std::min<size_t>(kBlock, runs.size() - first);
            for (size_t i = 0; i < count; ++i) {
                const PackedRuns::Run& run = runs[first + i];
                columns.keys[i] = run.key;
                columns.offsets[i] = run.offset;
                columns.sizes[i] = run.size;
                mExpected[run.key] = {run.offset, run.size};
            }
            mRuns.Append(columns, static_cast<int>(count));
        }
    }

    // Asks for every key, and for what lies beside it and between it and the next.
    void Check() {
        ASSERT_EQ(mRuns.size(), mExpected.size());
        auto expected = mExpected.begin();
        mRuns.ForEach([&](const PackedRuns::Run& run) {
            ASSERT_NE(expected, mExpected.end());
            ASSERT_EQ(run.key, expected->first);
            ASSERT_EQ(run.offset, expected->second.first);
            ASSERT_EQ(run.size, expected->second.second);
            ++expected;
        });
        CheckAt(kLowest);
        CheckAt(kHighest);
        for (const auto& [key, value] : mExpected) {
            CheckAt(key);
            CheckAt(key == kLowest ? key : key - 1);
            CheckAt(key == kHighest ? key : key + 1);
            const auto next = mExpected.upper_bound(key);
            if (next != mExpected.end()) {
                CheckAt(key / 2 + next->first / 2);
            }
        }
    }

    void CheckAt(long long key) {
        SCOPED_TRACE(key);
        const auto above = mExpected.upper_bound(key);
        const auto& [start, value] = *(above == mExpected.begin() ? above : std::prev(above));
        const PackedRuns::Run run = mRuns.AtOrBefore(key);
        ASSERT_EQ(run.key, start);
        ASSERT_EQ(run.offset, value.first);
        ASSERT_EQ(run.size, value.second);
        ASSERT_EQ(mRuns.KeyAfter(key, -12345), above == mExpected.end() ? -12345 : above->first);
    }

    PackedRuns mRuns{true, std::make_shared<PackedMemory>()};
    Expected mExpected;
};

TEST_F(Packed, NothingComesAfterNoRuns) {
    EXPECT_TRUE(mRuns.empty());
    EXPECT_EQ(mRuns.KeyAfter(0, 7), 7);
}

TEST_F(Packed, OneRun) {
    Append({{5, 100, 3}});
    Check();
}

TEST_F(Packed, KeysThatGoUpEvenly) {
    std::vector<PackedRuns::Run> runs;
    for (int i = 0; i < 1000; ++i) {
        runs.push_back({7 + 3LL * i, 1000 + 10LL * i, static_cast<unsigned int>(i)});
    }
    Append(runs);
    Check();
}

// Each distance between neighbours, of keys and of offsets, from 1 to nearly all there are.
TEST_F(Packed, ColumnsOfAllWidths) {
    Random random(1);
    std::vector<PackedRuns::Run> runs;
    PackedRuns::Run run = {-(1LL << 62), 1LL << 40, 1};
    for (int i = 0; i < 6000; ++i) {
        // Blocks follow one another with distances of so many bits.
        const long long most = 1LL << (i / (2 * kBlock) * 2 % 46);
        run.key += 1 + random.Pick(0, most);
        run.offset += random.Pick(-most, most) * (i % 3 == 0 ? 1 : 1 << 4);
        run.size = static_cast<unsigned int>(random.Pick(0, 0xFFFFFFFF));
        runs.push_back(run);
    }
    Append(runs);
    Check();
}

TEST_F(Packed, HighestAndLowestNumbers) {
    Append({{kLowest, kHighest, 0xFFFFFFFF},
            {-1, kLowest, 0},
            {0, 0, 1},
            {kHighest - 1, -1, 2},
            {kHighest, 1, 3}});
    Check();
}

TEST_F(Packed, TwoRunsAsFarApartAsCanBe) {
    Append({{kLowest, 1, 1}, {kHighest, 2, 2}});
    Check();
}

TEST_F(Packed, WholeBlocksThatAreKnownToBeEven) {
    uint32_t offsets[kBlock];
    uint32_t sizes[kBlock];
    for (unsigned int i = 0; i < kBlock; ++i) {
        offsets[i] = i % 2 == 0 ? 0xFFFFFFFF - i : i;
        sizes[i] = 0xFFFFFFFF - 7 * i;
    }
    Append({{-50, 1, 1}, {-49, 2, 2}, {-40, 3, 3}});
    for (const long long first : {0LL, 10'000LL}) {
        for (const long long base : {0LL, kHighest - (1LL << 32)}) {
            const long long start = first + (base == 0 ? 0 : 5'000);
            mRuns.AppendEvenly({start, 9, base, offsets, nullptr, sizes});
            for (int i = 0; i < kBlock; ++i) {
                mExpected[start + 9LL * i] = {base + offsets[i], sizes[i]};
            }
        }
    }
    Check();
}

TEST_F(Packed, TablesShareOffsets) {
    uint32_t offsets[kBlock];
    uint32_t sizes[kBlock];
    std::iota(offsets, offsets + kBlock, 1000);
    std::iota(sizes, sizes + kBlock, 1);
    const auto memory = std::make_shared<PackedMemory>();
    auto other = std::make_unique<PackedRuns>(false, memory);
    const char* const kept = other->AppendEvenly({0, 1, 0, offsets, nullptr, nullptr});
    PackedRuns runs(true, memory);
    EXPECT_EQ(runs.AppendEvenly({0, 1, 0, offsets, kept, sizes}), kept);
    // It is both tables', whichever goes first.
    other.reset();
    for (int i = 0; i < kBlock; ++i) {
        EXPECT_EQ(runs.AtOrBefore(i).offset, 1000 + i);
        EXPECT_EQ(runs.AtOrBefore(i).size, static_cast<unsigned int>(1 + i));
    }
}

// Entries enough for several pieces of memory.
constexpr int kMany = 2'000'000;

RunMap<long long> ManyRuns() {
    RunMap<long long> runs;
    RunAppender<long long> appender(runs);
    appender.Expect(kMany);
    for (int i = 0; i < kMany; ++i) {
        appender.Append(i, 1000 + 17LL * i);
    }
    appender.Flush();
    runs.Finish();
    return runs;
}

TEST(PackedMap, AnswersFromPackedRuns) {
    const RunMap<long long> runs = ManyRuns();
    ASSERT_EQ(runs.size(), static_cast<size_t>(kMany));
    EXPECT_FALSE(runs.empty());
    for (int i = 0; i < kMany; i += 37) {
        ASSERT_EQ(runs.RunAt(i), std::make_pair(1LL * i, 1000 + 17LL * i));
        ASSERT_EQ(runs.KeyAfter(i, -1), i + 1 == kMany ? -1 : i + 1);
    }
    EXPECT_EQ(runs.RunAt(-1).first, 0);
    EXPECT_EQ(runs.KeyAfter(kMany, -1), -1);
    EXPECT_TRUE(runs.IsPacked());
}

TEST(PackedMap, ReadsAsAStandardMapDoes) {
    RunMap<long long> runs = ManyRuns();
    EXPECT_EQ(runs.find(kMany - 1)->second, 1000 + 17LL * (kMany - 1));
    EXPECT_EQ(runs.begin()->second, 1000);
    EXPECT_EQ(std::distance(runs.begin(), runs.end()), kMany);
    // What is written there is what is found from then on.
    runs[5] = 42;
    runs[-7] = 43;
    EXPECT_EQ(runs.RunAt(5).second, 42);
    EXPECT_EQ(runs.RunAt(-100).second, 43);
    EXPECT_EQ(runs.KeyAfter(-7, -1), 0);
    EXPECT_EQ(runs.size(), static_cast<size_t>(kMany) + 1);
    runs.Append(kMany + 5, 44);
    EXPECT_EQ(runs.RunAt(kMany + 9).second, 44);
    runs.clear();
    EXPECT_TRUE(runs.empty());
}

TEST(PackedMap, IsReadInBothWaysAtOnce) {
    const RunMap<long long> runs = ManyRuns();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&runs, thread] {
            for (int i = thread; i < kMany; i += 997) {
                const long long offset =
                    thread % 2 == 0 ? runs.RunAt(i).second : runs.find(i)->second;
                if (offset != 1000 + 17LL * i) {
                    ADD_FAILURE() << i;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// From a backward key on nothing can be packed.
TEST(PackedMap, BackwardKeyInALongTable) {
    for (const long long backward : {3LL, 299LL, -8LL}) {
        RunMap<long long> runs;
        RunAppender<long long> appender(runs);
        std::map<long long, long long> expected;
        const auto append = [&](long long key, long long offset) {
            appender.Append(key, offset);
            expected[key] = offset;
        };
        for (int i = 0; i < 300; ++i) {
            append(i, i);
        }
        append(backward, 1234);
        for (int i = 300; i < 1000; ++i) {
            append(i, i);
        }
        appender.Flush();
        runs.Finish();
        EXPECT_EQ(runs, expected);
        EXPECT_EQ(runs.RunAt(backward).second, 1234);
    }
}

}  // namespace
