// A view of bytes that knows its end.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "macho/loader/load_error.h"

namespace macho {

class Bytes {
  public:
    Bytes() = default;
    Bytes(const unsigned char* data, uint64_t size) : mData(data), mSize(size) {}

    const unsigned char* Data() const { return mData; }
    uint64_t Size() const { return mSize; }

    Bytes Part(uint64_t offset, uint64_t size) const {
        if (offset > mSize || size > mSize - offset) {
            throw LoadError("a table passes the end of the file");
        }
        return {mData + offset, size};
    }

    template <typename Record>
    Record At(uint64_t offset) const {
        Record record;
        std::memcpy(&record, Part(offset, sizeof record).mData, sizeof record);
        return record;
    }

    // Up to a NUL, which must be there.
    std::string TextAt(uint64_t offset) const {
        const Bytes rest = Part(offset, mSize - (offset < mSize ? offset : mSize));
        const void* const end = std::memchr(rest.mData, 0, rest.mSize);
        if (end == nullptr) {
            throw LoadError("a name has no end");
        }
        return {reinterpret_cast<const char*>(rest.mData),
                static_cast<size_t>(static_cast<const unsigned char*>(end) - rest.mData)};
    }

  private:
    const unsigned char* mData = nullptr;
    uint64_t mSize = 0;
};

// Reads numbers of variable length one after the other.
class Cursor {
  public:
    explicit Cursor(Bytes bytes, uint64_t place = 0) : mBytes(bytes), mPlace(place) {}

    bool AtEnd() const { return mPlace >= mBytes.Size(); }
    uint64_t Place() const { return mPlace; }

    template <typename Number>
    Number Take() {
        const auto number = mBytes.At<Number>(mPlace);
        mPlace += sizeof number;
        return number;
    }

    uint8_t Byte() { return Take<uint8_t>(); }

    uint64_t Uleb() {
        uint64_t value = 0;
        unsigned shift = 0;
        uint8_t byte = 0;
        do {
            byte = Byte();
            if (shift < 64) {
                value |= static_cast<uint64_t>(byte & 0x7F) << shift;
            }
            shift += 7;
        } while ((byte & 0x80) != 0);
        return value;
    }

    int64_t Sleb() {
        uint64_t value = 0;
        unsigned shift = 0;
        uint8_t byte = 0;
        do {
            byte = Byte();
            if (shift < 64) {
                value |= static_cast<uint64_t>(byte & 0x7F) << shift;
            }
            shift += 7;
        } while ((byte & 0x80) != 0);
        if (shift < 64 && (byte & 0x40) != 0) {
            value |= ~uint64_t{0} << shift;
        }
        return static_cast<int64_t>(value);
    }

    std::string Text() {
        std::string text = mBytes.TextAt(mPlace);
        mPlace += text.size() + 1;
        return text;
    }

    void Skip(uint64_t size) { mPlace += mBytes.Part(mPlace, size).Size(); }

  private:
    Bytes mBytes;
    uint64_t mPlace;
};

}  // namespace macho
