#include "macho/module/loaded_image.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "macho/loader/image.h"
#include "macho/loader/load_error.h"
#include "macho/shims/ledger.h"
#include "macho/shims/shims.h"

extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* library);
extern "C" void __cxa_finalize(void* library);

namespace macho {

namespace {

// Set when the image must not be taken out of memory any more: its threads run, or the process
// leaves and others may still call.
std::atomic<bool> sStays{false};

struct Loaded {
    explicit Loaded(const std::string& path) : image(path, ledger) {}

    Ledger ledger{AllShims()};
    Image image;
};

const Loaded* sLoaded = nullptr;

const Loaded* Load() {
    const char* const named = std::getenv("KVX_MACHO");
    const std::string path = named != nullptr ? named : KVX_MACHO_DEFAULT;
    // To be called when the process ends and not when the library is unloaded: the handle is not
    // the library's.
    __cxa_atexit([](void*) { sStays = true; }, nullptr, &sLoaded);
    try {
        return new Loaded(path);
    } catch (const LoadError& error) {
        std::fprintf(stderr, "%s %s\n", path.c_str(), error.what());
        return nullptr;
    }
}

__attribute__((destructor)) void Unload() {
    if (!sStays) {
        __cxa_finalize(&sLoaded);
        delete sLoaded;
    }
}

}  // namespace

const Image* LoadedImage() {
    static std::once_flag sOnce;
    std::call_once(sOnce, [] { sLoaded = Load(); });
    return sLoaded == nullptr ? nullptr : &sLoaded->image;
}

bool HoldImage() {
    Dl_info here = {};
    if (dladdr(&sStays, &here) == 0 ||
        dlopen(here.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE) == nullptr) {
        return false;
    }
    sStays = true;
    return true;
}

}  // namespace macho
