#include "host/entry.h"

#include <cstdint>

#include "core/log.h"
#include "core/status.h"

namespace {

// The host looks at 32 bits of a status, and takes the whole register for a signed number.
long HostResult(long status) {
    return static_cast<int32_t>(status);
}

template <typename Table>
bool HasSelector(const Table& table, int selector) {
    return selector >= 0 && static_cast<size_t>(selector) < table.size();
}

}  // namespace

extern "C" {

long xImportEntry(int selector, imStdParms* stdParms, long param1, long param2) {
    if (!HasSelector(fileImportFunctions, selector)) {
        KVX_LOG("Invalid selector: %d\n", selector);
        return imUnsupported;
    }
    // The logic reports by statuses. What can still be thrown is a lack of memory, from the
    // standard containers.
    try {
        return HostResult(
            fileImportFunctions[static_cast<size_t>(selector)](stdParms, param1, param2));
    } catch (...) {
        KVX_LOG("Selector %d ended with an exception\n", selector);
        return imMemErr;
    }
}

long AsyncImportEntry(int selector, void* record) {
    if (!HasSelector(asyncImportFunctions, selector)) {
        KVX_LOG("Invalid selector: %d\n", selector);
        return aiUnsupported;
    }
    try {
        return HostResult(asyncImportFunctions[static_cast<size_t>(selector)](record));
    } catch (...) {
        KVX_LOG("Selector %d ended with an exception\n", selector);
        return KVX::Core::kStatusNoMemory;
    }
}
}
