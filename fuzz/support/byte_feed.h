#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvx_fuzz {

// Turns a fuzzer's bytes into decisions. When the bytes are used up every number is the lowest that
// it may be, so that each input means something.
class ByteFeed {
  public:
    ByteFeed(const uint8_t* data, size_t size) : mData(data), mLeft(size) {}

    size_t Left() const { return mLeft; }

    // Any of `low` to `high`, both included; takes as many bytes as the range needs.
    int64_t Pick(int64_t low, int64_t high) {
        const uint64_t span = static_cast<uint64_t>(high) - static_cast<uint64_t>(low);
        uint64_t value = 0;
        for (uint64_t rest = span; rest > 0; rest >>= 8) {
            value = value << 8 | Byte();
        }
        if (span != UINT64_MAX) {
            value %= span + 1;
        }
        return static_cast<int64_t>(static_cast<uint64_t>(low) + value);
    }

    bool OneIn(int64_t n) { return Pick(0, n - 1) == n - 1; }

    template <typename Value>
    Value AnyOf(const std::vector<Value>& values) {
        return values[static_cast<size_t>(Pick(0, static_cast<int64_t>(values.size()) - 1))];
    }

    // Up to `count` bytes.
    std::string Bytes(size_t count) {
        const size_t size = std::min(count, mLeft);
        std::string bytes(reinterpret_cast<const char*>(mData), size);
        mData += size;
        mLeft -= size;
        return bytes;
    }

  private:
    uint8_t Byte() {
        if (mLeft == 0) {
            return 0;
        }
        --mLeft;
        return *mData++;
    }

    const uint8_t* mData;
    size_t mLeft;
};

}  // namespace kvx_fuzz
