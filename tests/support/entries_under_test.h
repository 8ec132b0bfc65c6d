// Which importer a test program puts to the test.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/entry.h"
#include "hostkit/loaded_module.h"

namespace kvx_test {

// Whether it is the importer that is linked into the program. The environment variable
// KVX_TEST_MODULE names another, to be loaded.
inline bool IsLinkedIn() {
    return std::getenv("KVX_TEST_MODULE") == nullptr;
}

// The functions of that importer. A loaded module stays to the end of the process, as with a host:
// its threads live that long.
inline kvx_hostkit::EntryPoints EntriesUnderTest() {
    if (IsLinkedIn()) {
        return {&xImportEntry, &AsyncImportEntry};
    }
    std::string error;
    static const kvx_hostkit::LoadedModule* const module =
        kvx_hostkit::LoadedModule::Load(kvx_hostkit::LoadedModule::BuiltPath(), error).release();
    if (module == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::abort();
    }
    return module->Entries();
}

}  // namespace kvx_test
