// The memory that the code under schedule lives in.
#pragma once

#include <cstddef>
#include <cstdint>

#include "schedules/clock.h"

namespace kvx_schedules {

// Hands out memory from one block of addresses, never the same twice in one run, so that a look at
// freed memory is known as such, and the bytes between two blocks as nobody's. A run begins with an
// empty arena. Each thread has a region of its own: what it gets depends on its own calls alone, so
// that an object has the same address in all runs that differ only in what other threads did
// meanwhile.
class Arena {
  public:
    // What is at an address.
    enum class Place { kElsewhere, kLive, kFreed, kBetween };

    Arena();
    ~Arena();

    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    static constexpr int kRegions = 64;

    // From the region of the thread; null when it is full. `alignment` is a power of two.
    void* Allocate(int thread, size_t size, size_t alignment = 16);
    // False for an address that is not the start of a live block.
    bool Free(void* memory);

    bool Holds(const void* address) const {
        const auto* byte = static_cast<const char*>(address);
        return byte >= mBase && byte < mBase + kSize;
    }
    // The worst of the places that the range lies in.
    Place Find(const void* address, size_t size) const;

    // When each thread last looked at the live block that the address is in.
    VectorClock& LooksAt(const void* address);

    size_t LiveBlocksOfSize(size_t size) const;
    size_t SizeOf(const void* memory) const;

    // Forgets everything.
    void Reset();

  private:
    static constexpr size_t kRegionSize = size_t{32} << 20;
    static constexpr size_t kSize = kRegions * kRegionSize;
    static constexpr size_t kMostBlocks = 1 << 16;  // of a region
    static constexpr size_t kGranule = 16;
    static constexpr size_t kGap = 32;  // nobody's bytes behind each block

    enum Mark : uint8_t { kNobodys, kBlock, kGone };

    struct Block {
        uint32_t start;  // granules
        uint32_t size;   // bytes
        bool isLive;
    };

    size_t GranuleOf(const void* address) const {
        return static_cast<size_t>(static_cast<const char*>(address) - mBase) / kGranule;
    }
    const Block* FindBlock(const void* memory) const;
    // The last block that does not begin after the address.
    size_t BlockBefore(const void* address) const;
    // What one run wrote must not look right to the next: not where it begins, nor where it ends.
    void Spoil(const Block& block);

    struct Region {
        Block* blocks;  // by address
        size_t blockCount = 0;
        size_t used = 0;  // bytes
    };

    char* mBase;
    uint8_t* mMarks;      // one for each granule
    Block* mBlocks;       // of all regions
    VectorClock* mLooks;  // one for each block
    size_t mLastLooked = 0;
    Region mRegions[kRegions];
};

}  // namespace kvx_schedules
