// Signed 64-bit arithmetic on numbers that come from a file. Whatever they are, the result is
// defined: it wraps around, as the processor's own does.
#pragma once

namespace KVX::QT {

constexpr long long WrappingSum(long long a, long long b) {
    return static_cast<long long>(static_cast<unsigned long long>(a) +
                                  static_cast<unsigned long long>(b));
}

constexpr long long WrappingDifference(long long a, long long b) {
    return static_cast<long long>(static_cast<unsigned long long>(a) -
                                  static_cast<unsigned long long>(b));
}

constexpr long long WrappingProduct(long long a, long long b) {
    return static_cast<long long>(static_cast<unsigned long long>(a) *
                                  static_cast<unsigned long long>(b));
}

// Truncates toward zero; 0 for a divisor of 0.
constexpr long long WrappingQuotient(long long a, long long b) {
    switch (b) {
        case 0:
            return 0;
        case -1:
            return WrappingDifference(0, a);
        default:
            return a / b;
    }
}

}  // namespace KVX::QT
