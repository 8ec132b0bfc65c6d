// Where samples lie in the file and how large they are: "stsc", "stco" or "co64", and "stsz", each
// read once.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/run_appender.h"
#include "quicktime/sample_table.h"
#include "quicktime/table_entries.h"
#include "quicktime/wrapping.h"

namespace KVX::QT {

namespace {

// Where a walk is. One that visits hundreds of thousands of chunks keeps it in registers.
struct Place {
    long long sample = 0;     // the next one
    long long position = -1;  // where it begins if it follows on from the last one
};

// So many chunks at a time, while each of them begins a run or none does, are passed by plain loops
// whose length the compiler knows and of which it makes vectors.
constexpr int kBlock = PackedRuns::kBlock;

// Entries of a table, and one more that differs from whatever would stand there.
using EntryBlock = uint32_t[kBlock + 1];

struct ChunkBlock {
    long long base;           // what the offsets are above
    const char* keptOffsets;  // once they are in a table, or null
    EntryBlock offsets;
    EntryBlock lengths;  // bytes of a chunk
};

// Runs that begin in a block.
enum class Runs { kNone, kEverywhere, kHereAndThere };

Runs RunsOf(int count) {
    return count == 0 ? Runs::kNone : count == kBlock ? Runs::kEverywhere : Runs::kHereAndThere;
}

void ReadEntries(const char* __restrict from, uint32_t* __restrict to) {
    for (int i = 0; i < kBlock; ++i) {
        to[i] = Core::ReadBig32(from + static_cast<ptrdiff_t>(i) * 4);
    }
}

// False if they lie too far from one another.
bool ReadLongEntries(const char* __restrict from, long long base, uint32_t* __restrict to) {
    uint64_t bits = 0;
    for (int i = 0; i < kBlock; ++i) {
        const uint64_t distance =
            Core::ReadBig64(from + static_cast<ptrdiff_t>(i) * 8) - static_cast<uint64_t>(base);
        bits |= distance;
        to[i] = static_cast<uint32_t>(distance);
    }
    return bits >> 32 == 0;
}

bool HasZero(const uint32_t* __restrict entries) {
    int zeros = 0;
    for (int i = 0; i < kBlock; ++i) {
        zeros += entries[i] == 0 ? 1 : 0;
    }
    return zeros != 0;
}

// Entries, but for the first, that are not as much above the one before as `steps` has there.
int CountBreaks(uint32_t* __restrict entries, const uint32_t* __restrict steps) {
    entries[kBlock] = entries[kBlock - 1] + steps[kBlock - 1] + 1;
    int equal = 0;
    for (int i = 0; i < kBlock; ++i) {
        equal += entries[i + 1] == entries[i] + steps[i] ? 1 : 0;
    }
    return kBlock - 1 - equal;
}

int CountChanges(uint32_t* __restrict entries) {
    entries[kBlock] = ~entries[kBlock - 1];
    int equal = 0;
    for (int i = 0; i < kBlock; ++i) {
        equal += entries[i + 1] == entries[i] ? 1 : 0;
    }
    return kBlock - 1 - equal;
}

uint32_t Largest(const uint32_t* __restrict entries) {
    uint32_t largest = 0;
    for (int i = 0; i < kBlock; ++i) {
        largest = std::max(largest, entries[i]);
    }
    return largest;
}

// Passes samples that all have one size.
class EqualSizes {
  public:
    explicit EqualSizes(unsigned int size) : mSize(size) {}

    // The lengths of a block's chunks, of so many samples each. False if they are better passed one
    // by one.
    bool Measure(long long, long long count, ChunkBlock& block) const {
        std::fill_n(block.lengths, kBlock, static_cast<unsigned int>(count) * mSize);
        return true;
    }

    // The runs of a block that has been measured.
    void PassBlock(long long, const ChunkBlock&) {}

    // Passes the samples of a chunk, which lie back to back from the place's position on. Returns
    // 0, or 22 after a log line.
    long Pass(long long count, Place& place) {
        // The format's sizes are 32 bits wide, and so is a chunk's.
        const unsigned int size = static_cast<unsigned int>(count) * mSize;
        place.position = WrappingSum(place.position, size);
        place.sample += count;
        return 0;
    }

  private:
    const unsigned int mSize;
};

// Passes samples whose sizes are in a table, and keeps where a size differs from the one before.
class TableSizes {
  public:
    TableSizes(RecordMap<SizeOffset>& map, AtomFields table, std::shared_ptr<PackedMemory> memory)
        : mMap(map),
          mRuns(map, std::move(memory)),
          mTable(table),
          mSizes(table.Bytes(0, 0) + kSizesOffset),
          mHeld(EntriesHeld(table, kSizesOffset, kSizeEntry)),
          mStated(std::max(table.Signed32(kSizeCountOffset), 0)),
          // A table that does not hold as many as it says fails in the end.
          mKept(mStated <= mHeld ? mStated : 0) {
        mRuns.Expect(static_cast<size_t>(mKept));
    }

    // These three as in EqualSizes.
    bool Measure(long long sample, long long count, ChunkBlock& block) {
        if (count != 1 || sample > mKept - kBlock) {
            return false;
        }
        ReadEntries(mSizes + sample * kSizeEntry, block.lengths);
        const int firstChanges = block.lengths[0] != mPrevious ? 1 : 0;
        mRunsOfBlock = RunsOf(firstChanges + CountChanges(block.lengths));
        return mRunsOfBlock != Runs::kHereAndThere && !HasZero(block.lengths);
    }

    void PassBlock(long long sample, const ChunkBlock& block) {
        if (mRunsOfBlock == Runs::kEverywhere) {
            mRuns.AppendEvenly(
                {sample, 1, block.base, block.offsets, block.keptOffsets, block.lengths});
            mPrevious = block.lengths[kBlock - 1];
            mLargest = std::max(mLargest, Largest(block.lengths));
        }
    }

    long Pass(long long count, Place& place) {
        if (count > mHeld - place.sample) {
            return Refuse(count, place.sample);
        }
        // A negative count passes none.
        for (const long long end = place.sample + count; place.sample < end; ++place.sample) {
            const unsigned int size = Core::ReadBig32(mSizes + place.sample * kSizeEntry);
            if (size != mPrevious && place.sample < mKept) {
                BeginRun(size, place);
            }
            place.position = WrappingSum(place.position, size);
        }
        return 0;
    }

    // Passes what the table has beyond the last chunk. Returns 0, or 22 after a log line, also for
    // a sample without bytes anywhere in it.
    long Finish(Place place, unsigned int& largest) {
        if (mStated > mHeld) {
            return Refuse(mStated, 0);
        }
        Pass(mStated - place.sample, place);
        mRuns.Flush();
        largest = mLargest;
        if (mHasEmptySample) {
            Core::LogLine(Core::LogSite::In(kLayoutOperation), "Got invalid first size of %u\n",
                          0U);
            return Core::kStatusInvalid;
        }
        mMap.Finish();
        return 0;
    }

  private:
    // What comes after a sample without bytes is not kept.
    void BeginRun(unsigned int size, Place place) {
        if (size == 0) {
            mHasEmptySample = true;
            mKept = place.sample;
            return;
        }
        mRuns.Append(place.sample, SizeOffset{size, place.position});
        mPrevious = size;
        mLargest = std::max(mLargest, size);
    }

    // Sizes that the atom does not hold.
    long Refuse(long long count, long long first) {
        mTable.Bytes(kSizesOffset + static_cast<uint64_t>(first) * kSizeEntry,
                     static_cast<uint64_t>(count) * kSizeEntry);
        return mTable.Status();
    }

    RecordMap<SizeOffset>& mMap;
    RunAppender<HeldRecord<SizeOffset>> mRuns;
    AtomFields mTable;
    const char* const mSizes;
    const long long mHeld;
    const long long mStated;
    long long mKept;  // runs are kept up to this sample
    long long mPrevious = -1;
    Runs mRunsOfBlock = Runs::kNone;  // of the one that was measured last
    unsigned int mLargest = 0;
    bool mHasEmptySample = false;
};

// Walks the chunks in the order of "stsc", and notes where one does not follow on from the last.
template <typename Sizes>
class ChunkWalk {
  public:
    ChunkWalk(RunMap<long long>& map, const Atom* chunksAtom, Sizes& sizes,
              std::shared_ptr<PackedMemory> memory)
        : mMap(map),
          mRuns(map, std::move(memory)),
          mChunks(TableFields(chunksAtom)),
          mSizes(sizes),
          mHasLongOffsets(mChunks.Type() == Core::FourCharCode("co64")) {}

    long Run(const Atom* stscAtom) {
        TableEntries entries;
        if (const long status = entries.Init(TableFields(stscAtom), kRunLength)) {
            return status;
        }
        mCount = mChunks.Signed32(kTableCountOffset);
        if (mChunks.Status() != 0) {
            return mChunks.Status();
        }
        mHeld = EntriesHeld(mChunks, kTableEntriesOffset, mHasLongOffsets ? 8 : 4);
        // Every chunk belongs to one entry. A table out of order visits some twice; one that goes
        // over very many twice, or over them again and again, is made to cost time and memory.
        mVisitsLeft = std::max(mCount, std::min(2 * mCount, kMostRepeatedVisits));
        mRuns.Expect(static_cast<size_t>(std::clamp(mCount, 0LL, mHeld)));
        const long status = VisitAll(entries);
        mRuns.Flush();
        mMap.Finish();
        return status;
    }

    // After the last chunk.
    Place End() const { return {mEnd.sample, mMap.empty() ? 0 : mEnd.position}; }

  private:
    static constexpr uint64_t kRunLength = 12;  // of an "stsc" entry
    static constexpr long long kMostRepeatedVisits = 1 << 20;

    long VisitAll(const TableEntries& entries) {
        for (long long i = 0; i < entries.count; ++i) {
            const char* const entry = entries.bytes + i * kRunLength;
            const long long first = FirstChunk(entry);
            const long long next = i + 1 < entries.count ? FirstChunk(entry + kRunLength) : mCount;
            // An entry goes on to the end of the table if the next one's first chunk never comes.
            const long long end = first <= next && next <= mCount ? next : mCount;
            const long long samplesPerChunk = TableSigned32(entry + 4);
            if (const long status = mHasLongOffsets ? Visit<8>(first, end, samplesPerChunk)
                                                    : Visit<4>(first, end, samplesPerChunk)) {
                return status;
            }
        }
        return 0;
    }

    // Chunks are counted from 1 in the file.
    static long long FirstChunk(const char* entry) {
        return static_cast<long long>(Core::ReadBig32(entry)) - 1;
    }

    // The chunks from `first` up to `end`, of so many samples each, whose entries have so many
    // bytes.
    template <int kLength>
    long Visit(long long first, long long end, long long sampleCount) {
        if (first >= end) {
            return 0;
        }
        const long long last = first + std::min({end - first, mVisitsLeft, mHeld - first});
        const char* const table = mChunks.Bytes(0, 0) + kTableEntriesOffset;
        Place place = mEnd;
        long long chunk = first;
        while (chunk >= 0 && chunk < last) {
            const long long count = std::min<long long>(kBlock, last - chunk);
            const char* const entries = table + chunk * kLength;
            if (count < kBlock || !PassBlock<kLength>(entries, sampleCount, place)) {
                if (const long status = PassEach<kLength>(entries, count, sampleCount, place)) {
                    return status;
                }
            }
            chunk += count;
        }
        mVisitsLeft -= chunk - first;
        mEnd = place;
        return chunk == end ? 0 : Refuse(chunk, kLength);
    }

    template <int kLength>
    static long long OffsetAt(const char* entry) {
        return kLength == 8 ? static_cast<long long>(Core::ReadBig64(entry))
                            : Core::ReadBig32(entry);
    }

    template <int kLength>
    long PassEach(const char* entry, long long count, long long sampleCount, Place& passed) {
        Place place = passed;
        for (; count > 0; --count, entry += kLength) {
            const long long offset = OffsetAt<kLength>(entry);
            if (offset <= 0) {
                Core::LogLine(Core::LogSite::In(kLayoutOperation), "Got invalid offset of %lld\n",
                              offset);
                return Core::kStatusInvalid;
            }
            if (offset != place.position) {
                mRuns.Append(place.sample, offset);
            }
            place.position = offset;
            if (const long status = mSizes.Pass(sampleCount, place)) {
                return status;
            }
        }
        passed = place;
        return 0;
    }

    // False, with nothing done, if these chunks are to be passed one by one.
    template <int kLength>
    bool PassBlock(const char* entries, long long sampleCount, Place& place) {
        ChunkBlock block;
        if (sampleCount <= 0 || !ReadOffsets<kLength>(entries, block) ||
            !mSizes.Measure(place.sample, sampleCount, block)) {
            return false;
        }
        const int firstBreaks = block.base + block.offsets[0] != place.position ? 1 : 0;
        const Runs runs = RunsOf(firstBreaks + CountBreaks(block.offsets, block.lengths));
        if (runs == Runs::kHereAndThere || (runs == Runs::kNone && !LieAdjacent(block))) {
            return false;
        }
        block.keptOffsets = nullptr;
        if (runs == Runs::kEverywhere) {
            block.keptOffsets = mRuns.AppendEvenly(
                {place.sample, sampleCount, block.base, block.offsets, nullptr, nullptr});
        }
        mSizes.PassBlock(place.sample, block);
        place.sample += kBlock * sampleCount;
        place.position = block.base + block.offsets[kBlock - 1] + block.lengths[kBlock - 1];
        return true;
    }

    // False if there is one that is not above 0 or too far away.
    template <int kLength>
    static bool ReadOffsets(const char* entries, ChunkBlock& block) {
        if (kLength == 4) {
            block.base = 0;
            ReadEntries(entries, block.offsets);
            return !HasZero(block.offsets);
        }
        block.base = OffsetAt<kLength>(entries);
        constexpr long long kHighest = std::numeric_limits<long long>::max() - 2 * (1LL << 32);
        return block.base > 0 && block.base < kHighest &&
               ReadLongEntries(entries, block.base, block.offsets);
    }

    // What 32 bits say that wrap around.
    static bool LieAdjacent(const ChunkBlock& block) {
        long long end = block.offsets[0];
        for (int i = 0; i < kBlock; ++i) {
            if (end != block.offsets[i]) {
                return false;
            }
            end += block.lengths[i];
        }
        return true;
    }

    // A chunk that cannot be visited.
    long Refuse(long long chunk, uint64_t entryLength) {
        if (chunk < 0 || mVisitsLeft == 0) {
            Core::LogLine(Core::LogSite::In(kLayoutOperation),
                          "Invalid sample to chunk table at chunk %lld\n", chunk + 1);
            return Core::kStatusInvalid;
        }
        mChunks.Bytes(kTableEntriesOffset + static_cast<uint64_t>(chunk) * entryLength,
                      entryLength);
        return mChunks.Status();
    }

    RunMap<long long>& mMap;
    RunAppender<long long> mRuns;
    AtomFields mChunks;
    Sizes& mSizes;
    const bool mHasLongOffsets;
    long long mCount = 0;  // as the table states it
    long long mHeld = 0;   // as its length tells
    long long mVisitsLeft = 0;
    Place mEnd;
};

}  // namespace

long SampleTable::SetChunksOfEqualSamples(const Atom* stscAtom, const Atom* chunksAtom,
                                          const Atom* stszAtom) {
    EqualSizes sizes(mFixedSampleSize);
    if (const long status = ChunkWalk(mChunkOffsets, chunksAtom, sizes, nullptr).Run(stscAtom)) {
        return status;
    }
    // One run, however many samples there are.
    AtomFields table = TableFields(stszAtom);
    const bool hasSamples =
        table.Unsigned32(kConstantSizeOffset) != 0 || table.Signed32(kSizeCountOffset) > 0;
    if (hasSamples) {
        const bool startsThere = !mChunkOffsets.empty() && mChunkOffsets.RunAt(0).first == 0;
        const long long offset = startsThere ? mChunkOffsets.RunAt(0).second : 0;
        mSizeOffsets.Append(0, {mFixedSampleSize, offset});
        mMaxSampleSize = mFixedSampleSize;
    }
    return table.Status();
}

long SampleTable::SetChunksAndSizes(const Atom* stscAtom, const Atom* chunksAtom,
                                    const Atom* stszAtom) {
    const auto memory = std::make_shared<PackedMemory>();
    TableSizes sizes(mSizeOffsets, TableFields(stszAtom), memory);
    ChunkWalk walk(mChunkOffsets, chunksAtom, sizes, memory);
    if (const long status = walk.Run(stscAtom)) {
        mSizeOffsets.clear();
        return status;
    }
    return sizes.Finish(walk.End(), mMaxSampleSize);
}

}  // namespace KVX::QT
