// Arguments behind the named ones, in functions with a variable number of them. On x86-64 both
// systems hand them over in the same way. On arm64 macOS puts all of them on the stack, each in
// eight bytes, and a va_list is the address of the next; the import stub makes their address one
// more named argument.
#pragma once

#include <cstdarg>
#include <cstring>

#include "macho/shims/shims.h"

namespace macho {

#if defined(__aarch64__)

using MoreArguments = const long*;

// The only one.
inline long OneOf(MoreArguments more) {
    return *more;
}

// The same as this system's own functions take them: none left in registers.
inline void MakeList(MoreArguments more, va_list& list) {
    const struct {
        const void* stack;
        void* endOfRegisters;
        void* endOfVectorRegisters;
        int inRegisters;
        int inVectorRegisters;
    } onStack = {more, nullptr, nullptr, 0, 0};
    static_assert(sizeof onStack == sizeof(va_list));
    std::memcpy(&list, &onStack, sizeof list);
}

#else

using MoreArguments = long;  // the only one, in the register of a named one

inline long OneOf(MoreArguments more) {
    return more;
}

#endif

// `named` arguments have names.
inline Shim WithMoreArguments(unsigned named, Shim shim) {
    shim.named = named;
    return shim;
}

}  // namespace macho
