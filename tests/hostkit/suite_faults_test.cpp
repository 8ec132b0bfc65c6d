#include "hostkit/suite_faults.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using kvx_hostkit::SuiteFaults;

TEST(SuiteFaults, FailOneCallOrAllFromThenOn) {
    SuiteFaults faults;
    EXPECT_EQ(faults.Count("One"), 0);
    faults.FailAt("One", 2, -7);
    faults.FailAt("All", 2, -8, true);
    const int32_t expected[][2] = {{0, 0}, {-7, -8}, {0, -8}};
    for (const auto& row : expected) {
        EXPECT_EQ(faults.Count("One"), row[0]);
        EXPECT_EQ(faults.Count("All"), row[1]);
    }
    EXPECT_EQ(faults.Calls("One"), 4);
    EXPECT_EQ(faults.Calls("None"), 0);
    EXPECT_EQ(faults.Failures("One"), 1);
    EXPECT_EQ(faults.Failures("All"), 2);
    EXPECT_EQ(faults.Failures("None"), 0);
    faults.Clear();
    EXPECT_EQ(faults.Count("All"), 0);
}

TEST(SuiteFaults, ActionsRunBesideFailures) {
    SuiteFaults faults;
    int runs = 0;
    faults.RunAt("Call", 2, [&runs] { ++runs; });
    faults.FailAt("Call", 3, -9);
    EXPECT_EQ(faults.Count("Call"), 0);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(faults.Count("Call"), 0);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(faults.Count("Call"), -9);
    EXPECT_EQ(runs, 1);
    faults.RunAt(
        "Call", 1, [&runs] { ++runs; }, true);
    EXPECT_EQ(faults.Count("Call"), 0);
    EXPECT_EQ(faults.Count("Call"), 0);
    EXPECT_EQ(runs, 3);
}

// An action may look at the faults, and what it throws is the caller's.
TEST(SuiteFaults, ActionsRunWithoutTheLock) {
    SuiteFaults faults;
    faults.RunAt("Call", 1, [&faults] {
        faults.Count("Other");
        throw std::runtime_error("ordered");
    });
    EXPECT_THROW(faults.Count("Call"), std::runtime_error);
    EXPECT_EQ(faults.Calls("Call"), 1);
    EXPECT_EQ(faults.Calls("Other"), 1);
}

}  // namespace
