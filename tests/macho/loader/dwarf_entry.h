// An entry of a function in __eh_frame, for those whose frames compact unwind cannot tell.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "macho/loader/bytes.h"

namespace macho {

struct DwarfEntry {
    uint64_t begin;           // where the function stands in memory
    uint64_t size;            // of its code
    uint64_t personality;     // in memory, 0 for none
    uint64_t exceptionTable;  // in memory, 0 for none
    uint64_t codeAlignment;
    int64_t dataAlignment;
    uint64_t returnAddressColumn;
    std::vector<uint8_t> initialInstructions;
    std::vector<uint8_t> instructions;
};

// Reads the entry at `offset` in `section`, whose bytes lie where the image runs. Throws LoadError.
DwarfEntry ReadDwarfEntry(Bytes section, uint64_t offset);

}  // namespace macho
