// Tells the unwinder of this system how to leave the functions of an image, so that exceptions
// cross them and are caught in them.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "macho/loader/compact_unwind.h"
#include "macho/loader/dwarf_entry.h"
#include "macho/loader/dwarf_writer.h"
#include "macho/loader/file.h"
#include "macho/loader/memory.h"

namespace macho {

class Unwinding {
  public:
    // Throws LoadError.
    Unwinding(const File& file, const Memory& memory);
    ~Unwinding();

    Unwinding(const Unwinding&) = delete;
    Unwinding& operator=(const Unwinding&) = delete;

  private:
    void Add(const UnwindEntry& entry, const Memory& memory, Bytes frames);
    void Write(const DwarfEntry& entry);
    size_t WriteCommon(const DwarfEntry& entry);
    void Finish(size_t lengthPlace);

    DwarfWriter mWriter;
    std::map<uint64_t, size_t> mCommons;  // of compact entries, by personality
};

}  // namespace macho
