#include "support/leak_scope.h"

// Of the address sanitizer's library; null in a program without it.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace kvx_test {

LeakScope::LeakScope() {
    if (__lsan_disable != nullptr) {
        __lsan_disable();
    }
}

LeakScope::~LeakScope() {
    if (__lsan_enable != nullptr) {
        __lsan_enable();
    }
}

}  // namespace kvx_test
