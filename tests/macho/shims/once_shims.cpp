// Functions that run one time.
#include <pthread.h>

#include "macho/shims/error_numbers.h"
#include "macho/shims/shims.h"

namespace macho {

namespace {

struct MacosOnce {
    uint64_t signature;
    pthread_once_t here;  // 0 in the static initialiser, as here
    char rest[8 - sizeof(pthread_once_t)];
};
static_assert(sizeof(MacosOnce) == 16);
static_assert(PTHREAD_ONCE_INIT == 0);

constexpr uint64_t kStatic = 0x30B1BCBA;

int Once(MacosOnce* once, void (*function)()) {
    if (once->signature != kStatic) {
        return EINVAL;
    }
    return ErrorForMacos(pthread_once(&once->here, function));
}

}  // namespace

std::vector<Shim> OnceShims() {
    return {Function("_pthread_once", &Once)};
}

}  // namespace macho
