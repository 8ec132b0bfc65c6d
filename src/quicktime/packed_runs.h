#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace KVX::QT {

// Memory for packed tables, which goes with the last of them.
class PackedMemory {
  public:
    PackedMemory() = default;
    PackedMemory(const PackedMemory&) = delete;
    PackedMemory& operator=(const PackedMemory&) = delete;

    // A copy of a column. Throws std::bad_alloc.
    const char* Keep(const void* column, size_t size);

  private:
    struct FreePiece {
        size_t size = 0;
        void operator()(char* memory) const;
    };

    std::vector<std::unique_ptr<char, FreePiece>> mPieces;
    char* mFree = nullptr;  // in the last piece
    size_t mFreeSize = 0;
};

// Runs of samples in the file, by the number of their first sample: for tables of hundreds of
// thousands. A movie has most of them to say the same again and again, one sample or so many after
// the last run and not far behind it in the file. So they stand in blocks and each block by
// columns, of which one that goes up evenly takes no memory and another four bytes a run if it can.
// That saves more than memory: such a movie takes a good part of its time to open because the
// system clears memory for it.
//
// Appended in order and never changed, so that looking up takes no lock.
class PackedRuns {
  public:
    // Runs in a block, at most.
    static constexpr int kBlock = 128;

    struct Run {
        long long key;
        long long offset;
        unsigned int size;
    };

    // A block on its way in. Sizes count only if they are kept.
    struct Columns {
        long long keys[kBlock];
        long long offsets[kBlock];
        unsigned int sizes[kBlock];
    };

    PackedRuns(bool keepsSizes, std::shared_ptr<PackedMemory> memory)
        : mKeepsSizes(keepsSizes), mMemory(std::move(memory)) {}

    // How many runs there may be at most.
    void Expect(size_t most) { mBlocks.reserve(most / kBlock + 1); }

    // Keys that go up, from one above the last key on. Throws std::bad_alloc.
    void Append(const Columns& columns, int count);

    // A whole block whose keys are `firstKey` and as much again as `step`, which is above 0, each
    // time, and whose offsets are `base` and so much more. No sum may pass 64 bits.
    struct EvenBlock {
        long long firstKey;
        long long step;
        long long base;
        const uint32_t* offsets;
        const char* keptOffsets;  // the same where another table with this memory has them, or null
        const uint32_t* sizes;    // null if they are not kept
    };

    // As Append does. Returns where the offsets stand now.
    const char* AppendEvenly(const EvenBlock& even);

    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }

    // The run with the greatest key not above `key`; the first one for a key below all. There must
    // be one.
    Run AtOrBefore(long long key) const;

    // The first key above `key`, or `none`.
    long long KeyAfter(long long key, long long none) const;

    // Calls `visit` with each run in order.
    template <typename Visit>
    void ForEach(Visit visit) const {
        for (const Block& block : mBlocks) {
            for (int index = 0; index < block.count; ++index) {
                visit(RunOf(block, index));
            }
        }
    }

  private:
    // How a column stands.
    enum class Form : uint8_t {
        kEven,  // not at all: so much more each time
        kNear,  // 32 bits each, above the first or the base
        kWide,  // 64 bits each
    };

    struct Block {
        long long firstKey;
        long long step;  // of even keys
        long long base;  // of near offsets
        const char* keys;
        const char* offsets;
        const char* sizes;
        int count;
        Form keyForm;
        Form offsetForm;
    };

    void AppendBlock(const Block& block);
    const char* KeepValues(const long long* values, int count, Form& form);

    const Block& BlockAtOrBefore(long long key) const;
    Run RunOf(const Block& block, int index) const;
    static long long KeyOf(const Block& block, int index);
    static int IndexAtOrBefore(const Block& block, long long key);

    bool mKeepsSizes;
    std::shared_ptr<PackedMemory> mMemory;
    size_t mSize = 0;
    std::vector<Block> mBlocks;
};

}  // namespace KVX::QT
