#pragma once

#include <cstdint>

#include "quicktime/atom.h"

namespace kvx_inspect {

// An atom that is there, or none: a silent, forgiving reader on the importer's own bounded view.
// What lies outside the atom reads as 0 or as none and can be asked about beforehand; nothing is
// logged. Offsets count from the atom's start, header included.
//
// A view is good as long as the buffer that it looks into, and free to copy.
class AtomView {
  public:
    AtomView() = default;
    explicit AtomView(KVX::QT::Atom* atom) : mAtom(atom) {}

    explicit operator bool() const { return mAtom != nullptr; }

    // 0 without an atom.
    uint64_t Length() const { return mAtom == nullptr ? 0 : mAtom->Length(); }
    uint32_t Type() const { return mAtom == nullptr ? 0 : mAtom->Type(); }
    unsigned int HeaderLength() const { return mAtom == nullptr ? 0 : mAtom->HeaderLength(); }
    const char* Start() const { return reinterpret_cast<const char*>(mAtom); }

    bool Holds(uint64_t offset, uint64_t size) const {
        const uint64_t length = Length();
        return offset <= length && size <= length - offset;
    }
    // Null unless all of it lies inside.
    const char* Bytes(uint64_t offset, uint64_t size) const {
        return mAtom != nullptr && Holds(offset, size) ? Start() + offset : nullptr;
    }

    uint8_t Unsigned8(uint64_t offset) const;
    uint16_t Unsigned16(uint64_t offset) const;
    int16_t Signed16(uint64_t offset) const { return static_cast<int16_t>(Unsigned16(offset)); }
    uint32_t Unsigned32(uint64_t offset) const;
    int32_t Signed32(uint64_t offset) const { return static_cast<int32_t>(Unsigned32(offset)); }
    uint64_t Unsigned64(uint64_t offset) const;

    // The first child of a type that follows `after`, from the first child on when that is none.
    AtomView Child(uint32_t type, const AtomView& after) const;
    AtomView Child(uint32_t type) const { return Child(type, AtomView()); }

    // The atom that begins at `offset` and lies wholly inside this one.
    AtomView AtomAt(uint64_t offset) const;

    // Where the children that can be walked end.
    uint64_t EndOfChildren() const;

  private:
    KVX::QT::Atom* mAtom = nullptr;
};

}  // namespace kvx_inspect
