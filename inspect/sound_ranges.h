#pragma once

#include <cstdint>

#include "inspect/report.h"

namespace kvx_inspect {

// Where all the samples of a sound track lie, in order and with edits aside: stretches of the
// media's file, of which each holds whole samples where the description states their size. Ends at
// the first sample that the tables give no place.
class SoundRanges {
  public:
    // `track` must outlive it, and the report that it is of.
    explicit SoundRanges(const TrackFacts& track);

    bool Next(FileRange& range);

    // The bytes of all stretches, or the most that 64 bits hold.
    static uint64_t TotalSize(const TrackFacts& track);
    // Those that lie in a file of `fileSize` bytes before the first that does not. As above.
    static uint64_t SizeInFile(const TrackFacts& track, uint64_t fileSize);

  private:
    const SampleTables& mTables;
    ChunkWalk mChunks;
    SampleWalk mSamples;
};

}  // namespace kvx_inspect
