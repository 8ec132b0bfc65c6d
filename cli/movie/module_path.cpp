#include "cli/movie/module_path.h"

#include <filesystem>
#include <system_error>

#include "hostkit/loaded_module.h"

#ifdef __APPLE__
#include <mach-o/dyld.h>

#include <climits>
#endif

namespace kvx_cli {

namespace {

namespace fs = std::filesystem;

fs::path ProgramFolder() {
    std::error_code error;
#ifdef __APPLE__
    char path[PATH_MAX] = {};
    uint32_t size = sizeof path;
    const fs::path program =
        _NSGetExecutablePath(path, &size) == 0 ? fs::canonical(path, error) : fs::path();
#else
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
#endif
    return program.parent_path();
}

}  // namespace

std::string FindModule() {
    const std::string built = kvx_hostkit::LoadedModule::BuiltPath();
    const fs::path name = fs::path(built).filename();
    const fs::path folder = ProgramFolder();
    for (const fs::path& candidate : {folder / name, folder / ".." / "lib" / "kvx" / name}) {
        std::error_code error;
        if (fs::exists(candidate, error)) {
            return candidate.string();
        }
    }
    return built;
}

}  // namespace kvx_cli
