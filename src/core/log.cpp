#include "core/log.h"

#include <cstdarg>
#include <cstdio>

namespace KVX::Core {

void LogLine(LogSite site, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    flockfile(stderr);
    std::fprintf(stderr, "*** %s[%d]: ", site.function, site.line);
    std::vfprintf(stderr, format, arguments);
    funlockfile(stderr);
    va_end(arguments);
}

void LogText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

bool Failed(long status, const char* callee, LogSite site) {
    if (status == 0) {
        return false;
    }
    LogLine(site, "%s returned %ld\n", callee, status);
    return true;
}

}  // namespace KVX::Core
