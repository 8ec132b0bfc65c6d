#include "cli/picture/png_filter.h"

#include <cstdlib>
#include <cstring>

namespace kvx_cli {

namespace {

constexpr uint8_t kSub = 1;
constexpr uint8_t kUp = 2;

// Writes what is left of `bytes` without `neighbours`. The sum of what is left, as distances.
uint64_t Subtract(const uint8_t* bytes, const uint8_t* neighbours, size_t count, uint8_t* left) {
    constexpr size_t kBlock = 4096;  // whose sum 32 bits hold
    uint64_t sum = 0;
    for (size_t start = 0; start < count; start += kBlock) {
        const size_t end = count - start < kBlock ? count : start + kBlock;
        uint32_t blockSum = 0;
        for (size_t place = start; place < end; ++place) {
            const auto difference = static_cast<int8_t>(bytes[place] - neighbours[place]);
            left[place] = static_cast<uint8_t>(difference);
            blockSum += static_cast<uint8_t>(difference < 0 ? -difference : difference);
        }
        sum += blockSum;
    }
    return sum;
}

}  // namespace

void FilterRow(const uint8_t* row, const uint8_t* above, size_t count, size_t pixelBytes,
               uint8_t* filtered, uint8_t* scratch) {
    const size_t first = count < pixelBytes ? count : pixelBytes;
    filtered[0] = kSub;
    std::memcpy(filtered + 1, row, first);
    const uint64_t beside = Subtract(row + first, row, count - first, filtered + 1 + first);
    if (Subtract(row, above, count, scratch) < beside) {
        filtered[0] = kUp;
        std::memcpy(filtered + 1, scratch, count);
    }
}

}  // namespace kvx_cli
