#include "copy_limit.h"

#include <cstdlib>

#include "convert/vector128.h"

namespace kvx_bench {

namespace {

using namespace KVX::Vector128;

template <size_t kLoads, size_t kStores>
void Copy(const char* source, char* destination, size_t steps) {
    for (size_t step = 0; step < steps; ++step) {
        Integers values[kLoads];
        for (size_t i = 0; i < kLoads; ++i) {
            values[i] = LoadAligned(source + 16 * i);
        }
        // What is not stored has to be used all the same.
        for (size_t i = kStores; i < kLoads; ++i) {
            values[0] = Or(values[0], values[i]);
        }
        for (size_t i = 0; i < kStores; ++i) {
            Stream(destination + 16 * i, values[i % kLoads]);
        }
        source += 16 * kLoads;
        destination += 16 * kStores;
    }
    EndStreams();
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
    {8, 4, Copy<8, 4>}, {4, 3, Copy<4, 3>},
};

}  // namespace

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

}  // namespace kvx_bench
