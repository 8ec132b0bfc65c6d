#include "quicktime/atom_fields.h"

#include "core/big_endian.h"
#include "core/log.h"
#include "core/status.h"
#include "util/printer.h"

namespace KVX::QT {

AtomFields::AtomFields(const Atom* atom, const char* function, int line)
    : mBytes(reinterpret_cast<const char*>(atom)),
      mLength(atom->Length()),
      mType(atom->Type()),
      mFunction(function),
      mLine(line) {}

uint8_t AtomFields::Unsigned8(uint64_t offset) {
    const char* const field = Bytes(offset, 1);
    return field == nullptr ? 0 : static_cast<uint8_t>(*field);
}

uint16_t AtomFields::Unsigned16(uint64_t offset) {
    const char* const field = Bytes(offset, 2);
    return field == nullptr ? 0 : Core::ReadBig16(field);
}

uint32_t AtomFields::Unsigned32(uint64_t offset) {
    const char* const field = Bytes(offset, 4);
    return field == nullptr ? 0 : Core::ReadBig32(field);
}

uint64_t AtomFields::Unsigned64(uint64_t offset) {
    const char* const field = Bytes(offset, 8);
    return field == nullptr ? 0 : Core::ReadBig64(field);
}

const char* AtomFields::Bytes(uint64_t offset, uint64_t size) {
    if (offset <= mLength && size <= mLength - offset) {
        return mBytes + offset;
    }
    if (mStatus == 0) {
        Core::LogLine(
            mFunction, mLine, "%s atom of %llu bytes does not hold %llu bytes at %llu\n",
            Util::Printer::Fcc(static_cast<int>(mType)), static_cast<unsigned long long>(mLength),
            static_cast<unsigned long long>(size), static_cast<unsigned long long>(offset));
        mStatus = Core::kStatusInvalid;
    }
    return nullptr;
}

Atom* AtomFields::AtomAt(uint64_t offset) const {
    return offset > mLength ? nullptr : Atom::At(mBytes + offset, mBytes + mLength);
}

}  // namespace KVX::QT
