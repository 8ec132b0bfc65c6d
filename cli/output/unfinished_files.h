// Files that are being written. However the program ends, short of being killed outright, they go.
#pragma once

#include <sys/stat.h>

#include <string>

#include "cli/output/exit_code.h"

namespace kvx_cli {

// From now on SIGINT, SIGTERM and SIGHUP end the program with 128 and the signal's number, after
// unfinished files are removed; one that is ignored stays ignored. Once, while the program has one
// thread: the threads that it makes later inherit that they are not to take these signals.
void EndTidilyOnSignals();

// Removes unfinished files and ends the program, without waiting for any other thread of it.
[[noreturn]] void EndAtOnce(int exitCode);

// A file under a temporary name next to its destination, ".NAME.kvx-XXXXXX", until it is whole.
class UnfinishedFile {
  public:
    UnfinishedFile() = default;
    // Removes the file unless it has been put into place.
    ~UnfinishedFile();

    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    // Makes the file for `place`, with permissions `mode`. Its descriptor, for the caller to close;
    // -1 on failure, with errno.
    int Create(const std::string& place, mode_t mode);

    // Gives the file its name, in one step. False on failure, with errno: EEXIST where there is a
    // file of that name and it is not to be replaced.
    bool PutIntoPlace(bool mayReplace = true);

    void Remove();

  private:
    std::string mPlace;
    std::string mName;  // empty: there is none
};

}  // namespace kvx_cli
