#include "inspect/atom_view.h"

#include "core/big_endian.h"

namespace kvx_inspect {

using KVX::QT::Atom;

uint8_t AtomView::Unsigned8(uint64_t offset) const {
    const char* const field = Bytes(offset, 1);
    return field == nullptr ? 0 : static_cast<uint8_t>(*field);
}

uint16_t AtomView::Unsigned16(uint64_t offset) const {
    const char* const field = Bytes(offset, 2);
    return field == nullptr ? 0 : KVX::Core::ReadBig16(field);
}

uint32_t AtomView::Unsigned32(uint64_t offset) const {
    const char* const field = Bytes(offset, 4);
    return field == nullptr ? 0 : KVX::Core::ReadBig32(field);
}

uint64_t AtomView::Unsigned64(uint64_t offset) const {
    const char* const field = Bytes(offset, 8);
    return field == nullptr ? 0 : KVX::Core::ReadBig64(field);
}

AtomView AtomView::Child(uint32_t type, const AtomView& after) const {
    return mAtom == nullptr ? AtomView() : AtomView(mAtom->FindNextChildOfType(type, after.mAtom));
}

AtomView AtomView::AtomAt(uint64_t offset) const {
    if (mAtom == nullptr || offset > Length()) {
        return {};
    }
    return AtomView(Atom::At(Start() + offset, Start() + Length()));
}

uint64_t AtomView::EndOfChildren() const {
    uint64_t offset = HeaderLength();
    while (const AtomView child = AtomAt(offset)) {
        offset += child.Length();
    }
    return offset;
}

}  // namespace kvx_inspect
