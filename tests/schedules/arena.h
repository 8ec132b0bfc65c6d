// The memory that the code under schedule lives in.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kvx_schedules {

// Hands out memory from one block of addresses, never the same twice in one run, so that a look at
// freed memory is known as such, and the bytes between two blocks as nobody's. A run begins with an
// empty arena, and addresses are the same in every run that makes the same calls.
class Arena {
  public:
    // What is at an address.
    enum class Place { kElsewhere, kLive, kFreed, kBetween };

    Arena();
    ~Arena();

    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Null when the arena is full. `alignment` is a power of two.
    void* Allocate(size_t size, size_t alignment = 16);
    // False for an address that is not the start of a live block.
    bool Free(void* memory);

    bool Holds(const void* address) const {
        const auto* byte = static_cast<const char*>(address);
        return byte >= mBase && byte < mBase + kSize;
    }
    // The worst of the places that the range lies in.
    Place Find(const void* address, size_t size) const;

    size_t LiveBlocks() const { return mLiveBlocks; }
    size_t LiveBlocksOfSize(size_t size) const;
    size_t SizeOf(const void* memory) const;

    // Forgets everything.
    void Reset();

  private:
    static constexpr size_t kSize = size_t{64} << 20;
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
    // What one run wrote must not look right to the next: not where it begins, nor where it ends.
    void Spoil(const Block& block);

    char* mBase;
    uint8_t* mMarks;  // one for each granule
    Block* mBlocks;   // by address
    size_t mBlockCount = 0;
    size_t mUsed = 0;  // bytes
    size_t mLiveBlocks = 0;
};

}  // namespace kvx_schedules
