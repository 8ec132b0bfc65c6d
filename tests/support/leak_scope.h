#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVX_TEST_WATCHES_LEAKS 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define KVX_TEST_WATCHES_LEAKS 1
#endif

#if defined(KVX_TEST_WATCHES_LEAKS)
#include <sanitizer/lsan_interface.h>
#endif

namespace kvx_test {

// For code that keeps memory for good by design: what is allocated on this thread while the scope
// lives is not reported as leaked.
class LeakScope {
  public:
#if defined(KVX_TEST_WATCHES_LEAKS)
    LeakScope() {
        __lsan_disable();
    }
    ~LeakScope() {
        __lsan_enable();
    }
#else
    LeakScope() {}
    ~LeakScope() {}
#endif

    LeakScope(const LeakScope&) = delete;
    LeakScope& operator=(const LeakScope&) = delete;
};

}  // namespace kvx_test
