#include "cli/output/copy_file.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>

#ifdef __linux__
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

namespace kvx_cli {

namespace {

constexpr uint64_t kBlock = 1 << 20;
constexpr uint64_t kSystemBlock = 64 << 20;  // between two moves of a progress bar

bool IsShorter(int file, uint64_t size) {
    struct stat status = {};
    return fstat(file, &status) == 0 && static_cast<uint64_t>(status.st_size) < size;
}

// Shares all blocks at once. A file that has grown meanwhile is not shared: it would be too long.
bool Clone(int from, int to, uint64_t size) {
#ifdef FICLONE
    if (ioctl(to, FICLONE, from) != 0) {
        return false;
    }
    return lseek(to, 0, SEEK_END) == static_cast<off_t>(size) || ftruncate(to, 0) != 0;
#else
    static_cast<void>(from), static_cast<void>(to), static_cast<void>(size);
    return false;
#endif
}

// A stretch of data, [begin, end), after `offset`; at the end of the file where only a hole is
// left.
struct Stretch {
    uint64_t begin;
    uint64_t end;
};

Stretch NextData(int file, uint64_t offset, uint64_t size) {
    const off_t begin = lseek(file, static_cast<off_t>(offset), SEEK_DATA);
    if (begin < 0) {
        return errno == ENXIO ? Stretch{size, size} : Stretch{offset, size};
    }
    const off_t end = lseek(file, begin, SEEK_HOLE);
    return {std::min(static_cast<uint64_t>(begin), size),
            end < 0 ? size : std::min(static_cast<uint64_t>(end), size)};
}

class Copier {
  public:
    Copier(int from, int to) : mFrom(from), mTo(to) {}

    // Copies some of the `size` bytes at `offset`, and returns how many; 0 at the end of the file,
    // below 0 on failure.
    ssize_t Copy(uint64_t offset, uint64_t size) {
#ifdef __linux__
        if (!mThroughMemory) {
            off64_t in = static_cast<off64_t>(offset);
            off64_t out = in;
            const ssize_t count =
                copy_file_range(mFrom, &in, mTo, &out, std::min(size, kSystemBlock), 0);
            if (count > 0 || (count < 0 && IsTrouble(errno))) {
                return count;
            }
            mThroughMemory = true;
        }
#endif
        if (mBlock == nullptr) {
            mBlock = std::make_unique<char[]>(kBlock);
        }
        const ssize_t count =
            pread(mFrom, mBlock.get(), std::min(size, kBlock), static_cast<off_t>(offset));
        return count > 0 ? pwrite(mTo, mBlock.get(), static_cast<size_t>(count),
                                  static_cast<off_t>(offset))
                         : count;
    }

  private:
    // Of the disk, and not of a file system or a kernel that cannot do it.
    static bool IsTrouble(int error) {
        return error == EIO || error == ENOSPC || error == EDQUOT || error == EFBIG ||
               error == EINTR;
    }

    int mFrom;
    int mTo;
    bool mThroughMemory = false;
    std::unique_ptr<char[]> mBlock;
};

}  // namespace

int CopyBytes(int from, int to, uint64_t size, const std::function<void(uint64_t)>& progress) {
    if (Clone(from, to, size)) {
        return 0;
    }
    // First, so that what is not written is a hole.
    if (ftruncate(to, static_cast<off_t>(size)) != 0) {
        return errno;
    }
    Copier copier(from, to);
    for (uint64_t offset = 0; offset < size;) {
        const Stretch data = NextData(from, offset, size);
        for (offset = data.begin; offset < data.end;) {
            const ssize_t count = copier.Copy(offset, data.end - offset);
            if (count == 0) {
                return ESTALE;
            }
            if (count < 0 && errno != EINTR) {
                return errno;
            }
            offset += count > 0 ? static_cast<uint64_t>(count) : 0;
            progress(offset);
        }
    }
    // What was cut off meanwhile looks like a hole.
    return IsShorter(from, size) ? ESTALE : 0;
}

}  // namespace kvx_cli
