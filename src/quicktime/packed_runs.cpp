#include "quicktime/packed_runs.h"

#include <algorithm>
#include <cstring>

#include "core/assert.h"
#include "quicktime/table_allocator.h"
#include "quicktime/wrapping.h"

namespace KVX::QT {

namespace {

constexpr size_t kFirstPiece = size_t{128} << 10;
constexpr size_t kPiece = size_t{2} << 20;

uint64_t Distance(long long from, long long to) {
    return static_cast<uint64_t>(to) - static_cast<uint64_t>(from);
}

bool GoUpEvenly(const long long* values, int count) {
    const uint64_t step = count > 1 ? Distance(values[0], values[1]) : 0;
    uint64_t others = 0;
    for (int i = 1; i < count; ++i) {
        others |= Distance(values[i - 1], values[i]) ^ step;
    }
    return others == 0;
}

template <typename Stored>
Stored Load(const char* column, int index) {
    Stored value;
    std::memcpy(&value, column + static_cast<size_t>(index) * sizeof(Stored), sizeof(Stored));
    return value;
}

}  // namespace

void PackedMemory::FreePiece::operator()(char* memory) const {
    TableAllocator<char>().deallocate(memory, size);
}

const char* PackedMemory::Keep(const void* column, size_t size) {
    if (size > mFreeSize) {
        // The first piece is one that costs a table of some hundred runs next to nothing.
        const size_t length = mPieces.empty() ? kFirstPiece : kPiece;
        mPieces.reserve(mPieces.size() + 1);
        mPieces.emplace_back(TableAllocator<char>().allocate(length), FreePiece{length});
        mFree = mPieces.back().get();
        mFreeSize = length;
    }
    char* const memory = mFree;
    mFree += size;
    mFreeSize -= size;
    return static_cast<char*>(std::memcpy(memory, column, size));
}

void PackedRuns::Append(const Columns& columns, int count) {
    KVX_ASSERT(count > 0 && count <= kBlock);
    Block block = {};
    block.count = count;
    block.firstKey = columns.keys[0];
    if (GoUpEvenly(columns.keys, count)) {
        block.step = count > 1 ? WrappingDifference(columns.keys[1], columns.keys[0]) : 1;
    } else {
        block.keys = KeepValues(columns.keys, count, block.keyForm);
    }
    block.base = columns.offsets[0];
    block.offsets = KeepValues(columns.offsets, count, block.offsetForm);
    if (mKeepsSizes) {
        block.sizes = mMemory->Keep(columns.sizes, static_cast<size_t>(count) * sizeof(uint32_t));
    }
    AppendBlock(block);
}

const char* PackedRuns::AppendEvenly(const EvenBlock& even) {
    constexpr size_t kSize = kBlock * sizeof(uint32_t);
    Block block = {};
    block.count = kBlock;
    block.firstKey = even.firstKey;
    block.step = even.step;
    block.base = even.base;
    block.offsetForm = Form::kNear;
    block.offsets =
        even.keptOffsets != nullptr ? even.keptOffsets : mMemory->Keep(even.offsets, kSize);
    if (mKeepsSizes) {
        block.sizes = mMemory->Keep(even.sizes, kSize);
    }
    AppendBlock(block);
    return block.offsets;
}

void PackedRuns::AppendBlock(const Block& block) {
    mBlocks.push_back(block);
    mSize += static_cast<size_t>(block.count);
}

const char* PackedRuns::KeepValues(const long long* values, int count, Form& form) {
    uint32_t distances[kBlock];
    const long long first = values[0];
    uint64_t bits = 0;
    for (int i = 0; i < count; ++i) {
        const uint64_t distance = Distance(first, values[i]);
        bits |= distance;
        distances[i] = static_cast<uint32_t>(distance);
    }
    const bool isNear = bits >> 32 == 0;
    form = isNear ? Form::kNear : Form::kWide;
    return isNear ? mMemory->Keep(distances, static_cast<size_t>(count) * sizeof(uint32_t))
                  : mMemory->Keep(values, static_cast<size_t>(count) * sizeof(long long));
}

PackedRuns::Run PackedRuns::AtOrBefore(long long key) const {
    const Block& block = BlockAtOrBefore(key);
    return RunOf(block, IndexAtOrBefore(block, key));
}

long long PackedRuns::KeyAfter(long long key, long long none) const {
    if (empty()) {
        return none;
    }
    const Block* block = &BlockAtOrBefore(key);
    if (key < block->firstKey) {
        return block->firstKey;
    }
    const int index = IndexAtOrBefore(*block, key) + 1;
    if (index < block->count) {
        return KeyOf(*block, index);
    }
    ++block;
    return block == mBlocks.data() + mBlocks.size() ? none : block->firstKey;
}

const PackedRuns::Block& PackedRuns::BlockAtOrBefore(long long key) const {
    KVX_ASSERT(!empty());
    const auto above = std::upper_bound(
        mBlocks.begin(), mBlocks.end(), key,
        [](long long wanted, const Block& block) { return wanted < block.firstKey; });
    return above == mBlocks.begin() ? *above : *(above - 1);
}

int PackedRuns::IndexAtOrBefore(const Block& block, long long key) {
    if (key <= block.firstKey) {
        return 0;
    }
    if (block.keyForm == Form::kEven) {
        const uint64_t steps = Distance(block.firstKey, key) / static_cast<uint64_t>(block.step);
        return static_cast<int>(std::min(steps, static_cast<uint64_t>(block.count - 1)));
    }
    int from = 0;
    int to = block.count;
    while (to - from > 1) {
        const int middle = (from + to) / 2;
        (KeyOf(block, middle) <= key ? from : to) = middle;
    }
    return from;
}

long long PackedRuns::KeyOf(const Block& block, int index) {
    switch (block.keyForm) {
        case Form::kEven:
            return WrappingSum(block.firstKey, WrappingProduct(index, block.step));
        case Form::kNear:
            return WrappingSum(block.firstKey, Load<uint32_t>(block.keys, index));
        case Form::kWide:
            break;
    }
    return Load<long long>(block.keys, index);
}

PackedRuns::Run PackedRuns::RunOf(const Block& block, int index) const {
    const long long offset = block.offsetForm == Form::kNear
                                 ? WrappingSum(block.base, Load<uint32_t>(block.offsets, index))
                                 : Load<long long>(block.offsets, index);
    return {KeyOf(block, index), offset, mKeepsSizes ? Load<uint32_t>(block.sizes, index) : 0};
}

}  // namespace KVX::QT
