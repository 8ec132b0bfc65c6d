#include "core/log.h"

#include <cstdarg>
#include <cstdio>

namespace KVX::Core {

void LogLine(const char* function, int line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    flockfile(stderr);
    std::fprintf(stderr, "*** %s[%d]: ", function, line);
    std::vfprintf(stderr, format, arguments);
    funlockfile(stderr);
    va_end(arguments);
}

bool Failed(long status, const char* callee, const char* function, int line) {
    if (status == 0) {
        return false;
    }
    LogLine(function, line, "%s returned %ld\n", callee, status);
    return true;
}

}  // namespace KVX::Core
