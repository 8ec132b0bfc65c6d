// The system's loader, as far as code asks for it while it runs.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "macho/loader/image.h"
#include "macho/module/loaded_image.h"
#include "macho/shims/shims.h"

namespace macho {

namespace {

// Names are bound when the image is loaded.
[[noreturn]] void BindLazily() {
    std::fprintf(stderr, "a name was left to be bound lazily\n");
    std::abort();
}

// The loader puts a thunk of its own into each descriptor.
[[noreturn]] void UnboundThreadLocal() {
    std::fprintf(stderr, "a thread-local variable has no thunk\n");
    std::abort();
}

enum MacosOpenFlags : int {
    kOnlyLoaded = 0x10,
    kNeverDelete = 0x80,
};

int Address(const void* address, Dl_info* info) {
    const Image* const image = LoadedImage();
    if (image == nullptr || !image->Holds(address)) {
        return 0;
    }
    *info = {};
    info->dli_fname = image->Path().c_str();
    info->dli_fbase = image->Header();
    return 1;
}

// Only the image itself can be opened again.
void* Open(const char* path, int flags) {
    const Image* const image = LoadedImage();
    if (image == nullptr || path == nullptr || path != image->Path() ||
        (flags & kOnlyLoaded) == 0) {
        return nullptr;
    }
    if ((flags & kNeverDelete) != 0 && !HoldImage()) {
        return nullptr;
    }
    return image->Header();
}

void* Symbol(void*, const char*) {
    return nullptr;
}

}  // namespace

std::vector<Shim> DyldShims() {
    return {
        Function("__tlv_bootstrap", &UnboundThreadLocal),
        Function("_dladdr", &Address),
        Function("_dlopen", &Open),
        Function("_dlsym", &Symbol),
        Function("dyld_stub_binder", &BindLazily),
    };
}

}  // namespace macho
