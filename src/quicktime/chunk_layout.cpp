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

// Passes samples that all have one size.
class EqualSizes {
  public:
    explicit EqualSizes(unsigned int size) : mSize(size) {}

    // The number of the next sample.
    long long Sample() const { return mSample; }

    // Passes the samples of a chunk, which stand back to back from `position` on, and moves it to
    // where they end. Answers 0, or 22 after a log line.
    long Pass(long long count, long long& position) {
        // The format's sizes are 32 bits wide, and so is a chunk's.
        position = WrappingSum(position, static_cast<unsigned int>(count) * mSize);
        mSample += count;
        return 0;
    }

  private:
    const unsigned int mSize;
    long long mSample = 0;
};

// Passes samples whose sizes stand in a table, and keeps where a size differs from the one before.
class TableSizes {
  public:
    TableSizes(RecordMap<SizeOffset>& runs, AtomFields table)
        : mRuns(runs), mTable(table), mStated(std::max(table.Signed32(kSizeCountOffset), 0)) {
        // A table that does not hold as many as it says fails in the end.
        const uint64_t length = std::max(table.Length(), kSizesOffset) - kSizesOffset;
        if (static_cast<uint64_t>(mStated) <= length / kSizeEntry) {
            mKept = mStated;
            mRuns.Reserve(static_cast<size_t>(mKept));
        }
    }

    // As EqualSizes has them.
    long long Sample() const { return mSample; }
    long Pass(long long count, long long& position) {
        if (count <= 0) {
            return 0;
        }
        const char* size = mTable.Bytes(kSizesOffset + static_cast<uint64_t>(mSample) * kSizeEntry,
                                        static_cast<uint64_t>(count) * kSizeEntry);
        if (size == nullptr) {
            return mTable.Status();
        }
        for (const char* const end = size + count * kSizeEntry; size != end; size += kSizeEntry) {
            Take(Core::ReadBig32(size), position);
        }
        return 0;
    }

    // Passes what the table has beyond the last chunk. Answers 0, or 22 after a log line, also for
    // a sample without bytes anywhere in it.
    long Finish(long long position, unsigned int& largest) {
        if (mTable.Bytes(kSizesOffset, static_cast<uint64_t>(mStated) * kSizeEntry) == nullptr) {
            return mTable.Status();
        }
        Pass(mStated - mSample, position);
        largest = mLargest;
        if (mHasEmptySample) {
            Core::LogLine(kLayoutOperation, __LINE__, "Got invalid first size of %u\n", 0U);
            return Core::kStatusInvalid;
        }
        mRuns.Finish();
        return 0;
    }

  private:
    void Take(unsigned int size, long long& position) {
        if (size != mPrevious && mSample < mKept) {
            Begin(size, position);
        }
        ++mSample;
        position = WrappingSum(position, size);
    }

    // What comes behind a sample without bytes is not kept.
    void Begin(unsigned int size, long long position) {
        if (size == 0) {
            mHasEmptySample = true;
            mKept = mSample;
            return;
        }
        mRuns.Append(mSample, {size, position});
        mPrevious = size;
        mLargest = std::max(mLargest, size);
    }

    RecordMap<SizeOffset>& mRuns;
    AtomFields mTable;
    const long long mStated;
    long long mKept = 0;  // runs are kept up to this sample
    long long mSample = 0;
    long long mPrevious = -1;
    unsigned int mLargest = 0;
    bool mHasEmptySample = false;
};

// Walks the chunks in the order of "stsc", and notes where one does not follow on from the last.
template <typename Sizes>
class ChunkWalk {
  public:
    ChunkWalk(RunMap<long long>& runs, const Atom* chunksAtom, Sizes& sizes)
        : mRuns(runs),
          mChunks(TableFields(chunksAtom, __LINE__)),
          mSizes(sizes),
          mHasLongOffsets(mChunks.Type() == Core::FourCharCode("co64")) {}

    long Run(const Atom* stscAtom) {
        TableEntries entries;
        if (const long status = entries.Init(TableFields(stscAtom, __LINE__), kRunLength)) {
            return status;
        }
        const long long chunkCount = mChunks.Signed32(kTableCountOffset);
        if (mChunks.Status() != 0) {
            return mChunks.Status();
        }
        // Every chunk belongs to one entry. A table out of order visits some twice; one that goes
        // over very many twice, or over them again and again, is made to cost time and memory.
        mVisitsLeft = std::max(chunkCount, std::min(2 * chunkCount, kMostRepeatedVisits));
        mRuns.Reserve(std::min(static_cast<uint64_t>(std::max(chunkCount, 0LL)),
                               mChunks.Length() / EntryLength()));
        const long status = VisitAll(entries, chunkCount);
        mRuns.Finish();
        return status;
    }

    // Where the last chunk ends; 0 if none was visited.
    long long End() const { return mRuns.empty() ? 0 : mExpected; }

  private:
    static constexpr uint64_t kRunLength = 12;  // of an "stsc" entry
    static constexpr long long kMostRepeatedVisits = 1 << 20;

    long VisitAll(const TableEntries& entries, long long chunkCount) {
        for (long long i = 0; i < entries.count; ++i) {
            const char* const entry = entries.bytes + i * kRunLength;
            const long long first = FirstChunk(entry);
            const long long end =
                i + 1 < entries.count ? FirstChunk(entry + kRunLength) : chunkCount;
            const long long samplesPerChunk = TableSigned32(entry + 4);
            for (long long chunk = first; chunk < chunkCount && chunk != end; ++chunk) {
                if (const long status = Visit(chunk, samplesPerChunk)) {
                    return status;
                }
            }
        }
        return 0;
    }

    uint64_t EntryLength() const { return mHasLongOffsets ? 8 : 4; }

    // Chunks are counted from 1 in the file.
    static long long FirstChunk(const char* entry) {
        return static_cast<long long>(Core::ReadBig32(entry)) - 1;
    }

    long Visit(long long chunk, long long sampleCount) {
        if (chunk < 0 || mVisitsLeft-- == 0) {
            Core::LogLine(kLayoutOperation, __LINE__,
                          "Invalid sample to chunk table at chunk %lld\n", chunk + 1);
            return Core::kStatusInvalid;
        }
        const uint64_t entry = kTableEntriesOffset + static_cast<uint64_t>(chunk) * EntryLength();
        const long long offset = mHasLongOffsets ? static_cast<long long>(mChunks.Unsigned64(entry))
                                                 : mChunks.Unsigned32(entry);
        if (mChunks.Status() != 0) {
            return mChunks.Status();
        }
        if (offset <= 0) {
            Core::LogLine(kLayoutOperation, __LINE__, "Got invalid offset of %lld\n", offset);
            return Core::kStatusInvalid;
        }
        if (offset != mExpected) {
            mRuns.Append(mSizes.Sample(), offset);
        }
        mExpected = offset;
        return mSizes.Pass(sampleCount, mExpected);
    }

    RunMap<long long>& mRuns;
    AtomFields mChunks;
    Sizes& mSizes;
    const bool mHasLongOffsets;
    long long mVisitsLeft = 0;
    long long mExpected = -1;  // where the next chunk continues the run
};

}  // namespace

long SampleTable::SetChunksOfEqualSamples(const Atom* stscAtom, const Atom* chunksAtom,
                                          const Atom* stszAtom) {
    EqualSizes sizes(mFixedSampleSize);
    if (const long status = ChunkWalk(mChunkOffsets, chunksAtom, sizes).Run(stscAtom)) {
        return status;
    }
    // One run, however many samples there are.
    AtomFields table = TableFields(stszAtom, __LINE__);
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
    TableSizes sizes(mSizeOffsets, TableFields(stszAtom, __LINE__));
    ChunkWalk walk(mChunkOffsets, chunksAtom, sizes);
    if (const long status = walk.Run(stscAtom)) {
        mSizeOffsets.clear();
        return status;
    }
    return sizes.Finish(walk.End(), mMaxSampleSize);
}

}  // namespace KVX::QT
