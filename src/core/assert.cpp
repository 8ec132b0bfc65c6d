#include "core/assert.h"

#include <cstdlib>

namespace KVX::Core {

void AssertionFailed(const char* condition, LogSite site) {
    LogLine(site, "Broken promise: %s\n", condition);
    std::abort();
}

}  // namespace KVX::Core
