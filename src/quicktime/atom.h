#pragma once

#include <cstdint>

namespace KVX::QT {

#pragma pack(push, 1)

// A view of an atom inside a buffer that holds file bytes: an Atom* points at the atom's header, in
// file byte order and at any alignment (QuickTime File Format, "Atoms"). Nothing is copied or
// owned, and the tree exists only as the nesting of the sizes; whether an atom holds children is
// known to whoever asks for them.
//
// A walk never leaves its parent: a child whose length is below 8 or passes its parent's end ends
// it. So every atom that a walk gives back lies wholly inside the one it was found in.
struct Atom {
    uint32_t mSize;
    uint32_t mType;
    uint64_t mExtendedSize;  // present only when the size word is 1

    // The first atom of `type` in the run of siblings in the `length` bytes at `data`, or null.
    static Atom* FindAtom(unsigned int type, const char* data, unsigned int length);

    // The first child of `type` after the child `after`, or from the first child on when `after`
    // is null; null when there is none. Feeding each result back in enumerates all of them.
    Atom* FindNextChildOfType(unsigned int type, Atom* after);

    // The atom whose header begins at `position`, or null if it does not lie wholly before `end`.
    static Atom* At(const char* position, const char* end);

    // Whole length in bytes, header included, as the file states it.
    uint64_t Length() const;

    // Four-character code in native order.
    uint32_t Type() const;

    // 8, or 16 with an extended size.
    unsigned int HeaderLength() const;
};
static_assert(sizeof(Atom) == 16 && alignof(Atom) == 1, "lies anywhere in a file's bytes");

#pragma pack(pop)

}  // namespace KVX::QT
