// The one log: standard error, always on, without levels.
#pragma once

namespace KVX::Core {

// Where a line of the log says it comes from. As a default argument `Here` is the place of the
// call.
struct LogSite {
    const char* function;
    int line;

    static constexpr LogSite Here(const char* function = __builtin_FUNCTION(),
                                  int line = __builtin_LINE()) {
        return {function, line};
    }

    // For what is one operation in the log, and several functions in the code.
    static constexpr LogSite In(const char* operation, int line = __builtin_LINE()) {
        return {operation, line};
    }
};

// Writes "*** function[line]: " and the formatted text as one piece, so that the lines of several
// threads never mix. Call it through KVX_LOG where the place is the caller's own.
__attribute__((format(printf, 2, 3))) void LogLine(LogSite site, const char* format, ...);

// Writes the formatted text alone, for the few lines that have no such beginning.
__attribute__((format(printf, 1, 2))) void LogText(const char* format, ...);

// Tells whether `status` is a failure, and logs "<callee> returned <status>" if so.
bool Failed(long status, const char* callee, LogSite site = LogSite::Here());

}  // namespace KVX::Core

#define KVX_LOG(...) ::KVX::Core::LogLine({__func__, __LINE__}, __VA_ARGS__)
