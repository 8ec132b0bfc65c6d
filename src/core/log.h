// The one log: standard error, always on, without levels.
#pragma once

namespace KVX::Core {

// Writes "*** function[line]: " and the formatted text as one piece, so that the lines of several
// threads never mix. Call it through KVX_LOG.
__attribute__((format(printf, 3, 4))) void LogLine(const char* function, int line,
                                                   const char* format, ...);

// Tells whether `status` is a failure, and logs "<callee> returned <status>" if so. `function` and
// `line` are the caller's.
bool Failed(long status, const char* callee, const char* function = __builtin_FUNCTION(),
            int line = __builtin_LINE());

}  // namespace KVX::Core

#define KVX_LOG(...) ::KVX::Core::LogLine(__func__, __LINE__, __VA_ARGS__)
