#pragma once

#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace kvx_test {

// The process's open descriptors, without the one that the look itself takes.
inline std::set<int> OpenDescriptors() {
    std::set<int> open;
    DIR* const directory = opendir("/dev/fd");
    if (directory == nullptr) {
        return open;
    }
    while (const dirent* const entry = readdir(directory)) {
        if (entry->d_name[0] >= '0' && entry->d_name[0] <= '9') {
            open.insert(std::atoi(entry->d_name));
        }
    }
    open.erase(dirfd(directory));
    closedir(directory);
    return open;
}

}  // namespace kvx_test
