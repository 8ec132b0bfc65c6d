#include "support/temp_directory.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace kvx_test {

TempDirectory::TempDirectory() : mPath("/tmp/kvx-test-XXXXXX") {
    if (mkdtemp(mPath.data()) == nullptr) {
        std::perror("mkdtemp");
        std::abort();
    }
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

}  // namespace kvx_test
