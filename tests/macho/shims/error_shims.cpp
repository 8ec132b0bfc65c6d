// errno itself, and texts for its numbers.
#include <cstring>

#include "macho/shims/error_numbers.h"
#include "macho/shims/shims.h"

extern "C" int __xpg_strerror_r(int number, char* text, size_t size);

namespace macho {

namespace {

int* Error() {
    return &MacosErrno();
}

char* StrError(int number) {
    return strerror(ErrorFromMacos(number));
}

int StrErrorR(int number, char* text, size_t size) {
    return ErrorForMacos(__xpg_strerror_r(ErrorFromMacos(number), text, size));
}

}  // namespace

std::vector<Shim> ErrorShims() {
    return {
        Function("___error", &Error),
        Function("_strerror", &StrError),
        Function("_strerror_r", &StrErrorR),
    };
}

}  // namespace macho
