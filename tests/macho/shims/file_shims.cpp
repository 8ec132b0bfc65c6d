// Open files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "macho/shims/error_numbers.h"
#include "macho/shims/file_records.h"
#include "macho/shims/more_arguments.h"
#include "macho/shims/shims.h"
#include "platform/system.h"

namespace macho {

namespace {

int Open(const char* path, int flags, MoreArguments mode) {
    int here = 0;
    if (!OpenFlagsFromMacos(flags, here)) {
        errno = EINVAL;
        return -1;
    }
    return (here & O_CREAT) != 0 ? open(path, here, static_cast<mode_t>(OneOf(mode)))
                                 : open(path, here);
}

int FStat(int descriptor, MacosStat* record) {
    struct stat here = {};
    const int result = fstat(descriptor, &here);
    if (result == 0) {
        *record = StatForMacos(here);
    }
    return result;
}

enum MacosControl : int {
    kSetDescriptorFlags = 2,
    kNoCache = 48,
};

int FControl(int descriptor, int command, MoreArguments argument) {
    switch (command) {
        case kSetDescriptorFlags:  // FD_CLOEXEC is 1 on both
            return fcntl(descriptor, F_SETFD, OneOf(argument));
        case kNoCache: {
            // The call here answers a number in place of setting errno.
            const int error = KVX::Platform::RequestUncachedReads(descriptor);
            errno = error != 0 ? error : errno;
            return error != 0 ? -1 : 0;
        }
        default:
            errno = EINVAL;
            return -1;
    }
}

// The record was smaller in the days of the first Intel Macs.
#if defined(__x86_64__)
constexpr const char* kFStat = "_fstat$INODE64";
#else
constexpr const char* kFStat = "_fstat";
#endif

}  // namespace

std::vector<Shim> FileShims() {
    return {
        TellingErrors<&close>("_close"),
        WithMoreArguments(2, TellingErrors<&FControl>("_fcntl")),
        TellingErrors<&FStat>(kFStat),
        TellingErrors<&lseek>("_lseek"),
        WithMoreArguments(2, TellingErrors<&Open>("_open")),
        TellingErrors<&pread>("_pread"),
    };
}

}  // namespace macho
