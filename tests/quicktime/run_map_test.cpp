#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <vector>

#include "quicktime/run_appender.h"

using KVX::QT::RecordMap;
using KVX::QT::RunAppender;
using KVX::QT::RunMap;
using testing::ElementsAre;
using testing::Pair;

namespace {

RunMap<long long> ThreeRuns() {
    RunMap<long long> runs;
    runs.Append(0, 100);
    runs.Append(10, 200);
    runs.Append(20, 300);
    return runs;
}

TEST(RunMap, FindsTheEntryAtOrBefore) {
    const RunMap<long long> runs = ThreeRuns();
    EXPECT_EQ(runs.AtOrBefore(0)->second, 100);
    EXPECT_EQ(runs.AtOrBefore(9)->second, 100);
    EXPECT_EQ(runs.AtOrBefore(10)->second, 200);
    EXPECT_EQ(runs.AtOrBefore(19)->second, 200);
    EXPECT_EQ(runs.AtOrBefore(1LL << 60)->second, 300);
}

TEST(RunMap, FirstEntryAnswersForKeysInFrontOfIt) {
    EXPECT_EQ(ThreeRuns().AtOrBefore(-1)->second, 100);
}

TEST(RunMap, SearchesAsAStandardMapDoes) {
    const RunMap<long long> runs = ThreeRuns();
    EXPECT_EQ(runs.lower_bound(10)->first, 10);
    EXPECT_EQ(runs.upper_bound(10)->first, 20);
    EXPECT_EQ(runs.upper_bound(20), runs.end());
    EXPECT_EQ(runs.find(20)->second, 300);
    EXPECT_EQ(runs.find(15), runs.end());
    EXPECT_EQ(runs.count(10), 1u);
    EXPECT_EQ(runs.count(11), 0u);
    EXPECT_EQ(runs.rbegin()->first, 20);
    EXPECT_EQ(runs.size(), 3u);
}

TEST(RunMap, ReadsAsAStandardMapDoes) {
    const RunMap<long long> runs = ThreeRuns();
    EXPECT_EQ(runs.at(10), 200);
    EXPECT_THROW(runs.at(11), std::out_of_range);
    EXPECT_THAT(std::vector(runs.cbegin(), runs.cend()),
                ElementsAre(Pair(0, 100), Pair(10, 200), Pair(20, 300)));
    EXPECT_THAT(std::vector(runs.crbegin(), runs.crend()),
                ElementsAre(Pair(20, 300), Pair(10, 200), Pair(0, 100)));
    const auto [first, last] = runs.equal_range(10);
    EXPECT_EQ(first, runs.find(10));
    EXPECT_EQ(std::distance(first, last), 1);
    const auto [none, end] = runs.equal_range(11);
    EXPECT_EQ(none, end);
    EXPECT_EQ(none->first, 20);
    const std::map<long long, long long> copy(runs.begin(), runs.end());
    EXPECT_EQ(copy.size(), 3u);
}

TEST(RunMap, ComparesWithOrderedMaps) {
    std::map<long long, long long> same = {{0, 100}, {10, 200}, {20, 300}};
    EXPECT_TRUE(ThreeRuns() == same);
    EXPECT_TRUE(same == ThreeRuns());
    EXPECT_FALSE(ThreeRuns() != same);
    EXPECT_FALSE(same != ThreeRuns());
    EXPECT_TRUE(ThreeRuns() == ThreeRuns());
    EXPECT_FALSE(ThreeRuns() != ThreeRuns());
    same[20] = 301;
    EXPECT_FALSE(ThreeRuns() == same);
    EXPECT_TRUE(ThreeRuns() != same);
    EXPECT_TRUE(same != ThreeRuns());
    same.erase(20);
    EXPECT_FALSE(ThreeRuns() == same);
    RunMap<long long> more = ThreeRuns();
    more.Append(30, 400);
    EXPECT_TRUE(ThreeRuns() != more);
}

TEST(RunMap, LaterEntryTakesTheKeyOver) {
    RunMap<long long> runs = ThreeRuns();
    runs.Append(20, 301);
    EXPECT_THAT(runs, ElementsAre(Pair(0, 100), Pair(10, 200), Pair(20, 301)));
}

TEST(RunMap, FinishPutsBackwardKeysInOrderAndKeepsTheLatest) {
    RunMap<long long> runs = ThreeRuns();
    runs.Append(5, 150);
    runs.Append(20, 302);
    runs.Append(-7, 50);
    runs.Append(5, 151);
    runs.Finish();
    EXPECT_THAT(
        runs, ElementsAre(Pair(-7, 50), Pair(0, 100), Pair(5, 151), Pair(10, 200), Pair(20, 302)));
}

TEST(RunMap, HoldsMoreThanWasReserved) {
    RunMap<long long> runs;
    runs.Reserve(1000);
    for (long long i = 0; i < 300000; ++i) {
        runs.Append(i, -i);
    }
    runs.Finish();
    ASSERT_EQ(runs.size(), 300000u);
    EXPECT_EQ(runs.AtOrBefore(299999)->second, -299999);
}

TEST(RunMap, HoldsLessThanWasReserved) {
    RunMap<long long> runs;
    runs.Reserve(300000);
    runs.Append(0, 100);
    runs.Append(7, 200);
    runs.Finish();
    EXPECT_THAT(runs, ElementsAre(Pair(0, 100), Pair(7, 200)));
}

TEST(RunMap, SubscriptInsertsAnywhere) {
    RunMap<long long> runs = ThreeRuns();
    runs[5] = 150;
    runs[20] = 301;
    EXPECT_THAT(runs, ElementsAre(Pair(0, 100), Pair(5, 150), Pair(10, 200), Pair(20, 301)));
}

// Keys that go up, stay and go back, with breaks everywhere in a block.
TEST(RunAppender, AppendsAsTheMapDoes) {
    for (const int count : {0, 1, 127, 128, 129, 130, 256, 257, 1000}) {
        for (const int step : {1, 2, 3, 7, 128, 129}) {
            SCOPED_TRACE(testing::Message() << count << " entries, another way each " << step);
            RunMap<long long> expected;
            RunMap<long long> runs;
            RunAppender<long long> appender(runs);
            appender.Expect(static_cast<size_t>(count));
            long long key = 0;
            for (int i = 0; i < count; ++i) {
                expected.Append(key, i);
                appender.Append(key, i);
                key += i % step != step - 1 ? 5 : i % 2 == 0 ? 0 : -7;
            }
            appender.Flush();
            expected.Finish();
            runs.Finish();
            EXPECT_EQ(runs, expected);
        }
    }
}

TEST(RunAppender, TakesTheLowestKey) {
    RunMap<long long> runs;
    RunAppender<long long> appender(runs);
    constexpr long long kLowest = std::numeric_limits<long long>::min();
    appender.Append(kLowest, 1);
    appender.Append(kLowest, 2);
    appender.Append(0, 3);
    appender.Flush();
    EXPECT_THAT(runs, ElementsAre(Pair(kLowest, 2), Pair(0, 3)));
}

struct Record {
    int number;
};

TEST(RecordMap, ReadsLikeAMapOfPointers) {
    RecordMap<Record> records;
    for (int i = 0; i < 300000; ++i) {
        records.Append(i, {i});
    }
    records.Finish();
    for (int i = 0; i < 300000; ++i) {
        ASSERT_EQ(records.find(i)->second->number, i);
    }
    const RecordMap<Record>& constant = records;
    Record* const first = constant.begin()->second;
    EXPECT_EQ(first->number, 0);
    first->number = 7;
    EXPECT_EQ((*records.begin()->second).number, 7);
    EXPECT_EQ(records.at(1)->number, 1);
}

// As with pointers: a record is equal to itself alone.
TEST(RecordMap, Compares) {
    RecordMap<Record> records;
    records.Append(0, {1});
    RecordMap<Record> others;
    others.Append(0, {1});
    const std::map<long long, Record*> pointers = {{0, records.at(0)}};
    EXPECT_TRUE(records == records);
    EXPECT_TRUE(records != others);
    EXPECT_TRUE(records == pointers);
    EXPECT_TRUE(pointers == records);
    EXPECT_TRUE(others != pointers);
}

// The leak checker and the address sanitizer watch these two.
TEST(RecordMap, OwnsRecordsOfBothKinds) {
    RecordMap<Record> records;
    records.Append(0, {1});
    records[5] = new Record{2};
    records.Append(9, {3});
    EXPECT_EQ(records.find(5)->second->number, 2);
    EXPECT_EQ(records.find(9)->second->number, 3);
}

TEST(RecordMap, ClearedMapTakesNewRecords) {
    RecordMap<Record> records;
    records.Append(0, {1});
    records[5] = new Record{2};
    records.clear();
    EXPECT_TRUE(records.empty());
    records.Append(3, {4});
    EXPECT_EQ(records.AtOrBefore(3)->second->number, 4);
}

}  // namespace
