#pragma once

// Tests are compiled without sanitizers and linked with libraries that have one, so that a test
// asks at run time whether they have.

namespace kvx_test {

bool IsUnderAddressSanitizer();
bool IsUnderThreadSanitizer();

inline bool IsUnderSanitizer() {
    return IsUnderAddressSanitizer() || IsUnderThreadSanitizer();
}

}  // namespace kvx_test
