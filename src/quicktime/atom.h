#pragma once

#include <cstdint>

namespace KVX::QT {

// A view of an atom inside a buffer that holds file bytes: an Atom* points at the atom's header, in
// file byte order (QuickTime File Format, "Atoms"). Nothing is copied or owned, and the tree exists
// only as the nesting of the sizes.
//
// A walk never leaves its parent, and a child whose length is below 8 or passes its parent's end
// ends it.
struct Atom {
    uint32_t mSize;
    uint32_t mType;
    uint64_t mExtendedSize;  // present only when the size word is 1
};

}  // namespace KVX::QT
