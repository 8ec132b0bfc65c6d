#include "inspect/sample_tables.h"

#include <algorithm>

#include "core/big_endian.h"
#include "core/four_char_code.h"

namespace kvx_inspect {

namespace {

using KVX::Core::ReadBig32;
using KVX::Core::ReadBig64;

constexpr uint64_t kCount = 12;
constexpr uint64_t kEntries = 16;
constexpr uint64_t kSizes = 20;
constexpr uint64_t kSizeEntry = 4;
constexpr uint64_t kRunEntry = 12;
constexpr int64_t kMostRepeatedVisits = 1 << 20;

}  // namespace

uint32_t SampleTables::SizeOf(int64_t sample) const {
    if (fixedSize != 0) {
        return fixedSize;
    }
    return sample < 0 ? 0 : sizes.Unsigned32(kSizes + static_cast<uint64_t>(sample) * kSizeEntry);
}

int64_t SampleTables::SizesThere() const {
    constexpr uint64_t kSizeCount = 16;
    const uint64_t there =
        sizes && sizes.Length() > kSizes ? (sizes.Length() - kSizes) / kSizeEntry : 0;
    return std::min(
        {sampleCount, int64_t{sizes.Signed32(kSizeCount)}, static_cast<int64_t>(there)});
}

TableEntries::TableEntries(AtomView table, uint64_t entrySize) {
    if (!table || table.Length() < kEntries) {
        return;
    }
    const uint64_t there = (table.Length() - kEntries) / entrySize;
    bytes = table.Bytes(kEntries, 0);
    count = std::clamp<int64_t>(table.Signed32(kCount), 0, static_cast<int64_t>(there));
}

ChunkWalk::ChunkWalk(const SampleTables& tables)
    : mTables(tables),
      mRuns(tables.chunkRuns, kRunEntry),
      mIsLong(tables.chunkOffsets.Type() == KVX::Core::FourCharCode("co64")),
      mChunkCount(tables.chunkOffsets.Signed32(kCount)),
      mChunksThere(TableEntries(tables.chunkOffsets, mIsLong ? 8 : 4).count),
      mVisitsLeft(std::max(mChunkCount, std::min(2 * mChunkCount, kMostRepeatedVisits))) {}

bool ChunkWalk::Fail(Problem problem) {
    mProblem = problem;
    return false;
}

bool ChunkWalk::EnterRun() {
    if (mRun >= mRuns.count) {
        return false;
    }
    const char* const run = mRuns.bytes + static_cast<uint64_t>(mRun) * kRunEntry;
    mChunk = static_cast<int64_t>(ReadBig32(run)) - 1;
    mPerChunk = static_cast<int32_t>(ReadBig32(run + 4));
    mEnd =
        mRun + 1 < mRuns.count ? static_cast<int64_t>(ReadBig32(run + kRunEntry)) - 1 : mChunkCount;
    ++mRun;
    mInRun = true;
    return true;
}

bool ChunkWalk::Next(Chunk& chunk) {
    if (mProblem != Problem::None) {
        return false;
    }
    while (!mInRun || mChunk >= mChunkCount || mChunk == mEnd) {
        if (!EnterRun()) {
            return false;
        }
    }
    if (mChunk < 0 || mVisitsLeft-- == 0) {
        return Fail(Problem::BadRun);
    }
    if (mChunk >= mChunksThere) {
        return Fail(Problem::NoEntry);
    }
    const char* const table = mTables.chunkOffsets.Start() + kEntries;
    const int64_t offset = mIsLong ? static_cast<int64_t>(ReadBig64(table + 8 * mChunk))
                                   : int64_t{ReadBig32(table + 4 * mChunk)};
    if (offset <= 0) {
        return Fail(Problem::BadOffset);
    }
    if (mTables.fixedSize == 0 && mPerChunk > 0 &&
        !mTables.sizes.Holds(kSizes + static_cast<uint64_t>(mSample) * kSizeEntry,
                             static_cast<uint64_t>(mPerChunk) * kSizeEntry)) {
        return Fail(Problem::NoSizes);
    }
    chunk = {mChunk, mSample, mPerChunk, static_cast<uint64_t>(offset)};
    // Where sizes differ, a count below 0 passes no entry of their table.
    mSample += mTables.fixedSize != 0 ? mPerChunk : std::max<int64_t>(mPerChunk, 0);
    ++mChunk;
    return true;
}

bool SampleWalk::Next(Sample& sample) {
    while (mInChunk >= mChunk.sampleCount) {
        if (!mChunks.Next(mChunk)) {
            return false;
        }
        mInChunk = 0;
        mOffset = mChunk.offset;
    }
    const int64_t index = mChunk.firstSample + mInChunk;
    if (index < 0 || index >= mTables.sampleCount) {
        return false;
    }
    sample = {index, mOffset, mTables.SizeOf(index)};
    mOffset += sample.size;
    ++mInChunk;
    return true;
}

int64_t SampleWalk::SkipChunk() {
    if (mTables.fixedSize == 0) {
        return 0;
    }
    const int64_t next = mChunk.firstSample + mInChunk;
    const int64_t count =
        std::max<int64_t>(std::min(mChunk.sampleCount - mInChunk, mTables.sampleCount - next), 0);
    mInChunk += count;
    mOffset += static_cast<uint64_t>(count) * mTables.fixedSize;
    return count;
}

}  // namespace kvx_inspect
