#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <set>
#include <string>
#include <utility>

namespace kvx_cli {

// The files that a movie is read from: its own, and those of its media, which may be others. They
// are told apart by device and inode, so that no other name hides one.
class InputFiles {
  public:
    // Remembers what the program has open already, which is no input.
    InputFiles();

    // The file at `path`, if there is one.
    void Add(const std::string& path);

    // The regular files that have been opened since the construction and still are.
    void AddOpened();

    bool Has(const struct stat& file) const {
        return mFiles.count({file.st_dev, file.st_ino}) != 0;
    }

  private:
    std::set<int> mOpenBefore;
    std::set<std::pair<dev_t, ino_t>> mFiles;
};

}  // namespace kvx_cli
