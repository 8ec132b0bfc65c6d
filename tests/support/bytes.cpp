#include "support/bytes.h"

#include <cstring>

namespace kvx_test {

namespace {

Bytes Big(uint64_t value, int bytes) {
    Bytes text;
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
        text.push_back(static_cast<char>(value >> shift & 0xFF));
    }
    return text;
}

}  // namespace

Bytes big16(int64_t value) {
    return Big(static_cast<uint64_t>(value), 2);
}

Bytes big32(int64_t value) {
    return Big(static_cast<uint64_t>(value), 4);
}

Bytes big64(int64_t value) {
    return Big(static_cast<uint64_t>(value), 8);
}

Bytes bigDouble(double value) {
    uint64_t bits;
    static_assert(sizeof(bits) == sizeof(value));
    std::memcpy(&bits, &value, sizeof(bits));
    return Big(bits, 8);
}

Bytes zeros(size_t count) {
    return Bytes(count, '\0');
}

}  // namespace kvx_test
