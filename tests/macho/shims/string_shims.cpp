// Bytes, texts and numbers.
#include <cmath>
#include <cstring>
#include <cwchar>

#include "macho/shims/shims.h"

namespace macho {

namespace {

void Zero(void* memory, size_t size) {
    std::memset(memory, 0, size);
}

const wchar_t* WMemChr(const wchar_t* memory, wchar_t character, size_t count) {
    return std::wmemchr(memory, character, count);
}

// What compilers call by themselves.
#if defined(__x86_64__)

double Ceil(double value) {
    return std::ceil(value);
}

std::vector<Shim> OfTheCompiler() {
    return {Function("___bzero", &Zero), Function("_ceil", &Ceil)};
}

#else

std::vector<Shim> OfTheCompiler() {
    return {Function("_bzero", &Zero)};
}

#endif

}  // namespace

std::vector<Shim> StringShims() {
    std::vector<Shim> shims = OfTheCompiler();
    const std::vector<Shim> others = {
        Function("_memcpy", &std::memcpy),   Function("_memmove", &std::memmove),
        Function("_strcmp", &std::strcmp),   Function("_strlen", &std::strlen),
        Function("_strncmp", &std::strncmp), Function("_strncpy", &std::strncpy),
        Function("_strnlen", &strnlen),      Function("_wmemchr", &WMemChr),
    };
    shims.insert(shims.end(), others.begin(), others.end());
    return shims;
}

}  // namespace macho
