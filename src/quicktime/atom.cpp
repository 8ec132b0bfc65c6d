#include "quicktime/atom.h"

namespace KVX::QT {

namespace {

constexpr uint32_t kExtendedSizeFollows = __builtin_bswap32(1);
constexpr unsigned int kShortHeader = 8;
constexpr unsigned int kLongHeader = 16;

Atom* FindBetween(const char* position, const char* end, unsigned int type) {
    while (Atom* atom = Atom::At(position, end)) {
        if (atom->Type() == type) {
            return atom;
        }
        position += atom->Length();
    }
    return nullptr;
}

}  // namespace

Atom* Atom::FindAtom(unsigned int type, const char* data, unsigned int length) {
    return FindBetween(data, data + length, type);
}

Atom* Atom::FindNextChildOfType(unsigned int type, Atom* after) {
    const char* const begin = reinterpret_cast<const char*>(this);
    const char* const end = begin + Length();
    const char* const start = after == nullptr
                                  ? begin + HeaderLength()
                                  : reinterpret_cast<const char*>(after) + after->Length();
    return FindBetween(start, end, type);
}

Atom* Atom::At(const char* position, const char* end) {
    if (position > end || static_cast<uint64_t>(end - position) < kShortHeader) {
        return nullptr;
    }
    const uint64_t room = static_cast<uint64_t>(end - position);
    Atom* const atom = const_cast<Atom*>(reinterpret_cast<const Atom*>(position));
    if (room < atom->HeaderLength()) {
        return nullptr;
    }
    const uint64_t length = atom->Length();
    return length < kShortHeader || length > room ? nullptr : atom;
}

uint64_t Atom::Length() const {
    return mSize == kExtendedSizeFollows ? __builtin_bswap64(mExtendedSize)
                                         : __builtin_bswap32(mSize);
}

uint32_t Atom::Type() const {
    return __builtin_bswap32(mType);
}

unsigned int Atom::HeaderLength() const {
    return mSize == kExtendedSizeFollows ? kLongHeader : kShortHeader;
}

}  // namespace KVX::QT
