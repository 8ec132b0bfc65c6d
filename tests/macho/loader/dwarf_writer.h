// Bytes of DWARF call frame information, one after the other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace macho {

// Call frame instructions (DWARF 4, section 6.4.2). The low bits of kOffset hold the register.
enum CallFrameInstruction : uint8_t {
    kNop = 0x00,
    kOffsetExtended = 0x05,
    kDefineFrameAddress = 0x0C,
    kOffset = 0x80,
};

class DwarfWriter {
  public:
    void Byte(uint8_t value) { mBytes.push_back(value); }

    void Uleb(uint64_t value) {
        while (value >= 0x80) {
            Byte(static_cast<uint8_t>(value | 0x80));
            value >>= 7;
        }
        Byte(static_cast<uint8_t>(value));
    }

    void Sleb(int64_t value) {
        while (value < -0x40 || value >= 0x40) {
            Byte(static_cast<uint8_t>(value | 0x80));
            value >>= 7;
        }
        Byte(value & 0x7F);
    }

    void Word32(uint32_t value) { Append(&value, sizeof value); }
    void Word64(uint64_t value) { Append(&value, sizeof value); }
    void Text(const std::string& text) { Append(text.c_str(), text.size() + 1); }
    void All(const std::vector<uint8_t>& bytes) { Append(bytes.data(), bytes.size()); }

    // The place of a register, `slots` words below the frame address.
    void RegisterSaved(unsigned number, uint64_t slots) {
        if (number < 0x40) {
            Byte(static_cast<uint8_t>(kOffset | number));
        } else {
            Byte(kOffsetExtended);
            Uleb(number);
        }
        Uleb(slots);
    }

    void FrameAddress(unsigned number, uint64_t offset) {
        Byte(kDefineFrameAddress);
        Uleb(number);
        Uleb(offset);
    }

    size_t Size() const { return mBytes.size(); }
    std::vector<uint8_t>& Bytes() { return mBytes; }

  private:
    void Append(const void* data, size_t size) {
        const auto* const bytes = static_cast<const uint8_t*>(data);
        mBytes.insert(mBytes.end(), bytes, bytes + size);
    }

    std::vector<uint8_t> mBytes;
};

}  // namespace macho
