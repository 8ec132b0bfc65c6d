#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace kvx_test {

// An atom to be written: type, payload, then children. Sample description entries and data
// reference entries have the same shape and are nodes too. Nothing is checked, and the written size
// may lie, so that ill-formed files are as easy to make as well-formed ones.
struct AtomNode {
    enum class SizeForm {
        Short,     // a 32-bit size word
        Extended,  // size word 1, 64-bit size after the type, payload from offset 16
    };

    Bytes type;
    Bytes payload = {};
    std::vector<AtomNode> children = {};
    SizeForm form = SizeForm::Short;
    // What the size field says in place of the truth. In the short form 0 and 1 are written as any
    // other number, without an extended size after.
    std::optional<uint64_t> writtenSize = std::nullopt;

    // Length in bytes as it will really be, header included.
    uint64_t Length() const;
    Bytes Serialize() const;

    // The descendant at a path of types such as "trak[1]/mdia/minf/stbl/stts"; without an index the
    // first of that type. `Find` returns null when there is none, `At` aborts the test program.
    AtomNode* Find(const std::string& path);
    AtomNode& At(const std::string& path);

    // Each takes the path of an existing descendant.
    void Remove(const std::string& path);
    void Replace(const std::string& path, AtomNode with);
    // Puts a copy of the descendant after itself.
    void Duplicate(const std::string& path);

    // Overwrites field bytes of the payload. Offsets count from the atom's start with an 8-byte
    // header, as the format's tables do; `Poke` grows the payload when it must.
    void Poke(size_t offset, const Bytes& bytes);
    Bytes Peek(size_t offset, size_t count) const;

    // The entry count of the table atoms ("stts", "stsc", "stco", "elst", "dref", "stsd" ...).
    void SetEntryCount(int64_t count);
};

// Where the header of the descendant at `path` begins in the serialized `root`, counted from the
// start of `root`.
uint64_t OffsetOf(AtomNode& root, const std::string& path);

// The offsets at which some atom of the tree begins or ends, and at which payloads begin; sorted,
// each once. What a truncation test cuts at.
std::vector<uint64_t> AtomEdges(const AtomNode& root);

}  // namespace kvx_test
