// Loads the installed module and asks it what it imports.
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>

#include "premiere/import_records.h"

namespace {

constexpr const char* kNames[] = {"xImportEntry", "AsyncImportEntry", "xMoviePlayable",
                                  "fileImportFunctions", "asyncImportFunctions"};

using Entry = long (*)(int selector, imStdParms* stdParms, long param1, long param2);

int Fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    return 1;
}

}  // namespace

int main() {
    void* const module = dlopen(MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        return Fail(dlerror());
    }
    for (const char* name : kNames) {
        if (dlsym(module, name) == nullptr) {
            return Fail(name);
        }
    }
    const auto entry = reinterpret_cast<Entry>(dlsym(module, "xImportEntry"));
    imStdParms parameters = {};
    imIndFormatRec format = {};
    if (entry(imGetIndFormat, &parameters, 0, reinterpret_cast<intptr_t>(&format)) != imNoErr) {
        return Fail("there is no first format");
    }
    constexpr int32_t kMovie = 'M' << 24 | 'o' << 16 | 'o' << 8 | 'V';
    return format.filetype == kMovie ? 0 : Fail("the first format is another");
}
