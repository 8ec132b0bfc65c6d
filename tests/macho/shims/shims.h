// What stands for the macOS libraries' functions, by subject. A function that is the same on both
// systems is this system's own; the others translate numbers, flags and layouts, or are told apart
// by what macOS alone refuses.
#pragma once

#include <cerrno>
#include <vector>

#include "macho/loader/image.h"
#include "macho/shims/error_numbers.h"

namespace macho {

template <typename Result, typename... Arguments>
Shim Function(const char* name, Result (*function)(Arguments...)) {
    return {name, reinterpret_cast<const void*>(function), false};
}

template <typename Result, typename... Arguments>
Shim Function(const char* name, Result (*function)(Arguments..., ...)) {
    return {name, reinterpret_cast<const void*>(function), false};
}

// A function of this system whose errno the image's code may look at. What that code has stored
// there is seen by the function, too.
template <auto function, typename Result, typename... Arguments>
Shim TellingErrors(const char* name, Result (*)(Arguments...)) {
    return Function(
        name, +[](Arguments... arguments) -> Result {
            errno = ErrorFromMacos(MacosErrno());
            Result result = function(arguments...);
            MacosErrno() = ErrorForMacos(errno);
            return result;
        });
}

template <auto function>
Shim TellingErrors(const char* name) {
    return TellingErrors<function>(name, function);
}

// A function with a result of less than 32 bits. On macOS the called function widens it; on Linux
// the rest of the register holds anything.
template <auto function, typename Result, typename... Arguments>
Shim Widening(const char* name, Result (*)(Arguments...)) {
    static_assert(sizeof(Result) < sizeof(int));
    return Function(
        name, +[](Arguments... arguments) -> int { return function(arguments...); });
}

template <auto function>
Shim Widening(const char* name) {
    return Widening<function>(name, function);
}

inline Shim Data(const char* name, const void* address) {
    return {name, address, true};
}

std::vector<Shim> CoreFoundationShims();
std::vector<Shim> DyldShims();
std::vector<Shim> ErrorShims();
std::vector<Shim> FileManagerShims();
std::vector<Shim> FileShims();
std::vector<Shim> MemoryShims();
std::vector<Shim> MutexShims();
std::vector<Shim> ConditionShims();
std::vector<Shim> OnceShims();
std::vector<Shim> ProcessShims();
std::vector<Shim> StandardOutputShims();
std::vector<Shim> StringShims();
std::vector<Shim> ThreadShims();
std::vector<Shim> UnwinderShims();

// All of them.
std::vector<Shim> AllShims();

}  // namespace macho
