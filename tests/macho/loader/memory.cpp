#include "macho/loader/memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace macho {

namespace {

int ProtectionOf(const SegmentCommand& segment) {
    int protection = PROT_NONE;
    protection |= (segment.initialProtection & kProtectionRead) != 0 ? PROT_READ : 0;
    protection |= (segment.initialProtection & kProtectionExecute) != 0 ? PROT_EXEC : 0;
    if ((segment.initialProtection & kProtectionWrite) != 0 &&
        (segment.flags & kSegmentReadOnly) == 0) {
        protection |= PROT_WRITE;
    }
    return protection;
}

}  // namespace

Memory::Memory(const File& file) : mSegments(file.Segments()) {
    uint64_t begin = UINT64_MAX;
    uint64_t end = 0;
    const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    for (const SegmentCommand& segment : mSegments) {
        uint64_t segmentEnd = 0;
        if (__builtin_add_overflow(segment.address, segment.memorySize, &segmentEnd) ||
            segment.address % page != 0) {
            throw LoadError("has a segment at an impossible address");
        }
        begin = std::min(begin, segment.address);
        end = std::max(end, segmentEnd);
    }
    mSize = (end - begin + page - 1) / page * page;
    void* const memory =
        mmap(nullptr, mSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw LoadError("finds no memory");
    }
    mMemory = static_cast<unsigned char*>(memory);
    mSlide = reinterpret_cast<uint64_t>(mMemory) - begin;
    for (const SegmentCommand& segment : mSegments) {
        std::memcpy(At(segment.address, segment.fileSize),
                    file.Contents().Part(segment.fileOffset, segment.fileSize).Data(),
                    segment.fileSize);
        if (segment.fileOffset == 0 && segment.fileSize != 0) {
            mHeader = At(segment.address, segment.fileSize);
        }
    }
}

Memory::~Memory() {
    munmap(mMemory, mSize);
}

void Memory::Protect() const {
    for (const SegmentCommand& segment : mSegments) {
        if (mprotect(At(segment.address, segment.memorySize), segment.memorySize,
                     ProtectionOf(segment)) != 0) {
            throw LoadError("cannot be protected");
        }
    }
}

unsigned char* Memory::At(uint64_t address, uint64_t size) const {
    const uint64_t offset = address + mSlide - reinterpret_cast<uint64_t>(mMemory);
    if (offset > mSize || size > mSize - offset) {
        throw LoadError("points outside itself");
    }
    return mMemory + offset;
}

unsigned char* Memory::InSegment(unsigned segment, uint64_t offset, uint64_t size) const {
    if (segment >= mSegments.size() || offset > mSegments[segment].memorySize ||
        size > mSegments[segment].memorySize - offset) {
        throw LoadError("points outside a segment");
    }
    return At(mSegments[segment].address + offset, size);
}

bool Memory::Holds(const void* address) const {
    const auto* const byte = static_cast<const unsigned char*>(address);
    return byte >= mMemory && byte < mMemory + mSize;
}

}  // namespace macho
