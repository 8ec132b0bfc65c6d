// Where samples lie in the file and how large they are: "stsc", "stco" or "co64", and "stsz", each
// read once.
#include <algorithm>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
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

// Passes samples that all have one size.
class EqualSizes {
  public:
    explicit EqualSizes(unsigned int size) : mSize(size) {}

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
    TableSizes(RecordMap<SizeOffset>& map, AtomFields table)
        : mMap(map),
          mRuns(map),
          mTable(table),
          mSizes(table.Bytes(0, 0) + kSizesOffset),
          mHeld(EntriesHeld(table, kSizesOffset, kSizeEntry)),
          mStated(std::max(table.Signed32(kSizeCountOffset), 0)),
          // A table that does not hold as many as it says fails in the end.
          mKept(mStated <= mHeld ? mStated : 0) {
        mRuns.Expect(static_cast<size_t>(mKept));
    }

    // As in EqualSizes.
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
    unsigned int mLargest = 0;
    bool mHasEmptySample = false;
};

// Walks the chunks in the order of "stsc", and notes where one does not follow on from the last.
template <typename Sizes>
class ChunkWalk {
  public:
    ChunkWalk(RunMap<long long>& map, const Atom* chunksAtom, Sizes& sizes)
        : mMap(map),
          mRuns(map),
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
        for (; chunk >= 0 && chunk < last; ++chunk) {
            const char* const entry = table + chunk * kLength;
            const long long offset = kLength == 8 ? static_cast<long long>(Core::ReadBig64(entry))
                                                  : Core::ReadBig32(entry);
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
        mVisitsLeft -= chunk - first;
        mEnd = place;
        return chunk == end ? 0 : Refuse(chunk, kLength);
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
    if (const long status = ChunkWalk(mChunkOffsets, chunksAtom, sizes).Run(stscAtom)) {
        return status;
    }
    // One run, however many samples there are.
    AtomFields table = TableFields(stszAtom);
    const bool hasSamples =
        table.Unsigned32(kConstantSizeOffset) != 0 || table.Signed32(kSizeCountOffset) > 0;
    if (hasSamples) {
        const auto start = mChunkOffsets.find(0);
        const long long offset = start == mChunkOffsets.end() ? 0 : start->second;
        mSizeOffsets.Append(0, {mFixedSampleSize, offset});
        mMaxSampleSize = mFixedSampleSize;
    }
    return table.Status();
}

long SampleTable::SetChunksAndSizes(const Atom* stscAtom, const Atom* chunksAtom,
                                    const Atom* stszAtom) {
    TableSizes sizes(mSizeOffsets, TableFields(stszAtom));
    ChunkWalk walk(mChunkOffsets, chunksAtom, sizes);
    if (const long status = walk.Run(stscAtom)) {
        mSizeOffsets.clear();
        return status;
    }
    return sizes.Finish(walk.End(), mMaxSampleSize);
}

}  // namespace KVX::QT
