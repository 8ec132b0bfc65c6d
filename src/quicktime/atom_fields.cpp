#include "quicktime/atom_fields.h"

#include "core/log.h"
#include "core/status.h"
#include "util/printer.h"

namespace KVX::QT {

AtomFields::AtomFields(const Atom* atom, Core::LogSite site)
    : mBytes(reinterpret_cast<const char*>(atom)),
      mLength(atom->Length()),
      mType(atom->Type()),
      mSite(site) {}

void AtomFields::Fail(uint64_t offset, uint64_t size) {
    if (mStatus == 0) {
        Core::LogLine(
            mSite, "%s atom of %llu bytes does not hold %llu bytes at %llu\n",
            Util::Printer::Fcc(static_cast<int>(mType)), static_cast<unsigned long long>(mLength),
            static_cast<unsigned long long>(size), static_cast<unsigned long long>(offset));
        mStatus = Core::kStatusInvalid;
    }
}

Atom* AtomFields::AtomAt(uint64_t offset) const {
    return offset > mLength ? nullptr : Atom::At(mBytes + offset, mBytes + mLength);
}

}  // namespace KVX::QT
