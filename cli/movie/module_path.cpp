#include "cli/movie/module_path.h"

#include <filesystem>
#include <system_error>

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
    const fs::path folder = ProgramFolder();
    const fs::path beside = folder / KVX_MODULE_BESIDE;
    std::error_code error;
    return fs::exists(beside, error) ? beside.string()
                                     : (folder / ".." / "lib" / "kvx" / KVX_MODULE_BESIDE).string();
}

}  // namespace kvx_cli
