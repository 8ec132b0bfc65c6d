// The table in __unwind_info: for each function how to leave it, in 32 bits.
#pragma once

#include <cstdint>
#include <vector>

#include "macho/loader/bytes.h"

namespace macho {

// Offsets are from the image's header; 0 stands for none.
struct UnwindEntry {
    uint32_t begin;
    uint32_t end;
    uint32_t encoding;
    uint32_t personalityPointer;  // where the address of the routine stands
    uint32_t exceptionTable;      // the language's own data for the function
};

// In ascending order, without the functions that nothing is known of. Throws LoadError.
std::vector<UnwindEntry> ReadCompactUnwind(Bytes section);

}  // namespace macho
