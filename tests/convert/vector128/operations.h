// The operations on vectors that the converters have, each beside an independent one that says what
// it has to give.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace kvx_test::vector128 {

// What an operation's operands are, so that the inputs are dense where it matters.
enum class Lanes { kBytes, kWords, kDwords, kFloats };

using Bytes = std::array<unsigned char, 16>;

// From `count` vectors, or pairs of them, to as many. What takes one operand looks at the first.
using Function = void (*)(const Bytes* a, const Bytes* b, Bytes* results, std::size_t count);

// The same; takes the number that an operation has as a part of its name.
using Judge = void (*)(const Bytes* a, const Bytes* b, int number, Bytes* results,
                       std::size_t count);

struct Operation {
    const char* mName;
    Lanes mLanes;
    int mOperands;
    Function mOperation;
    Judge mJudge;
    int mNumber = 0;
    bool mAnyNaN = false;  // which bits a float has that is no number is left to the processor
};

std::vector<Operation> Operations();

// TruncateToInt, of a number by itself.
int Truncation(double value);
int Truncation(float value);
int JudgeTruncation(double value);
int JudgeTruncation(float value);

}  // namespace kvx_test::vector128
