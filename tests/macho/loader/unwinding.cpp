#include "macho/loader/unwinding.h"

#include <cstring>

#include "macho/loader/architecture.h"

// Of the compiler's run-time library: takes records of __eh_frame's form up to a length of 0.
extern "C" void __register_frame(void* records);
extern "C" void __deregister_frame(void* records);

namespace macho {

namespace {

constexpr uint8_t kAbsolutePointer = 0x00;
constexpr size_t kRecordAlignment = 8;

Bytes Contents(const Section* section, const Memory& memory) {
    return section == nullptr ? Bytes()
                              : Bytes(memory.At(section->address, section->size), section->size);
}

}  // namespace

Unwinding::Unwinding(const File& file, const Memory& memory) {
    const Bytes compact = Contents(file.FindSection("__TEXT", "__unwind_info"), memory);
    const Bytes frames = Contents(file.FindSection("__TEXT", "__eh_frame"), memory);
    if (compact.Size() != 0) {
        for (const UnwindEntry& entry : ReadCompactUnwind(compact)) {
            Add(entry, memory, frames);
        }
    }
    mWriter.Word32(0);
    __register_frame(mWriter.Bytes().data());
}

Unwinding::~Unwinding() {
    __deregister_frame(mWriter.Bytes().data());
}

void Unwinding::Add(const UnwindEntry& entry, const Memory& memory, Bytes frames) {
    const unsigned char* const base = memory.Header();
    uint32_t offset = 0;
    if (LeadsToDwarf(entry.encoding, offset)) {
        const DwarfEntry dwarf = ReadDwarfEntry(frames, offset);
        if (dwarf.begin != reinterpret_cast<uint64_t>(base + entry.begin)) {
            throw LoadError("has an entry in __eh_frame that is another function's");
        }
        Write(dwarf);
        return;
    }
    DwarfEntry dwarf = {};
    dwarf.begin = reinterpret_cast<uint64_t>(base + entry.begin);
    dwarf.size = entry.end - entry.begin;
    if (entry.personalityPointer != 0) {
        std::memcpy(&dwarf.personality, base + entry.personalityPointer, sizeof dwarf.personality);
    }
    if (entry.exceptionTable != 0) {
        dwarf.exceptionTable = reinterpret_cast<uint64_t>(base + entry.exceptionTable);
    }
    dwarf.codeAlignment = 1;
    dwarf.dataAlignment = kDataAlignment;
    dwarf.returnAddressColumn = kReturnAddressColumn;
    dwarf.initialInstructions = InitialFrameInstructions();
    dwarf.instructions = FrameInstructions(entry.encoding, base + entry.begin);
    Write(dwarf);
}

// A record for the function, behind one that says what it has in common with others.
void Unwinding::Write(const DwarfEntry& entry) {
    const size_t common = WriteCommon(entry);
    const size_t start = mWriter.Size();
    mWriter.Word32(0);  // the length, which Finish knows
    mWriter.Word32(static_cast<uint32_t>(mWriter.Size() - common));
    mWriter.Word64(entry.begin);
    mWriter.Word64(entry.size);
    mWriter.Uleb(sizeof(uint64_t));
    mWriter.Word64(entry.exceptionTable);
    mWriter.All(entry.instructions);
    Finish(start);
}

size_t Unwinding::WriteCommon(const DwarfEntry& entry) {
    const bool isShared = entry.initialInstructions == InitialFrameInstructions() &&
                          entry.dataAlignment == kDataAlignment && entry.codeAlignment == 1;
    if (isShared) {
        const auto found = mCommons.find(entry.personality);
        if (found != mCommons.end()) {
            return found->second;
        }
    }
    const size_t start = mWriter.Size();
    mWriter.Word32(0);
    mWriter.Word32(0);  // no function's
    mWriter.Byte(1);
    mWriter.Text(entry.personality != 0 ? "zPLR" : "zLR");
    mWriter.Uleb(entry.codeAlignment);
    mWriter.Sleb(entry.dataAlignment);
    mWriter.Byte(static_cast<uint8_t>(entry.returnAddressColumn));
    if (entry.personality != 0) {
        mWriter.Uleb(3 + sizeof(uint64_t));
        mWriter.Byte(kAbsolutePointer);
        mWriter.Word64(entry.personality);
    } else {
        mWriter.Uleb(2);
    }
    mWriter.Byte(kAbsolutePointer);
    mWriter.Byte(kAbsolutePointer);
    mWriter.All(entry.initialInstructions);
    Finish(start);
    if (isShared) {
        mCommons[entry.personality] = start;
    }
    return start;
}

void Unwinding::Finish(size_t lengthPlace) {
    while (mWriter.Size() % kRecordAlignment != 0) {
        mWriter.Byte(kNop);
    }
    const auto length = static_cast<uint32_t>(mWriter.Size() - lengthPlace - sizeof(uint32_t));
    std::memcpy(mWriter.Bytes().data() + lengthPlace, &length, sizeof length);
}

}  // namespace macho
