#include "cli/output/output_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace kvx_cli {

std::string CannotWrite(const std::string& place, int error) {
    return "cannot write " + place + ": " + std::strerror(error);
}

std::string MakeOutputFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) {
        return {};
    }
    return CannotWrite(folder, error ? error.value() : ENOTDIR);
}

std::string CloseOutputFile(std::FILE* file, const std::string& path, bool written) {
    int error = written ? 0 : errno;
    if (std::fclose(file) != 0 && written) {
        error = errno;
    }
    if (written && error == 0) {
        return {};
    }
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored)) {  // not a device
        std::filesystem::remove(path, ignored);
    }
    return CannotWrite(path, error != 0 ? error : EIO);
}

std::string FramePath(const std::string& folder, int64_t frame, const std::string& extension) {
    char number[32];
    std::snprintf(number, sizeof number, "%06lld", static_cast<long long>(frame));
    return (std::filesystem::path(folder) / (number + ("." + extension))).string();
}

}  // namespace kvx_cli
