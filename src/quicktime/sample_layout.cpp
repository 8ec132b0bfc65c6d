// Turns the sample tables of a track (QuickTime File Format, "Sample Table Atoms") into runs. The
// tables have one entry for each sample or chunk; what stays has one for each change.
#include <algorithm>
#include <cstring>

#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/atom_fields.h"
#include "quicktime/track.h"
#include "quicktime/wrapping.h"

namespace KVX::QT {

namespace {

// All tables but "stsz" begin alike.
constexpr uint64_t kCountOffset = 12;
constexpr uint64_t kEntriesOffset = 16;

constexpr uint64_t kConstantSizeOffset = 12;
constexpr uint64_t kSizeCountOffset = 16;
constexpr uint64_t kSizesOffset = 20;
constexpr uint64_t kSizeEntry = 4;

// The log knows the steps below by the name of the operation that they make up.
constexpr char kOperation[] = "SetSampleLayout";

AtomFields FieldsOf(const Atom* atom, int line) {
    return AtomFields(atom, kOperation, line);
}

// The entries of a table that is read whole. A count below 1 stands for none.
struct Entries {
    const char* bytes = nullptr;
    long long count = 0;

    long Init(AtomFields table, uint64_t entrySize) {
        const int32_t stated = table.Signed32(kCountOffset);
        if (stated > 0) {
            count = stated;
            bytes = table.Bytes(kEntriesOffset, static_cast<uint64_t>(stated) * entrySize);
        }
        return table.Status();
    }
};

long long Signed32(const char* field) {
    return static_cast<int32_t>(Core::ReadBig32(field));
}

// Settles the size that all samples share, if they do and the sample description has not told it.
long SetFixedSize(Track& track, AtomFields sizes) {
    if (track.mFixedSampleSize != 0) {
        return 0;
    }
    track.mFixedSampleSize = sizes.Unsigned32(kConstantSizeOffset);
    if (track.mFixedSampleSize == 0 && sizes.Signed32(kSizeCountOffset) == 1) {
        track.mFixedSampleSize = sizes.Unsigned32(kSizesOffset);
    }
    return sizes.Status();
}

long SetDurations(Track& track, const Atom* sttsAtom) {
    constexpr uint64_t kEntrySize = 8;
    Entries entries;
    if (const long status = entries.Init(FieldsOf(sttsAtom, __LINE__), kEntrySize)) {
        return status;
    }
    const char* const end = entries.bytes + entries.count * kEntrySize;

    track.mSampleCount = 0;
    for (const char* entry = entries.bytes; entry != end; entry += kEntrySize) {
        track.mSampleCount += Signed32(entry);
    }

    track.mSampleDurations.Reserve(static_cast<size_t>(entries.count));
    long long time = 0;
    long long sample = 0;
    for (const char* entry = entries.bytes; entry != end; entry += kEntrySize) {
        const long long count = Signed32(entry);
        const long long duration = Signed32(entry + 4);
        track.mSampleDurations.Append(time, {sample, duration});
        // The last sample often has an odd duration, which says nothing about the frame rate.
        const bool isShorter = duration < track.mSampleDuration && sample < track.mSampleCount - 1;
        if (entry == entries.bytes || isShorter) {
            track.mSampleDuration = duration;
        }
        time = WrappingSum(time, count * duration);
        sample += count;
    }
    track.mSampleDurations.Finish();
    return 0;
}

// Walks the chunks in the order of "stsc", and notes where one does not follow on from the last.
class ChunkWalk {
  public:
    ChunkWalk(Track& track, const Atom* chunksAtom, const Atom* sizesAtom)
        : mTrack(track),
          mChunks(FieldsOf(chunksAtom, __LINE__)),
          mSizes(FieldsOf(sizesAtom, __LINE__)),
          mHasLongOffsets(mChunks.Type() == Core::FourCharCode("co64")) {}

    long Run(const Atom* stscAtom) {
        Entries entries;
        if (const long status = entries.Init(FieldsOf(stscAtom, __LINE__), kRunLength)) {
            return status;
        }
        const long long chunkCount = mChunks.Signed32(kCountOffset);
        if (mChunks.Status() != 0) {
            return mChunks.Status();
        }
        // Every chunk belongs to one entry. A table out of order visits some twice; one that goes
        // over very many twice, or over them again and again, is made to cost time and memory.
        mVisitsLeft = std::max(chunkCount, std::min(2 * chunkCount, kMostRepeatedVisits));
        mTrack.mChunkOffsets.Reserve(std::min(static_cast<uint64_t>(std::max(chunkCount, 0LL)),
                                              mChunks.Length() / EntryLength()));
        const long status = VisitAll(entries, chunkCount);
        mTrack.mChunkOffsets.Finish();
        return status;
    }

  private:
    static constexpr uint64_t kRunLength = 12;  // of an "stsc" entry
    static constexpr long long kMostRepeatedVisits = 1 << 20;

    long VisitAll(const Entries& entries, long long chunkCount) {
        for (long long i = 0; i < entries.count; ++i) {
            const char* const entry = entries.bytes + i * kRunLength;
            const long long first = FirstChunk(entry);
            const long long end =
                i + 1 < entries.count ? FirstChunk(entry + kRunLength) : chunkCount;
            const long long samplesPerChunk = Signed32(entry + 4);
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
            Core::LogLine(kOperation, __LINE__, "Invalid sample to chunk table at chunk %lld\n",
                          chunk + 1);
            return Core::kStatusInvalid;
        }
        const uint64_t entry = kEntriesOffset + static_cast<uint64_t>(chunk) * EntryLength();
        const long long offset = mHasLongOffsets ? static_cast<long long>(mChunks.Unsigned64(entry))
                                                 : mChunks.Unsigned32(entry);
        if (mChunks.Status() != 0) {
            return mChunks.Status();
        }
        if (offset <= 0) {
            Core::LogLine(kOperation, __LINE__, "Got invalid offset of %lld\n", offset);
            return Core::kStatusInvalid;
        }
        if (offset != mExpected) {
            mTrack.mChunkOffsets.Append(mSample, offset);
        }
        mExpected = offset;
        return Advance(sampleCount);
    }

    // Passes the samples of a chunk, which stand back to back.
    long Advance(long long sampleCount) {
        if (mTrack.mFixedSampleSize != 0) {
            // The format's sizes are 32 bits wide, and so is a chunk's.
            const unsigned int bytes =
                static_cast<unsigned int>(sampleCount) * mTrack.mFixedSampleSize;
            mExpected = WrappingSum(mExpected, bytes);
            mSample += sampleCount;
            return 0;
        }
        if (sampleCount <= 0) {
            return 0;
        }
        const uint64_t count = static_cast<uint64_t>(sampleCount);
        const char* size = mSizes.Bytes(kSizesOffset + static_cast<uint64_t>(mSample) * kSizeEntry,
                                        count * kSizeEntry);
        if (size == nullptr) {
            return mSizes.Status();
        }
        for (const char* const end = size + count * kSizeEntry; size != end; size += kSizeEntry) {
            mExpected = WrappingSum(mExpected, Core::ReadBig32(size));
        }
        mSample += sampleCount;
        return 0;
    }

    Track& mTrack;
    AtomFields mChunks;
    AtomFields mSizes;
    const bool mHasLongOffsets;
    long long mVisitsLeft = 0;
    long long mSample = 0;
    long long mExpected = -1;  // where the next chunk continues the run
};

// Constant sizes: one run, however many samples there are.
long SetConstantSize(Track& track, AtomFields sizes) {
    const bool hasSamples =
        sizes.Unsigned32(kConstantSizeOffset) != 0 || sizes.Signed32(kSizeCountOffset) > 0;
    if (hasSamples) {
        const auto start = track.mChunkOffsets.find(0);
        const long long offset = start == track.mChunkOffsets.end() ? 0 : start->second;
        track.mSizeOffsets.Append(0, {track.mFixedSampleSize, offset});
        track.mMaxSampleSize = track.mFixedSampleSize;
    }
    return sizes.Status();
}

// How many samples of a table differ in size from the one before them. The first one counts.
size_t CountSizeRuns(const char* table, long long count) {
    size_t runs = 1;
    for (long long sample = 1; sample < count; ++sample) {
        const char* const size = table + sample * kSizeEntry;
        runs += std::memcmp(size, size - kSizeEntry, kSizeEntry) != 0;
    }
    return runs;
}

long SetSizes(Track& track, AtomFields sizes) {
    const long long count = sizes.Signed32(kSizeCountOffset);
    if (sizes.Status() != 0 || count <= 0) {
        return sizes.Status();
    }
    const char* const table = sizes.Bytes(kSizesOffset, static_cast<uint64_t>(count) * kSizeEntry);
    if (table == nullptr) {
        return sizes.Status();
    }
    // No table can have more runs than this one, so none is given room for more than it has.
    track.mSizeOffsets.Reserve(CountSizeRuns(table, count));
    auto chunks = track.mChunkOffsets.lower_bound(0);
    long long position = 0;
    unsigned int previous = 0;
    for (long long sample = 0; sample < count; ++sample) {
        const unsigned int size = Core::ReadBig32(table + sample * kSizeEntry);
        if (size == 0) {
            Core::LogLine(kOperation, __LINE__, "Got invalid first size of %u\n", size);
            return Core::kStatusInvalid;
        }
        if (chunks != track.mChunkOffsets.end() && chunks->first == sample) {
            position = chunks->second;
            ++chunks;
        }
        if (size != previous) {
            track.mSizeOffsets.Append(sample, {size, position});
            previous = size;
        }
        position = WrappingSum(position, size);
        track.mMaxSampleSize = std::max(track.mMaxSampleSize, size);
    }
    track.mSizeOffsets.Finish();
    return 0;
}

long SetDisplayOffsets(Track& track, const Atom* cttsAtom) {
    constexpr uint64_t kEntrySize = 8;
    Entries entries;
    if (const long status = entries.Init(FieldsOf(cttsAtom, __LINE__), kEntrySize)) {
        return status;
    }
    track.mDisplayOffsets.Reserve(static_cast<size_t>(entries.count));
    long long sample = 0;
    for (long long i = 0; i < entries.count; ++i) {
        const char* const entry = entries.bytes + i * kEntrySize;
        const long long offset = Signed32(entry + 4);
        track.mMaxDisplayOffset = std::max(track.mMaxDisplayOffset, offset);
        track.mMinDisplayOffset = std::min(track.mMinDisplayOffset, offset);
        track.mDisplayOffsets.Append(sample, offset);
        sample += Signed32(entry);
    }
    track.mDisplayOffsets.Finish();
    return 0;
}

long SetKeyFrames(Track& track, const Atom* stssAtom) {
    constexpr uint64_t kEntrySize = 4;
    Entries entries;
    if (const long status = entries.Init(FieldsOf(stssAtom, __LINE__), kEntrySize)) {
        return status;
    }
    track.mKeyFrames.reserve(static_cast<size_t>(entries.count));
    for (long long i = 0; i < entries.count; ++i) {
        // Samples are counted from 1 in the file.
        const long long number = Core::ReadBig32(entries.bytes + i * kEntrySize);
        track.mKeyFrames.push_back(number - 1);
    }
    return 0;
}

}  // namespace

long Track::SetSampleLayout(Atom* mdiaAtom) {
    mSampleDurations.clear();
    mChunkOffsets.clear();
    mSizeOffsets.clear();
    mDisplayOffsets.clear();
    mKeyFrames.clear();
    mSampleDuration = 0;
    mMaxSampleSize = 0;
    mMaxDisplayOffset = 0;
    mMinDisplayOffset = 0;

    Atom* const minfAtom = mdiaAtom->FindNextChildOfType(Core::FourCharCode("minf"), nullptr);
    if (minfAtom == nullptr) {
        KVX_LOG("Failed to find a media info atom\n");
        return Core::kStatusNotFound;
    }
    Atom* const stblAtom = minfAtom->FindNextChildOfType(Core::FourCharCode("stbl"), nullptr);
    if (stblAtom == nullptr) {
        KVX_LOG("Failed to find a sample table atom\n");
        return Core::kStatusNotFound;
    }
    const auto find = [stblAtom](uint32_t type) {
        return stblAtom->FindNextChildOfType(type, nullptr);
    };
    const Atom* const sttsAtom = find(Core::FourCharCode("stts"));
    if (sttsAtom == nullptr) {
        KVX_LOG("Failed to find a time to sample number atom in track\n");
        return Core::kStatusInvalid;
    }
    const Atom* const stscAtom = find(Core::FourCharCode("stsc"));
    if (stscAtom == nullptr) {
        KVX_LOG("Failed to find a sample to chunk atom in track\n");
        return Core::kStatusInvalid;
    }
    const Atom* const stszAtom = find(Core::FourCharCode("stsz"));
    if (stszAtom == nullptr) {
        KVX_LOG("Failed to find a sample size atom in track\n");
        return Core::kStatusInvalid;
    }
    const AtomFields sizes(stszAtom);
    if (const long status = SetFixedSize(*this, sizes)) {
        return status;
    }
    const Atom* const stcoAtom = find(Core::FourCharCode("stco"));
    const Atom* const co64Atom = find(Core::FourCharCode("co64"));
    const Atom* const chunksAtom = stcoAtom != nullptr ? stcoAtom : co64Atom;
    if (chunksAtom == nullptr) {
        KVX_LOG("Failed to find a chunk offset atom in track\n");
        return Core::kStatusInvalid;
    }

    if (const long status = SetDurations(*this, sttsAtom)) {
        return status;
    }
    if (const long status = ChunkWalk(*this, chunksAtom, stszAtom).Run(stscAtom)) {
        return status;
    }
    const bool isConstant = mFixedSampleSize != 0;
    if (const long status = isConstant ? SetConstantSize(*this, sizes) : SetSizes(*this, sizes)) {
        return status;
    }
    if (const Atom* const cttsAtom = find(Core::FourCharCode("ctts"))) {
        if (const long status = SetDisplayOffsets(*this, cttsAtom)) {
            return status;
        }
    }
    if (const Atom* const stssAtom = find(Core::FourCharCode("stss"))) {
        if (const long status = SetKeyFrames(*this, stssAtom)) {
            return status;
        }
    }
    return 0;
}

}  // namespace KVX::QT
