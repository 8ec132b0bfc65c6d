#pragma once

#include <cstdint>

#include "core/big_endian.h"
#include "core/log.h"
#include "quicktime/atom.h"

namespace KVX::QT {

// Bounded reading of one atom's fields. Offsets are in bytes from the atom's start, header
// included, as the format's tables give them; numbers come back in native order.
//
// A field outside the atom reads as 0 and makes the view fail with 22 for good; the first such
// field leaves one log line in the name of the function that made the view. So a reader may take a
// group of fields first and test Status() once, before it acts on any of them.
//
// The atom must have come from a walk, which is what keeps it inside the buffer.
class AtomFields {
  public:
    explicit AtomFields(const Atom* atom, Core::LogSite site = Core::LogSite::Here());

    uint64_t Length() const { return mLength; }
    uint32_t Type() const { return mType; }

    // 0, or 22 once a field was asked for that lies outside the atom.
    long Status() const { return mStatus; }

    uint8_t Unsigned8(uint64_t offset) {
        const char* const field = Bytes(offset, 1);
        return field == nullptr ? 0 : static_cast<uint8_t>(*field);
    }
    uint16_t Unsigned16(uint64_t offset) {
        const char* const field = Bytes(offset, 2);
        return field == nullptr ? 0 : Core::ReadBig16(field);
    }
    int16_t Signed16(uint64_t offset) { return static_cast<int16_t>(Unsigned16(offset)); }
    uint32_t Unsigned32(uint64_t offset) {
        const char* const field = Bytes(offset, 4);
        return field == nullptr ? 0 : Core::ReadBig32(field);
    }
    int32_t Signed32(uint64_t offset) { return static_cast<int32_t>(Unsigned32(offset)); }
    uint64_t Unsigned64(uint64_t offset) {
        const char* const field = Bytes(offset, 8);
        return field == nullptr ? 0 : Core::ReadBig64(field);
    }

    // The `size` bytes at `offset`, as they are in the file; null on failure.
    const char* Bytes(uint64_t offset, uint64_t size) {
        if (offset <= mLength && size <= mLength - offset) {
            return mBytes + offset;
        }
        Fail(offset, size);
        return nullptr;
    }

    // The atom that begins at `offset` and lies wholly inside this one, such as an entry of a
    // description table or an extension after a description's fixed part; null, without a
    // failure, where there is none. The next one begins where it ends.
    Atom* AtomAt(uint64_t offset) const;

  private:
    const char* mBytes;
    uint64_t mLength;
    uint32_t mType;
    long mStatus = 0;
    Core::LogSite mSite;

    void Fail(uint64_t offset, uint64_t size);
};

}  // namespace KVX::QT
