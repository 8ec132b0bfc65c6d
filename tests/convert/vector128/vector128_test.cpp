// Each operation of the converters' vectors beside an independent one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "convert/vector128/inputs.h"
#include "convert/vector128/operations.h"

namespace {

using namespace kvx_test::vector128;

bool IsNaN(std::uint32_t bits) {
    return (bits & 0x7FFFFFFF) > 0x7F800000;
}

bool AreSameButForNaN(const Bytes& a, const Bytes& b) {
    std::uint32_t lanesA[4];
    std::uint32_t lanesB[4];
    std::memcpy(lanesA, a.data(), sizeof(lanesA));
    std::memcpy(lanesB, b.data(), sizeof(lanesB));
    for (int i = 0; i < 4; ++i) {
        if (lanesA[i] != lanesB[i] && !(IsNaN(lanesA[i]) && IsNaN(lanesB[i]))) {
            return false;
        }
    }
    return true;
}

std::string Text(const Bytes& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        text += {kDigits[byte >> 4], kDigits[byte & 15], ' '};
    }
    return text;
}

void ExpectAsJudged(const Operation& operation, const Inputs& inputs) {
    constexpr std::size_t kAtOnce = 4096;
    std::vector<Bytes> results(kAtOnce);
    std::vector<Bytes> judged(kAtOnce);
    for (std::size_t first = 0; first < inputs.mA.size(); first += kAtOnce) {
        const Bytes* const a = &inputs.mA[first];
        const Bytes* const b = &inputs.mB[first];
        const std::size_t count = std::min(kAtOnce, inputs.mA.size() - first);
        operation.mOperation(a, b, results.data(), count);
        operation.mJudge(a, b, operation.mNumber, judged.data(), count);
        if (std::memcmp(results.data(), judged.data(), count * sizeof(Bytes)) == 0) {
            continue;
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (std::memcmp(&results[i], &judged[i], sizeof(Bytes)) != 0 &&
                !(operation.mAnyNaN && AreSameButForNaN(results[i], judged[i]))) {
                ADD_FAILURE() << operation.mName << " " << operation.mNumber << "\nof  "
                              << Text(a[i]) << "\nand " << Text(b[i]) << "\nis  "
                              << Text(results[i]) << "\nnot " << Text(judged[i]);
                return;
            }
        }
    }
}

class Vector128 : public testing::TestWithParam<std::tuple<Lanes, int>> {};

TEST_P(Vector128, OperationsAreAsJudged) {
    const auto [lanes, operands] = GetParam();
    const Inputs inputs = MakeInputs(lanes, operands);
    int judged = 0;
    for (const Operation& operation : Operations()) {
        if (operation.mLanes == lanes && operation.mOperands == operands) {
            ExpectAsJudged(operation, inputs);
            ++judged;
        }
    }
    EXPECT_GT(judged, 0);
}

INSTANTIATE_TEST_SUITE_P(All, Vector128,
                         testing::Combine(testing::Values(Lanes::kBytes, Lanes::kWords,
                                                          Lanes::kDwords, Lanes::kFloats),
                                          testing::Values(1, 2)));

// One by one, as the judge has nothing else than the same comparison for it.
TEST(Vector128Truncation, WhatDoesNotFitIsTheLeastInteger) {
    const double none = std::nan("");
    for (const double value :
         {none, -none, HUGE_VAL, -HUGE_VAL, 2147483648.0, -2147483649.0, 1e300, -1e300}) {
        EXPECT_EQ(Truncation(value), INT_MIN) << value;
        EXPECT_EQ(Truncation(static_cast<float>(value)), INT_MIN) << value;
    }
    EXPECT_EQ(Truncation(2147483647.75), INT_MAX);
    EXPECT_EQ(Truncation(-2147483648.75), INT_MIN);
    EXPECT_EQ(Truncation(2147483520.0F), 2147483520);
    EXPECT_EQ(Truncation(-2147483648.0F), INT_MIN);
    EXPECT_EQ(Truncation(-0.75), 0);
    EXPECT_EQ(Truncation(-1.75F), -1);
    EXPECT_EQ(Truncation(DBL_TRUE_MIN), 0);
}

// Compared before it is asserted, as assertions take many times as long.
TEST(Vector128Truncation, IsAsJudged) {
    for (const double value : NumbersToTruncate()) {
        const auto single = static_cast<float>(value);
        if (Truncation(value) != JudgeTruncation(value) ||
            Truncation(single) != JudgeTruncation(single)) {
            ASSERT_EQ(Truncation(value), JudgeTruncation(value)) << value;
            ASSERT_EQ(Truncation(single), JudgeTruncation(single)) << single;
        }
    }
}

}  // namespace
