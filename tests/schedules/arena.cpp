#include "schedules/arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvx_schedules {

namespace {

constexpr int kSpoilt = 0xA5;

template <typename T>
T* Map(size_t count) {
    void* memory = mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("mmap");
        std::abort();
    }
    return static_cast<T*>(memory);
}

size_t RoundUp(size_t value, size_t multiple) {
    return (value + multiple - 1) & ~(multiple - 1);
}

}  // namespace

Arena::Arena()
    : mBase(Map<char>(kSize)),
      mMarks(Map<uint8_t>(kSize / kGranule)),
      mBlocks(Map<Block>(kRegions * kMostBlocks)),
      mLooks(Map<VectorClock>(kRegions * kMostBlocks)) {
    for (size_t region = 0; region < kRegions; ++region) {
        mRegions[region].blocks = mBlocks + region * kMostBlocks;
    }
}

Arena::~Arena() {
    munmap(mBase, kSize);
    munmap(mMarks, kSize / kGranule);
    munmap(mLooks, kRegions * kMostBlocks * sizeof(VectorClock));
    munmap(mBlocks, kRegions * kMostBlocks * sizeof(Block));
}

void* Arena::Allocate(int thread, size_t size, size_t alignment) {
    const auto number = static_cast<size_t>(thread) % kRegions;
    Region& region = mRegions[number];
    const size_t base = number * kRegionSize;
    const size_t start = RoundUp(base + region.used, std::max(alignment, kGranule));
    const size_t whole = RoundUp(std::max<size_t>(size, 1), kGranule);
    if (size > kRegionSize || start + whole + kGap > base + kRegionSize ||
        region.blockCount == kMostBlocks) {
        return nullptr;
    }
    std::memset(mMarks + start / kGranule, kBlock, whole / kGranule);
    region.blocks[region.blockCount++] = {static_cast<uint32_t>(start / kGranule),
                                          static_cast<uint32_t>(size), true};
    region.used = start + whole + kGap - base;
    return mBase + start;
}

size_t Arena::BlockBefore(const void* address) const {
    const auto granule = static_cast<uint32_t>(GranuleOf(address));
    const Region& region = mRegions[size_t{granule} * kGranule / kRegionSize];
    const Block* const end = region.blocks + region.blockCount;
    const Block* const after = std::upper_bound<const Block*>(
        region.blocks, end, granule,
        [](uint32_t at, const Block& block) { return at < block.start; });
    return static_cast<size_t>(after - mBlocks) - 1;
}

const Arena::Block* Arena::FindBlock(const void* memory) const {
    const size_t before = BlockBefore(memory);
    const bool isStart =
        before + 1 != 0 && mBase + size_t{mBlocks[before].start} * kGranule == memory;
    return isStart ? &mBlocks[before] : nullptr;
}

VectorClock& Arena::LooksAt(const void* address) {
    const Block& last = mBlocks[mLastLooked];
    const size_t offset = GranuleOf(address) - last.start;
    if (!last.isLive || offset * kGranule >= last.size) {
        mLastLooked = BlockBefore(address);
    }
    return mLooks[mLastLooked];
}

bool Arena::Free(void* memory) {
    auto* block = const_cast<Block*>(FindBlock(memory));
    if (block == nullptr || !block->isLive) {
        return false;
    }
    block->isLive = false;
    std::memset(mMarks + block->start, kGone,
                RoundUp(std::max<size_t>(block->size, 1), kGranule) / kGranule);
    return true;
}

Arena::Place Arena::Find(const void* address, size_t size) const {
    if (!Holds(address)) {
        return Place::kElsewhere;
    }
    const size_t first = GranuleOf(address);
    const size_t last =
        GranuleOf(static_cast<const char*>(address) + std::max<size_t>(size, 1) - 1);
    // A block is live or freed as a whole, and between two there is a gap: of a range longer than
    // that, the ends and each gap's worth of the way tell.
    constexpr size_t kStep = kGap / kGranule;
    Place worst = Place::kLive;
    for (size_t granule = first; granule <= last;
         granule = granule == last ? last + 1 : std::min(granule + kStep, last)) {
        if (mMarks[granule] == kGone) {
            return Place::kFreed;
        }
        if (mMarks[granule] == kNobodys) {
            worst = Place::kBetween;
        }
    }
    return worst;
}

void Arena::Spoil(const Block& block) {
    char* const start = mBase + size_t{block.start} * kGranule;
    const size_t end = std::min<size_t>(block.size, 4096);
    std::memset(start, kSpoilt, end);
    std::memset(start + block.size - end, kSpoilt, end);
}

size_t Arena::LiveBlocksOfSize(size_t size) const {
    ptrdiff_t count = 0;
    for (const Region& region : mRegions) {
        count +=
            std::count_if(region.blocks, region.blocks + region.blockCount,
                          [=](const Block& block) { return block.isLive && block.size == size; });
    }
    return static_cast<size_t>(count);
}

size_t Arena::SizeOf(const void* memory) const {
    const Block* block = FindBlock(memory);
    return block == nullptr ? 0 : block->size;
}

void Arena::Reset() {
    for (size_t number = 0; number < kRegions; ++number) {
        Region& region = mRegions[number];
        for (size_t block = 0; block < region.blockCount; ++block) {
            Spoil(region.blocks[block]);
        }
        std::memset(mMarks + number * kRegionSize / kGranule, kNobodys,
                    RoundUp(region.used, kGranule) / kGranule);
        std::memset(static_cast<void*>(mLooks + number * kMostBlocks), 0,
                    region.blockCount * sizeof(VectorClock));
        region.blockCount = 0;
        region.used = 0;
    }
    mLastLooked = 0;
}

}  // namespace kvx_schedules
