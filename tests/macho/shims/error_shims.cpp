// errno itself, and the texts of its numbers.
#include <cstring>

#include "macho/shims/error_numbers.h"
#include "macho/shims/shims.h"

namespace macho {

namespace {

int* Error() {
    return &MacosErrno();
}

char* StrError(int number) {
    return strerror(ErrorFromMacos(number));
}

}  // namespace

std::vector<Shim> ErrorShims() {
    return {
        Function("___error", &Error),
        Function("_strerror", &StrError),
    };
}

}  // namespace macho
