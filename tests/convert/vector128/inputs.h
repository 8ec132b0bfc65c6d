// What operations on vectors are tried with.
#pragma once

#include <vector>

#include "convert/vector128/operations.h"

namespace kvx_test::vector128 {

// Vectors, and another one for each where there are two operands.
struct Inputs {
    std::vector<Bytes> mA;
    std::vector<Bytes> mB;

    void Add(const Bytes& a, const Bytes& b) {
        mA.push_back(a);
        mB.push_back(b);
    }

    void AddBoth(const Bytes& a, const Bytes& b) {
        Add(a, b);
        Add(b, a);
    }
};

// Dense where the two forms of an operation, that of x86-64 and that of arm64, are most unlike each
// other.
Inputs MakeInputs(Lanes lanes, int operands);

// Numbers of both signs to be made integers, half of them with an exponent that an integer may
// have.
std::vector<double> NumbersToTruncate();

}  // namespace kvx_test::vector128
