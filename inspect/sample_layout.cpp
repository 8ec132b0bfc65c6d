// The sample tables, as the importer insists on them.
#include <algorithm>

#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "quicktime/wrapping.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;
using KVX::Core::ReadBig32;
using KVX::QT::WrappingSum;

constexpr uint64_t kCount = 12;
constexpr uint64_t kEntries = 16;
constexpr uint64_t kDurationEntry = 8;

// "stsz"
constexpr uint64_t kConstantSize = 12;
constexpr uint64_t kSizeCount = 16;
constexpr uint64_t kSizes = 20;
constexpr uint64_t kSizeEntry = 4;

int64_t Signed32(const char* field) {
    return static_cast<int32_t>(ReadBig32(field));
}

// A table that states more entries than it holds, or not even how many.
void CheckTable(const TrackReader& reader, const AtomView& table, uint64_t entrySize) {
    const int64_t stated = table.Signed32(kCount);
    if (!table.Holds(kCount, 4)) {
        reader.Add(Code::Damaged, "its " + Quoted(table.Type()) + " table is cut short");
    } else if (stated > 0 && !table.Holds(kEntries, static_cast<uint64_t>(stated) * entrySize)) {
        reader.Add(Code::Damaged, "its " + Quoted(table.Type()) + " table says " +
                                      std::to_string(stated) + " entries and holds " +
                                      std::to_string(TableEntries(table, entrySize).count));
    }
}

void CheckIsThere(const TrackReader& reader, const AtomView& table, const char* what) {
    if (!table) {
        reader.Add(Code::Damaged, std::string("the track has no table of ") + what);
    }
}

void ReadFixedSize(const TrackReader& reader, SampleTables& tables) {
    if (tables.fixedSize != 0 || !tables.sizes) {
        return;
    }
    const AtomView& sizes = tables.sizes;
    tables.fixedSize = sizes.Unsigned32(kConstantSize);
    uint64_t read = kConstantSize + 4;
    if (tables.fixedSize == 0) {
        read = kSizeCount + 4;
        if (sizes.Signed32(kSizeCount) == 1) {
            tables.fixedSize = sizes.Unsigned32(kSizes);
            read = kSizes + 4;
        }
    }
    if (!sizes.Holds(0, read)) {
        reader.Add(Code::Damaged, "its \"stsz\" table is cut short");
    }
}

void ReadDurations(SampleTables& tables) {
    const TableEntries entries(tables.durations, kDurationEntry);
    const char* const end = entries.bytes + entries.count * kDurationEntry;
    for (const char* entry = entries.bytes; entry != end; entry += kDurationEntry) {
        tables.sampleCount += Signed32(entry);
    }
    int64_t sample = 0;
    for (const char* entry = entries.bytes; entry != end; entry += kDurationEntry) {
        const int64_t count = Signed32(entry);
        const int64_t duration = Signed32(entry + 4);
        // The last sample's own duration says nothing about the rate.
        const bool isShorter = duration < tables.sampleDuration && sample < tables.sampleCount - 1;
        if (entry == entries.bytes || isShorter) {
            tables.sampleDuration = duration;
        }
        sample += count;
        tables.mediaDuration = WrappingSum(tables.mediaDuration, count * duration);
    }
}

// False if the table of sizes is what is amiss, so that it has been reported.
bool CheckChunks(const TrackReader& reader, const SampleTables& tables) {
    ChunkWalk walk(tables);
    Chunk chunk;
    while (walk.Next(chunk)) {
    }
    const std::string which = "chunk " + std::to_string(walk.ChunkIndex() + 1);
    switch (walk.FoundProblem()) {
        case ChunkWalk::Problem::None:
            break;
        case ChunkWalk::Problem::BadRun:
            reader.Add(Code::Damaged,
                       "its \"stsc\" table does not say which samples " + which + " holds");
            break;
        case ChunkWalk::Problem::NoEntry:
            reader.Add(Code::Damaged, "its table of chunk offsets ends before " + which);
            break;
        case ChunkWalk::Problem::BadOffset:
            reader.Add(Code::Damaged, which + " has no place in the file");
            break;
        case ChunkWalk::Problem::NoSizes:
            reader.Add(Code::Damaged, "its \"stsz\" table ends before the samples of " + which);
            return false;
    }
    return true;
}

void CheckSizes(const TrackReader& reader, const SampleTables& tables) {
    const AtomView& sizes = tables.sizes;
    if (tables.fixedSize != 0) {
        // All that is asked for is whether there are samples.
        const bool isShort = !sizes.Holds(kConstantSize, 4) ||
                             (sizes.Unsigned32(kConstantSize) == 0 && !sizes.Holds(kSizeCount, 4));
        if (isShort) {
            reader.Add(Code::Damaged, "its \"stsz\" table is cut short");
        }
        return;
    }
    const int64_t count = sizes.Signed32(kSizeCount);
    if (count <= 0) {
        return;
    }
    const char* const table = sizes.Bytes(kSizes, static_cast<uint64_t>(count) * kSizeEntry);
    if (table == nullptr) {
        reader.Add(Code::Damaged, "its \"stsz\" table says " + Counted(count, "sample") +
                                      " and does not hold as many");
        return;
    }
    for (int64_t sample = 0; sample < count; ++sample) {
        if (ReadBig32(table + sample * kSizeEntry) == 0) {
            reader.Add(Code::Damaged, "sample " + std::to_string(sample) + " has a size of 0");
            return;
        }
    }
}

}  // namespace

void ReadSampleTables(TrackReader& reader) {
    if (!reader.stbl) {
        return;
    }
    SampleTables& tables = reader.track.tables;
    tables.durations = reader.stbl.Child(FourCharCode("stts"));
    tables.chunkRuns = reader.stbl.Child(FourCharCode("stsc"));
    tables.sizes = reader.stbl.Child(FourCharCode("stsz"));
    tables.chunkOffsets = reader.stbl.Child(FourCharCode("stco"));
    if (!tables.chunkOffsets) {
        tables.chunkOffsets = reader.stbl.Child(FourCharCode("co64"));
    }
    tables.displayOffsets = reader.stbl.Child(FourCharCode("ctts"));
    tables.keyFrames = reader.stbl.Child(FourCharCode("stss"));

    CheckIsThere(reader, tables.durations, "durations (\"stts\")");
    CheckIsThere(reader, tables.chunkRuns, "samples in chunks (\"stsc\")");
    CheckIsThere(reader, tables.sizes, "sample sizes (\"stsz\")");
    CheckIsThere(reader, tables.chunkOffsets, "chunk offsets (\"stco\" or \"co64\")");
    ReadFixedSize(reader, tables);
    if (tables.durations) {
        CheckTable(reader, tables.durations, kDurationEntry);
        ReadDurations(tables);
    }
    if (tables.chunkRuns) {
        CheckTable(reader, tables.chunkRuns, 12);
    }
    if (tables.chunkOffsets && !tables.chunkOffsets.Holds(kCount, 4)) {
        reader.Add(Code::Damaged, "its table of chunk offsets is cut short");
    }
    if (tables.sizes) {
        const bool canWalk = tables.chunkRuns && tables.chunkOffsets;
        if (!canWalk || CheckChunks(reader, tables)) {
            CheckSizes(reader, tables);
        }
    }
    if (tables.displayOffsets) {
        CheckTable(reader, tables.displayOffsets, 8);
    }
    if (tables.keyFrames) {
        CheckTable(reader, tables.keyFrames, 4);
    }
}

}  // namespace kvx_inspect
