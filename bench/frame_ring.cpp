#include "frame_ring.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>

namespace kvx_bench {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kSlack = 1 << 16;
constexpr size_t kAssumedCache = 32 << 20;

// What the first processor reaches; the C library tells of all the caches of the machine together.
size_t LastLevelCacheBytes() {
    std::ifstream file("/sys/devices/system/cpu/cpu0/cache/index3/size");
    size_t kibibytes = 0;
    return file >> kibibytes ? kibibytes << 10 : kAssumedCache;
}

char* Allocate(size_t bytes) {
    void* const memory = std::aligned_alloc(kPage, (bytes + kPage - 1) / kPage * kPage);
    if (memory == nullptr) {
        std::abort();
    }
    return static_cast<char*>(memory);
}

// Less than a frame, so that making it takes no time; more than any predictor remembers.
std::vector<uint64_t> Noise(unsigned wordMask, unsigned wordBase) {
    constexpr size_t kWords = 1 << 16;
    constexpr uint64_t kFourWords = 0x0001000100010001U;
    std::mt19937_64 random(1);
    std::vector<uint64_t> noise(kWords);
    for (uint64_t& word : noise) {
        word = (random() & wordMask * kFourWords) | wordBase * kFourWords;
    }
    return noise;
}

}  // namespace

void FrameRing::Freer::operator()(char* memory) const {
    std::free(memory);
}

FrameRing::FrameRing(size_t frameBytes, unsigned wordMask, unsigned wordBase) {
    const size_t count = std::max<size_t>(2, 2 * LastLevelCacheBytes() / frameBytes + 1);
    const std::vector<uint64_t> noise = Noise(wordMask, wordBase);
    const size_t noiseBytes = noise.size() * sizeof(noise[0]);
    for (size_t i = 0; i < count; ++i) {
        const size_t bytes = frameBytes + kSlack;
        mFrames.emplace_back(Allocate(bytes));
        for (size_t at = 0; at < bytes; at += noiseBytes) {
            std::memcpy(mFrames.back().get() + at, noise.data(), std::min(noiseBytes, bytes - at));
        }
    }
}

char* FrameRing::Next() {
    char* const frame = mFrames[mNext].get();
    mNext = (mNext + 1) % mFrames.size();
    return frame;
}

}  // namespace kvx_bench
