#include "cli/output/input_files.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace kvx_cli {

namespace {

constexpr int kMostDescriptors = 1 << 16;

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

std::set<int> OpenDescriptors() {
    std::set<int> descriptors;
    const std::unique_ptr<DIR, CloseFolder> folder(opendir("/dev/fd"));
    if (folder != nullptr) {
        while (const dirent* const entry = readdir(folder.get())) {
            char* end = nullptr;
            const long number = std::strtol(entry->d_name, &end, 10);
            if (end != entry->d_name && *end == '\0' && number != dirfd(folder.get())) {
                descriptors.insert(static_cast<int>(number));
            }
        }
    }
    if (descriptors.empty()) {
        const long most = std::min<long>(sysconf(_SC_OPEN_MAX), kMostDescriptors);
        for (int number = 0; number < most; ++number) {
            struct stat ignored;
            if (fstat(number, &ignored) == 0) {
                descriptors.insert(number);
            }
        }
    }
    return descriptors;
}

}  // namespace

InputFiles::InputFiles() : mOpenBefore(OpenDescriptors()) {}

void InputFiles::Add(const std::string& path) {
    struct stat file = {};
    if (stat(path.c_str(), &file) == 0) {
        mFiles.emplace(file.st_dev, file.st_ino);
    }
}

void InputFiles::AddOpened() {
    for (const int descriptor : OpenDescriptors()) {
        struct stat file = {};
        if (mOpenBefore.count(descriptor) == 0 && fstat(descriptor, &file) == 0 &&
            S_ISREG(file.st_mode)) {
            mFiles.emplace(file.st_dev, file.st_ino);
        }
    }
}

}  // namespace kvx_cli
