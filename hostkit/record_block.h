#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kvx_hostkit {

// One of the host's records, in a block of bytes that are all `fill` at first: between the fields
// that are declared, and on both sides of the record, where the host's own record may go on. What
// a call changed beyond the expected shows by comparing Bytes() with those of a second block that
// was filled alike and then set field by field.
template <typename Record>
class RecordBlock {
  public:
    static constexpr size_t kMargin = 257;  // odd, since the host aligns its records to nothing

    explicit RecordBlock(uint8_t fill = 0) : mBytes(kMargin + sizeof(Record) + kMargin, fill) {
        static_assert(alignof(Record) == 1, "the host's records are packed");
    }

    Record* Get() { return reinterpret_cast<Record*>(mBytes.data() + kMargin); }
    const Record* Get() const { return reinterpret_cast<const Record*>(mBytes.data() + kMargin); }
    Record* operator->() { return Get(); }
    const Record* operator->() const { return Get(); }

    // The record and its margins.
    const std::vector<uint8_t>& Bytes() const { return mBytes; }

  private:
    std::vector<uint8_t> mBytes;
};

}  // namespace kvx_hostkit
