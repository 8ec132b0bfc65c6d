#include "macho/loader/dwarf_entry.h"

#include <cstring>

namespace macho {

namespace {

enum PointerEncoding : uint8_t {
    kAbsolute = 0x00,
    kSigned32 = 0x0B,
    kFormMask = 0x0F,
    kRelative = 0x10,
    kIndirect = 0x80,
};

// The description that several functions share.
struct Common {
    uint8_t pointerEncoding = kAbsolute;
    uint8_t exceptionTableEncoding = kAbsolute;
    bool hasAugmentation = false;
    bool hasExceptionTables = false;
};

class Reader {
  public:
    explicit Reader(Bytes section) : mSection(section) {}

    DwarfEntry Read(uint64_t offset) {
        Cursor cursor(mSection, offset);
        const auto length = cursor.Take<uint32_t>();
        const uint64_t end = cursor.Place() + length;
        const uint64_t place = cursor.Place();
        const auto distance = cursor.Take<uint32_t>();
        if (distance == 0 || distance > place) {
            throw LoadError("has no entry in __eh_frame where one should be");
        }
        ReadCommon(place - distance);
        mEntry.begin = Pointer(cursor, mCommon.pointerEncoding);
        // A length is no address.
        mEntry.size = Pointer(cursor, mCommon.pointerEncoding & kFormMask);
        if (mCommon.hasAugmentation) {
            const uint64_t size = cursor.Uleb();
            const uint64_t instructions = cursor.Place() + size;
            if (mCommon.hasExceptionTables) {
                mEntry.exceptionTable = Pointer(cursor, mCommon.exceptionTableEncoding);
            }
            cursor = Cursor(mSection, instructions);
        }
        mEntry.instructions = Rest(cursor, end);
        return mEntry;
    }

  private:
    void ReadCommon(uint64_t offset) {
        Cursor cursor(mSection, offset);
        const auto length = cursor.Take<uint32_t>();
        const uint64_t end = cursor.Place() + length;
        const auto id = cursor.Take<uint32_t>();
        const uint8_t version = cursor.Byte();
        if (id != 0 || version != 1) {
            throw LoadError("has an unknown kind of __eh_frame");
        }
        const std::string augmentation = cursor.Text();
        mEntry.codeAlignment = cursor.Uleb();
        mEntry.dataAlignment = cursor.Sleb();
        mEntry.returnAddressColumn = cursor.Byte();
        for (const char letter : augmentation) {
            switch (letter) {
                case 'z':
                    mCommon.hasAugmentation = true;
                    cursor.Uleb();
                    break;
                case 'P': {
                    const uint8_t encoding = cursor.Byte();
                    mEntry.personality = Pointer(cursor, encoding);
                    break;
                }
                case 'L':
                    mCommon.hasExceptionTables = true;
                    mCommon.exceptionTableEncoding = cursor.Byte();
                    break;
                case 'R':
                    mCommon.pointerEncoding = cursor.Byte();
                    break;
                default:
                    throw LoadError("has an unknown augmentation in __eh_frame");
            }
        }
        mEntry.initialInstructions = Rest(cursor, end);
    }

    uint64_t Pointer(Cursor& cursor, uint8_t encoding) const {
        const uint64_t place = cursor.Place();
        uint64_t value = 0;
        switch (encoding & kFormMask) {
            case kAbsolute:
                value = cursor.Take<uint64_t>();
                break;
            case kSigned32:
                value = static_cast<uint64_t>(int64_t{cursor.Take<int32_t>()});
                break;
            default:
                throw LoadError("has an unknown pointer in __eh_frame");
        }
        if (value == 0) {
            return 0;
        }
        if ((encoding & kRelative) != 0) {
            value += reinterpret_cast<uint64_t>(mSection.Data()) + place;
        }
        if ((encoding & kIndirect) != 0) {
            std::memcpy(&value, reinterpret_cast<const void*>(value), sizeof value);
        }
        return value;
    }

    std::vector<uint8_t> Rest(const Cursor& cursor, uint64_t end) const {
        const Bytes rest = mSection.Part(cursor.Place(), end - cursor.Place());
        return {rest.Data(), rest.Data() + rest.Size()};
    }

    Bytes mSection;
    Common mCommon;
    DwarfEntry mEntry = {};
};

}  // namespace

DwarfEntry ReadDwarfEntry(Bytes section, uint64_t offset) {
    return Reader(section).Read(offset);
}

}  // namespace macho
