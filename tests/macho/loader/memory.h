// The memory that an image lies in.
#pragma once

#include <cstdint>
#include <vector>

#include "macho/loader/file.h"

namespace macho {

// Places the segments of a file in fresh memory, at their distances from each other. They can be
// written to until Protect.
class Memory {
  public:
    explicit Memory(const File& file);
    ~Memory();

    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    // Gives each segment the protection that it asks for.
    void Protect() const;

    // What the file's addresses are moved by.
    uint64_t Slide() const { return mSlide; }

    // The header, which stands at the start of the first segment with contents.
    unsigned char* Header() const { return mHeader; }

    // Memory at an address of the file; throws LoadError when not all of it is the image's.
    unsigned char* At(uint64_t address, uint64_t size) const;

    // The memory at an offset in a segment, by the segment's number.
    unsigned char* InSegment(unsigned segment, uint64_t offset, uint64_t size) const;

    bool Holds(const void* address) const;

  private:
    std::vector<SegmentCommand> mSegments;
    unsigned char* mMemory = nullptr;
    uint64_t mSize = 0;
    uint64_t mSlide = 0;
    unsigned char* mHeader = nullptr;
};

}  // namespace macho
