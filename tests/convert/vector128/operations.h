// The operations on vectors that the converters have, each beside an independent one that says what
// it has to give.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace kvx_test::vector128 {

// What an operation's operands are, so that the inputs are dense where it matters.
enum class Lanes { kBytes, kWords, kDwords, kFloats };

using Bytes = std::array<unsigned char, 16>;

// From `count` vectors, or pairs of them, to as many. What takes one operand looks at the first.
using Function = void (*)(const Bytes* a, const Bytes* b, Bytes* results, std::size_t count);

struct Operation {
    std::string mName;
    Lanes mLanes;
    int mOperands;
    Function mOperation;
    Function mJudge;
    bool mAnyNaN = false;  // which bits a float has that is no number is left to the processor
};

std::vector<Operation> Operations();

// A number by itself.
int JudgeTruncation(double value);
int JudgeTruncation(float value);

}  // namespace kvx_test::vector128
