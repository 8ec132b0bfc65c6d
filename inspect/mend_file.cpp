#include "inspect/mend_file.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "core/big_endian.h"

namespace kvx_inspect {

namespace {

constexpr size_t kSize = 4;

// The part of `bytes` from `done` on goes to its place by `call`, pread or pwrite.
template <typename Call, typename Byte>
int Transfer(Call call, int descriptor, Byte* bytes, uint64_t offset) {
    for (size_t done = 0; done < kSize;) {
        const ssize_t count =
            call(descriptor, bytes + done, kSize - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) {
            return ESTALE;  // it has become shorter
        }
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return 0;
}

int WriteToDisk(int descriptor) {
#ifdef F_FULLFSYNC
    // fsync alone leaves it in the disk's own memory there.
    if (fcntl(descriptor, F_FULLFSYNC) == 0) {
        return 0;
    }
#endif
    return fsync(descriptor) == 0 ? 0 : errno;
}

int MakeChange(int descriptor, const Change& change, Durability durability) {
    unsigned char bytes[kSize] = {};
    if (const int error = Transfer(pread, descriptor, bytes, change.offset)) {
        return error;
    }
    const uint32_t value = KVX::Core::ReadBig32(reinterpret_cast<const char*>(bytes));
    if (value == change.after) {
        return 0;
    }
    if (value != change.before) {
        return ESTALE;
    }
    for (size_t i = 0; i < kSize; ++i) {
        bytes[i] = static_cast<unsigned char>(change.after >> 8 * (kSize - 1 - i));
    }
    if (const int error = Transfer(pwrite, descriptor, bytes, change.offset)) {
        return error;
    }
    return durability == Durability::EachChange ? WriteToDisk(descriptor) : 0;
}

}  // namespace

int MakeChanges(int descriptor, const std::vector<Change>& changes, Durability durability) {
    for (const Change& change : changes) {
        if (const int error = MakeChange(descriptor, change, durability)) {
            return error;
        }
    }
    return 0;
}

}  // namespace kvx_inspect
