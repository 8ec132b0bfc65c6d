#pragma once

#include <cstdint>

#include "core/big_endian.h"
#include "core/log.h"
#include "quicktime/atom_fields.h"

// What the readers of the sample tables share (QuickTime File Format, "Sample Table Atoms").
namespace KVX::QT {

// All tables but "stsz" begin alike.
constexpr uint64_t kTableCountOffset = 12;
constexpr uint64_t kTableEntriesOffset = 16;

// "stsz"
constexpr uint64_t kConstantSizeOffset = 12;
constexpr uint64_t kSizeCountOffset = 16;
constexpr uint64_t kSizesOffset = 20;
constexpr uint64_t kSizeEntry = 4;

// The log knows all readers by the name of the operation that they make up.
constexpr char kLayoutOperation[] = "SetSampleLayout";

inline AtomFields TableFields(const Atom* atom,
                              Core::LogSite site = Core::LogSite::In(kLayoutOperation)) {
    return AtomFields(atom, site);
}

// The entries of a table that is read whole. A count below 1 stands for none.
struct TableEntries {
    const char* bytes = nullptr;
    long long count = 0;

    // Returns 0, or 22 after a log line.
    long Init(AtomFields table, uint64_t entrySize) {
        const int32_t stated = table.Signed32(kTableCountOffset);
        if (stated > 0) {
            count = stated;
            bytes = table.Bytes(kTableEntriesOffset, static_cast<uint64_t>(stated) * entrySize);
        }
        return table.Status();
    }
};

// Entries that a table has room for, whatever its count says.
inline long long EntriesHeld(const AtomFields& table, uint64_t offset, uint64_t entrySize) {
    const uint64_t length = table.Length();
    return length < offset ? 0 : static_cast<long long>((length - offset) / entrySize);
}

inline long long TableSigned32(const char* field) {
    return static_cast<int32_t>(Core::ReadBig32(field));
}

}  // namespace KVX::QT
