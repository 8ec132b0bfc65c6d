// The module's five names. Each is an indirect function: looking it up runs its resolver, and the
// answer is the address inside the image, of code or of data.
#include "macho/loader/image.h"
#include "macho/module/loaded_image.h"

namespace {

using Anything = void (*)();

Anything Find(const char* name) {
    const macho::Image* const image = macho::LoadedImage();
    return image == nullptr ? nullptr : reinterpret_cast<Anything>(image->Find(name));
}

}  // namespace

// An ifunc names its resolver as the assembler does, and Clang mangles the name of a static one.
#define KVX_INDIRECT(name)                                           \
    __attribute__((visibility("hidden"))) Anything resolve_##name(); \
    Anything resolve_##name() {                                      \
        return Find("_" #name);                                      \
    }                                                                \
    __attribute__((visibility("default"), ifunc("resolve_" #name))) void name()

extern "C" {

KVX_INDIRECT(xImportEntry);
KVX_INDIRECT(AsyncImportEntry);
KVX_INDIRECT(xMoviePlayable);
KVX_INDIRECT(fileImportFunctions);
KVX_INDIRECT(asyncImportFunctions);
}
