// Where the samples of a track lie, one after the other, from the tables in the file. Nothing
// is kept for each sample: memory does not grow with what the tables claim.
#pragma once

#include <cstdint>

#include "inspect/atom_view.h"

namespace kvx_inspect {

// The tables of a "stbl", as far as they are there, and what follows from them at a glance.
struct SampleTables {
    AtomView durations;       // "stts"
    AtomView chunkRuns;       // "stsc"
    AtomView sizes;           // "stsz"
    AtomView chunkOffsets;    // "stco", or else "co64"
    AtomView displayOffsets;  // "ctts"
    AtomView keyFrames;       // "stss"

    uint32_t fixedSize = 0;      // bytes of every sample; 0 if they differ
    int64_t sampleCount = 0;     // of `durations`, even if the other tables differ
    int64_t sampleDuration = 0;  // the importer's unit: the shortest, but for the last sample's
    int64_t mediaDuration = 0;   // of all samples, in media time units

    // Bytes of a sample, 0 if the tables do not say.
    uint32_t SizeOf(int64_t sample) const;
    // How many samples have their own size in the table: not more than there are of either.
    int64_t SizesThere() const;
};

// A full table of entries of `entrySize` bytes after a count at offset 12. What the atom does not
// hold is not counted.
struct TableEntries {
    const char* bytes = nullptr;
    int64_t count = 0;

    TableEntries(AtomView table, uint64_t entrySize);
};

struct Chunk {
    int64_t index = 0;
    int64_t firstSample = 0;
    int64_t sampleCount = 0;
    uint64_t offset = 0;  // in the media's file
};

// The chunks in the order in which the importer walks them. A table out of order leads back; not
// endlessly.
class ChunkWalk {
  public:
    enum class Problem { None, BadRun, NoEntry, BadOffset, NoSizes };

    explicit ChunkWalk(const SampleTables& tables);

    // False at the end and at a chunk that cannot be used; FoundProblem() says which.
    bool Next(Chunk& chunk);

    Problem FoundProblem() const { return mProblem; }
    // Where it was found, and after the last chunk.
    int64_t ChunkIndex() const { return mChunk; }
    int64_t SampleCount() const { return mSample; }

  private:
    const SampleTables& mTables;
    TableEntries mRuns;
    bool mIsLong;
    int64_t mChunkCount;
    int64_t mChunksThere;
    int64_t mVisitsLeft;
    int64_t mRun = 0;
    bool mInRun = false;
    int64_t mChunk = 0;
    int64_t mEnd = 0;
    int64_t mPerChunk = 0;
    int64_t mSample = 0;
    Problem mProblem = Problem::None;

    bool Fail(Problem problem);
    bool EnterRun();
};

struct Sample {
    int64_t index = 0;
    uint64_t offset = 0;  // in the media's file
    uint32_t size = 0;    // bytes
};

// All samples of a track in order, up to the first that the tables give no place.
class SampleWalk {
  public:
    explicit SampleWalk(const SampleTables& tables) : mTables(tables), mChunks(tables) {}

    bool Next(Sample& sample);

    // Passes the samples of the same size that follow in the chunk of the last one, and returns how
    // many they were; 0 where sizes differ.
    int64_t SkipChunk();

  private:
    const SampleTables& mTables;
    ChunkWalk mChunks;
    Chunk mChunk;
    int64_t mInChunk = 0;
    uint64_t mOffset = 0;
};

}  // namespace kvx_inspect
