#include "support/sanitizers.h"

#if defined(__has_feature)  // Clang
#define KVX_HAS_FEATURE(feature) __has_feature(feature)
#else
#define KVX_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || KVX_HAS_FEATURE(address_sanitizer)
#define KVX_UNDER_ADDRESS_SANITIZER true
#else
#define KVX_UNDER_ADDRESS_SANITIZER false
#endif

#if defined(__SANITIZE_THREAD__) || KVX_HAS_FEATURE(thread_sanitizer)
#define KVX_UNDER_THREAD_SANITIZER true
#else
#define KVX_UNDER_THREAD_SANITIZER false
#endif

namespace kvx_test {

bool IsUnderAddressSanitizer() {
    return KVX_UNDER_ADDRESS_SANITIZER;
}

bool IsUnderThreadSanitizer() {
    return KVX_UNDER_THREAD_SANITIZER;
}

}  // namespace kvx_test
