#include "hostkit/loaded_module.h"

#include <dlfcn.h>

namespace kvx_hostkit {

std::unique_ptr<LoadedModule> LoadedModule::Load(const std::string& path, std::string& error) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        error = dlerror();
        return nullptr;
    }
    std::unique_ptr<LoadedModule> module(new LoadedModule(library));
    module->mEntries.import =
        reinterpret_cast<decltype(EntryPoints::import)>(module->Symbol("xImportEntry"));
    module->mEntries.async =
        reinterpret_cast<decltype(EntryPoints::async)>(module->Symbol("AsyncImportEntry"));
    if (module->mEntries.import == nullptr || module->mEntries.async == nullptr) {
        error = path + ": not an importer";
        return nullptr;
    }
    return module;
}

LoadedModule::~LoadedModule() {
    dlclose(mLibrary);
}

void* LoadedModule::Symbol(const char* name) const {
    return dlsym(mLibrary, name);
}

}  // namespace kvx_hostkit
