// What the printers share: tables of values and their names, and the two ways to read one.
#pragma once

#include <cstddef>

namespace KVX::Util::Printer {

struct NamedValue {
    long value;
    const char* name;
};

// A view of a table, so that the look-ups are compiled once for all tables.
class NameTable {
  public:
    template <size_t Count>
    constexpr NameTable(const NamedValue (&rows)[Count]) : mRows(rows), mCount(Count) {}

    const NamedValue* begin() const { return mRows; }
    const NamedValue* end() const { return mRows + mCount; }

  private:
    const NamedValue* mRows;
    size_t mCount;
};

// The name of `value`, or null if it has none.
const char* FindName(NameTable table, long value);

// The name of `value`, or what Unknown makes of it.
const char* NameOrUnknown(NameTable table, long value);

// The names of the set bits of `value` in the table's order, joined by " | ", and "0" if no bit of
// the table is set. Bits that the table does not have are passed over. The names of a table with
// their joints have to fit a piece of 1024 bytes.
const char* NamesOfBits(NameTable table, long value);

}  // namespace KVX::Util::Printer
