#include "macho/loader/binds.h"

#include <cstring>

namespace macho {

namespace {

enum Operation : uint8_t {
    kDone = 0x00,
    kSetLibrary = 0x10,
    kSetLibraryUleb = 0x20,
    kSetSpecialLibrary = 0x30,
    kSetSymbol = 0x40,
    kSetType = 0x50,
    kSetAddend = 0x60,
    kSetSegmentAndOffset = 0x70,
    kAddAddress = 0x80,
    kBind = 0x90,
    kBindAndAddAddress = 0xA0,
    kBindAndAddAddressScaled = 0xB0,
    kBindTimesSkipping = 0xC0,
};

constexpr uint8_t kTypePointer = 1;
constexpr uint64_t kPointer = sizeof(void*);

class Binder {
  public:
    Binder(Bytes operations, BindList kind, const Memory& memory, const ImportResolver& resolve)
        : mCursor(operations), mKind(kind), mMemory(memory), mResolve(resolve) {}

    void Run() {
        while (!mCursor.AtEnd() && Step()) {
        }
    }

  private:
    // False at the end of the list.
    bool Step() {
        const uint8_t byte = mCursor.Byte();
        const uint8_t immediate = byte & 0x0F;
        switch (byte & 0xF0) {
            case kDone:
                return mKind == BindList::kLazy;
            case kSetLibrary:
                break;  // every name is looked up in the one table of shims
            case kSetLibraryUleb:
                mCursor.Uleb();
                break;
            case kSetSymbol:
                mSymbol = mCursor.Text();
                break;
            case kSetType:
                if (immediate != kTypePointer) {
                    throw LoadError("has a bind of an unknown type");
                }
                break;
            case kSetAddend:
                mAddend = mCursor.Sleb();
                break;
            case kSetSegmentAndOffset:
                mSegment = immediate;
                mOffset = mCursor.Uleb();
                break;
            case kAddAddress:
                mOffset += mCursor.Uleb();
                break;
            case kBind:
                BindTimes(1, 0);
                break;
            case kBindAndAddAddress:
                BindTimes(1, mCursor.Uleb());
                break;
            case kBindAndAddAddressScaled:
                BindTimes(1, immediate * kPointer);
                break;
            case kBindTimesSkipping: {
                const uint64_t times = mCursor.Uleb();
                BindTimes(times, mCursor.Uleb());
                break;
            }
            default:  // among them what is looked up in the main program or in every library
                throw LoadError("has an unknown bind operation");
        }
        return true;
    }

    void BindTimes(uint64_t times, uint64_t skip) {
        const uint64_t value =
            reinterpret_cast<uint64_t>(mResolve(mSymbol)) + static_cast<uint64_t>(mAddend);
        for (uint64_t index = 0; index < times; ++index) {
            std::memcpy(mMemory.InSegment(mSegment, mOffset, kPointer), &value, sizeof value);
            mOffset += kPointer + skip;
        }
    }

    Cursor mCursor;
    BindList mKind;
    const Memory& mMemory;
    const ImportResolver& mResolve;
    std::string mSymbol;
    int64_t mAddend = 0;
    unsigned mSegment = 0;
    uint64_t mOffset = 0;
};

}  // namespace

void Bind(Bytes operations, BindList kind, const Memory& memory, const ImportResolver& resolve) {
    Binder(operations, kind, memory, resolve).Run();
}

}  // namespace macho
