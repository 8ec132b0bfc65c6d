#include "macho/loader/rebases.h"

#include <cstring>

namespace macho {

namespace {

enum Operation : uint8_t {
    kDone = 0x00,
    kSetType = 0x10,
    kSetSegmentAndOffset = 0x20,
    kAddAddress = 0x30,
    kAddAddressScaled = 0x40,
    kRebaseTimes = 0x50,
    kRebaseTimesUleb = 0x60,
    kRebaseAndAddAddress = 0x70,
    kRebaseTimesSkipping = 0x80,
};

constexpr uint8_t kTypePointer = 1;
constexpr uint64_t kPointer = sizeof(void*);

void RebasePointer(const Memory& memory, unsigned segment, uint64_t offset) {
    unsigned char* const place = memory.InSegment(segment, offset, kPointer);
    uint64_t value = 0;
    std::memcpy(&value, place, sizeof value);
    memory.At(value, 0);
    value += memory.Slide();
    std::memcpy(place, &value, sizeof value);
}

}  // namespace

void Rebase(Bytes operations, const Memory& memory) {
    unsigned segment = 0;
    uint64_t offset = 0;
    const auto rebase = [&](uint64_t times, uint64_t skip) {
        for (uint64_t index = 0; index < times; ++index) {
            RebasePointer(memory, segment, offset);
            offset += kPointer + skip;
        }
    };
    Cursor cursor(operations);
    while (!cursor.AtEnd()) {
        const uint8_t byte = cursor.Byte();
        const uint8_t immediate = byte & 0x0F;
        switch (byte & 0xF0) {
            case kDone:
                return;
            case kSetType:
                if (immediate != kTypePointer) {
                    throw LoadError("has a rebase of an unknown type");
                }
                break;
            case kSetSegmentAndOffset:
                segment = immediate;
                offset = cursor.Uleb();
                break;
            case kAddAddress:
                offset += cursor.Uleb();
                break;
            case kAddAddressScaled:
                offset += immediate * kPointer;
                break;
            case kRebaseTimes:
                rebase(immediate, 0);
                break;
            case kRebaseTimesUleb:
                rebase(cursor.Uleb(), 0);
                break;
            case kRebaseAndAddAddress:
                rebase(1, cursor.Uleb());
                break;
            case kRebaseTimesSkipping: {
                const uint64_t times = cursor.Uleb();
                rebase(times, cursor.Uleb());
                break;
            }
            default:
                throw LoadError("has an unknown rebase operation");
        }
    }
}

}  // namespace macho
