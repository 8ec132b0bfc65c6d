#include "macho/shims/file_records.h"

#include <fcntl.h>

namespace macho {

namespace {

struct Flag {
    int macos;
    int here;
};

constexpr Flag kOpenFlags[] = {
    {0x0001, O_WRONLY},   {0x0002, O_RDWR},        {0x0004, O_NONBLOCK},   {0x0008, O_APPEND},
    {0x0100, O_NOFOLLOW}, {0x0200, O_CREAT},       {0x0400, O_TRUNC},      {0x0800, O_EXCL},
    {0x20000, O_NOCTTY},  {0x100000, O_DIRECTORY}, {0x1000000, O_CLOEXEC},
};

MacosTime TimeForMacos(const timespec& time) {
    return {time.tv_sec, time.tv_nsec};
}

}  // namespace

bool OpenFlagsFromMacos(int flags, int& here) {
    here = 0;
    for (const Flag& flag : kOpenFlags) {
        if ((flags & flag.macos) != 0) {
            here |= flag.here;
            flags &= ~flag.macos;
        }
    }
    return flags == 0;
}

MacosStat StatForMacos(const struct stat& here) {
    MacosStat record = {};
    record.device = static_cast<int32_t>(here.st_dev);
    record.mode = static_cast<uint16_t>(here.st_mode);
    record.links = static_cast<uint16_t>(here.st_nlink);
    record.file = here.st_ino;
    record.user = here.st_uid;
    record.group = here.st_gid;
    record.specialDevice = static_cast<int32_t>(here.st_rdev);
    record.accessed = TimeForMacos(here.st_atim);
    record.modified = TimeForMacos(here.st_mtim);
    record.changed = TimeForMacos(here.st_ctim);
    record.born = record.changed;  // what this call does not tell here
    record.size = here.st_size;
    record.blocks = here.st_blocks;
    record.blockSize = static_cast<int32_t>(here.st_blksize);
    return record;
}

}  // namespace macho
