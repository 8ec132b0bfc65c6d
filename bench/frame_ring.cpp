#include "frame_ring.h"

#include <tmmintrin.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>

namespace kvx_bench {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kSlack = 1 << 16;  // vector code reads and writes a little past its frames
constexpr size_t kAssumedCache = 32 << 20;

size_t RoundToPages(size_t bytes) {
    return (bytes + kPage - 1) / kPage * kPage;
}

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
    void* memory = std::aligned_alloc(kPage, RoundToPages(bytes + kSlack));
    if (memory == nullptr) {
        std::abort();
    }
    return static_cast<char*>(memory);
}

template <size_t kLoads, size_t kStores>
void Copy(const char* source, char* destination, size_t steps) {
    for (size_t step = 0; step < steps; ++step) {
        __m128i values[kLoads];
        for (size_t i = 0; i < kLoads; ++i) {
            values[i] = _mm_load_si128(reinterpret_cast<const __m128i*>(source) + i);
        }
        for (size_t i = kStores; i < kLoads; ++i) {
            values[0] = _mm_or_si128(values[0], values[i]);
        }
        for (size_t i = 0; i < kStores; ++i) {
            _mm_stream_si128(reinterpret_cast<__m128i*>(destination) + i, values[i % kLoads]);
        }
        source += 16 * kLoads;
        destination += 16 * kStores;
    }
    _mm_sfence();
}

// Loops that read and write in the proportion of the frames' sizes.
struct Loop {
    size_t mLoads;
    size_t mStores;
    void (*mCopy)(const char* source, char* destination, size_t steps);
};

constexpr Loop kLoops[] = {
    {4, 4, Copy<4, 4>}, {4, 8, Copy<4, 8>},   {2, 8, Copy<2, 8>},   {1, 8, Copy<1, 8>},
    {4, 6, Copy<4, 6>}, {4, 12, Copy<4, 12>}, {2, 12, Copy<2, 12>}, {6, 4, Copy<6, 4>},
};

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

FrameRing::FrameRing(size_t sourceBytes, size_t destinationBytes) {
    const size_t wanted = 3 * LastLevelCacheBytes();
    const size_t count = std::max<size_t>(4, wanted / std::min(sourceBytes, destinationBytes) + 1);
    std::mt19937_64 noise(1);
    for (size_t i = 0; i < count; ++i) {
        Memory frame = {Allocate(sourceBytes), Allocate(destinationBytes)};
        for (size_t at = 0; at + 8 <= sourceBytes + kSlack; at += 8) {
            const uint64_t word = noise();
            std::memcpy(frame.mSource + at, &word, sizeof(word));
        }
        std::memset(frame.mDestination, 0, destinationBytes + kSlack);
        mFrames.push_back(frame);
    }
}

FrameRing::~FrameRing() {
    for (const Memory& frame : mFrames) {
        std::free(frame.mSource);
        std::free(frame.mDestination);
    }
}

FrameRing::Frame FrameRing::Next() {
    const Memory& frame = mFrames[mNext];
    mNext = (mNext + 1) % mFrames.size();
    return {frame.mSource, frame.mDestination};
}

void CopyAtTheLimit(const char* source, size_t sourceBytes, char* destination,
                    size_t destinationBytes) {
    for (const Loop& loop : kLoops) {
        if (loop.mLoads * destinationBytes == loop.mStores * sourceBytes) {
            loop.mCopy(source, destination, sourceBytes / (16 * loop.mLoads));
            return;
        }
    }
    std::abort();
}

void Timings::Add(double conversion, double limit) {
    mConversions.push_back(conversion);
    mLimits.push_back(limit);
}

double Timings::ConversionMedian() const {
    return Median(mConversions);
}

double Timings::Share() const {
    return Median(mLimits) / Median(mConversions);
}

}  // namespace kvx_bench
