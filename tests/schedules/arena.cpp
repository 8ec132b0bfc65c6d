#include "schedules/arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvx_schedules {

namespace {

constexpr size_t kMostBlocks = 1 << 18;
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
      mBlocks(Map<Block>(kMostBlocks)) {}

Arena::~Arena() {
    munmap(mBase, kSize);
    munmap(mMarks, kSize / kGranule);
    munmap(mBlocks, kMostBlocks * sizeof(Block));
}

void* Arena::Allocate(size_t size, size_t alignment) {
    const size_t start = RoundUp(mUsed, std::max(alignment, kGranule));
    const size_t whole = RoundUp(std::max<size_t>(size, 1), kGranule);
    if (size > kSize || start + whole + kGap > kSize || mBlockCount == kMostBlocks) {
        return nullptr;
    }
    std::memset(mMarks + start / kGranule, kBlock, whole / kGranule);
    mBlocks[mBlockCount++] = {static_cast<uint32_t>(start / kGranule), static_cast<uint32_t>(size),
                              true};
    mUsed = start + whole + kGap;
    ++mLiveBlocks;
    return mBase + start;
}

const Arena::Block* Arena::FindBlock(const void* memory) const {
    const auto granule = static_cast<uint32_t>(GranuleOf(memory));
    const Block* const begin = mBlocks;
    const Block* const end = begin + mBlockCount;
    const Block* const found = std::lower_bound(
        begin, end, granule, [](const Block& block, uint32_t at) { return block.start < at; });
    const bool isStart = found != end && mBase + size_t{found->start} * kGranule == memory;
    return isStart ? found : nullptr;
}

bool Arena::Free(void* memory) {
    auto* block = const_cast<Block*>(FindBlock(memory));
    if (block == nullptr || !block->isLive) {
        return false;
    }
    block->isLive = false;
    std::memset(mMarks + block->start, kGone,
                RoundUp(std::max<size_t>(block->size, 1), kGranule) / kGranule);
    --mLiveBlocks;
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
    return static_cast<size_t>(
        std::count_if(mBlocks, mBlocks + mBlockCount,
                      [=](const Block& block) { return block.isLive && block.size == size; }));
}

size_t Arena::SizeOf(const void* memory) const {
    const Block* block = FindBlock(memory);
    return block == nullptr ? 0 : block->size;
}

void Arena::Reset() {
    for (size_t block = 0; block < mBlockCount; ++block) {
        Spoil(mBlocks[block]);
    }
    std::memset(mMarks, kNobodys, RoundUp(mUsed, kGranule) / kGranule);
    mBlockCount = 0;
    mUsed = 0;
    mLiveBlocks = 0;
}

}  // namespace kvx_schedules
