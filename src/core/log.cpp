#include "core/log.h"

#include <cstdarg>
#include <cstdio>

namespace KVX::Core {

namespace {

void Write(LogSite site, const char* format, va_list arguments) {
    flockfile(stderr);
    std::fprintf(stderr, "*** %s[%d]: ", site.function, site.line);
    std::vfprintf(stderr, format, arguments);
    funlockfile(stderr);
}

}  // namespace

void LogLine(LogSite site, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Write(site, format, arguments);
    va_end(arguments);
}

void LogLine(const char* function, int line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Write({function, line}, format, arguments);
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
