#pragma once

#include <cstdint>

#include "support/atom_node.h"

namespace kvx_test {

constexpr uint64_t kLargestMovieAtom = 0x800000;

// Fills a table atom of the movie, from offset `firstEntry` on, until the movie atom has its
// largest length, give or take less than an entry. `entry` makes the bytes of an entry from its
// index, 0-based. Returns how many there are; the atom's count is left to the caller.
template <typename Entry>
int64_t FillTable(const AtomNode& moov, AtomNode& atom, size_t firstEntry, size_t entrySize,
                  Entry entry) {
    atom.payload.resize(firstEntry - 8);
    const uint64_t room = kLargestMovieAtom - moov.Length();
    const int64_t held = static_cast<int64_t>(room / entrySize);
    atom.payload.reserve(atom.payload.size() + room);
    for (int64_t index = 0; index < held; ++index) {
        atom.payload += entry(index);
    }
    return held;
}

}  // namespace kvx_test
