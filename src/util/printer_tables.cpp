#include "util/printer_tables.h"

#include <algorithm>
#include <cstring>

#include "core/assert.h"
#include "core/per_thread_buffer.h"
#include "util/printer.h"

namespace KVX::Util::Printer {

const char* FindName(NameTable table, long value) {
    const NamedValue* row =
        std::find_if(table.begin(), table.end(),
                     [value](const NamedValue& named) { return named.value == value; });
    return row == table.end() ? nullptr : row->name;
}

const char* NameOrUnknown(NameTable table, long value) {
    const char* name = FindName(table, value);
    return name == nullptr ? Unknown(value) : name;
}

const char* NamesOfBits(NameTable table, long value) {
    constexpr unsigned long kPiece = 1024;
    constexpr char kJoint[] = " | ";
    constexpr size_t kJointLength = sizeof(kJoint) - 1;
    char* text = Core::GetPerThreadBuffer(kPiece);
    if (text == nullptr) {
        return kMemoryErrorString;
    }
    // The joint before the first name takes the place of the blanks, which the result leaves out.
    constexpr char kNone[] = "   0";
    std::memcpy(text, kNone, sizeof(kNone));
    char* end = text;
    for (const NamedValue& bit : table) {
        if ((value & bit.value) == 0) {
            continue;
        }
        const size_t length = std::strlen(bit.name);
        KVX_ASSERT(length + kJointLength < kPiece - static_cast<size_t>(end - text));
        std::memcpy(end, kJoint, kJointLength);
        std::memcpy(end + kJointLength, bit.name, length + 1);
        end += kJointLength + length;
    }
    return text + kJointLength;
}

}  // namespace KVX::Util::Printer
