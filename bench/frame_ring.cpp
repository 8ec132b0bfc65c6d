#include "frame_ring.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>

namespace kvx_bench {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kSlack = 1 << 16;
constexpr size_t kAssumedCache = 32 << 20;

size_t LastLevelCacheBytes() {
#if defined(_SC_LEVEL3_CACHE_SIZE)
    const long bytes = sysconf(_SC_LEVEL3_CACHE_SIZE);
    if (bytes > 0) {
        return static_cast<size_t>(bytes);
    }
#endif
    return kAssumedCache;
}

char* Allocate(size_t bytes) {
    void* const memory = std::aligned_alloc(kPage, (bytes + kPage - 1) / kPage * kPage);
    if (memory == nullptr) {
        std::abort();
    }
    return static_cast<char*>(memory);
}

}  // namespace

void FrameRing::Freer::operator()(char* memory) const {
    std::free(memory);
}

FrameRing::FrameRing(size_t frameBytes, unsigned wordMask) {
    const size_t count = std::max<size_t>(2, 2 * LastLevelCacheBytes() / frameBytes + 1);
    const uint64_t mask = uint64_t{wordMask} * 0x0001000100010001U;
    std::mt19937_64 noise(1);
    for (size_t i = 0; i < count; ++i) {
        const size_t bytes = frameBytes + kSlack;
        mFrames.emplace_back(Allocate(bytes));
        for (size_t at = 0; at + 8 <= bytes; at += 8) {
            const uint64_t word = noise() & mask;
            std::memcpy(mFrames.back().get() + at, &word, sizeof(word));
        }
    }
}

char* FrameRing::Next() {
    char* const frame = mFrames[mNext].get();
    mNext = (mNext + 1) % mFrames.size();
    return frame;
}

}  // namespace kvx_bench
