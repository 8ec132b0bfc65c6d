#include "hostkit/loaded_module.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

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

std::string LoadedModule::DefaultPath() {
    const std::filesystem::path built = KVX_BUILT_MODULE;
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const std::filesystem::path beside = program.parent_path() / built.filename();
        if (std::filesystem::exists(beside, error)) {
            return beside.string();
        }
    }
    return built.string();
}

LoadedModule::~LoadedModule() {
    dlclose(mLibrary);
}

void* LoadedModule::Symbol(const char* name) const {
    return dlsym(mLibrary, name);
}

}  // namespace kvx_hostkit
