// Calls on files of the code under schedule; the linker leads them here. Each is a point where
// another thread may go on, and reads may fail or come short where a run is to show that.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

#include "schedules/scheduler.h"

using kvx_schedules::gScheduler;
using kvx_schedules::IsUnderSchedule;

namespace {

constexpr size_t kLongRead = 65536;

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_close(int descriptor);
ssize_t __real_pread(int descriptor, void* buffer, size_t size, off_t offset);

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (IsUnderSchedule()) {
        gScheduler->OpenPoint();
    }
    const int descriptor = __real_open(path, flags, mode);
    if (descriptor >= 0 && IsUnderSchedule()) {
        gScheduler->Opened(descriptor);
    }
    return descriptor;
}

int __wrap_close(int descriptor) {
    if (IsUnderSchedule()) {
        gScheduler->ClosePoint(descriptor);
    }
    return __real_close(descriptor);
}

ssize_t __wrap_pread(int descriptor, void* buffer, size_t size, off_t offset) {
    if (!IsUnderSchedule()) {
        return __real_pread(descriptor, buffer, size, offset);
    }
    gScheduler->ReadPoint(descriptor);
    if (gScheduler->Fails()) {
        errno = EIO;
        return -1;
    }
    gScheduler->Access(buffer, size, "read from a file into");
    if (size <= kLongRead) {
        return __real_pread(descriptor, buffer, size, offset);
    }
    // Of a long read the ends will do.
    auto* const bytes = static_cast<char*>(buffer);
    const auto middle = static_cast<off_t>(size - kLongRead / 2);
    const ssize_t last = __real_pread(descriptor, bytes + middle, kLongRead / 2, offset + middle);
    const ssize_t first = __real_pread(descriptor, bytes, kLongRead / 2, offset);
    return last < 0 || first < 0 ? -1 : static_cast<ssize_t>(middle) + last;
}

}  // extern "C"
