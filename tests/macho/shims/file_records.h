// Flags and records of file calls as macOS has them.
#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace macho {

// Whether every flag of `flags` is known; stores them as this system has them.
bool OpenFlagsFromMacos(int flags, int& here);

struct MacosTime {
    int64_t seconds;
    int64_t nanoseconds;
};

// struct stat with 64-bit file numbers.
struct MacosStat {
    int32_t device;
    uint16_t mode;
    uint16_t links;
    uint64_t file;
    uint32_t user;
    uint32_t group;
    int32_t specialDevice;
    uint32_t padding;
    MacosTime accessed;
    MacosTime modified;
    MacosTime changed;
    MacosTime born;
    int64_t size;
    int64_t blocks;
    int32_t blockSize;
    uint32_t flags;
    uint32_t generation;
    int32_t spare;
    int64_t spares[2];
};
static_assert(sizeof(MacosStat) == 144);

MacosStat StatForMacos(const struct stat& here);

}  // namespace macho
