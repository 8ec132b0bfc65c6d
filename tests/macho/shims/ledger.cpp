#include "macho/shims/ledger.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "macho/loader/load_error.h"

namespace macho {

namespace {

// The file's text as shared memory; the first process writes it.
void* Share(const char* path, const std::string& fresh) {
    const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (file == -1 || flock(file, LOCK_EX) != 0) {
        throw LoadError("cannot write its ledger");
    }
    struct stat state = {};
    const bool isFresh = fstat(file, &state) == 0 && state.st_size == 0;
    const auto size = static_cast<ssize_t>(fresh.size());
    if (isFresh ? write(file, fresh.data(), fresh.size()) != size : state.st_size != size) {
        throw LoadError("finds the ledger of other shims");
    }
    void* const text = mmap(nullptr, fresh.size(), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    flock(file, LOCK_UN);  // the mapping keeps the file open, and the lock with it
    close(file);
    return text;
}

}  // namespace

Ledger::Ledger(const std::vector<Shim>& shims) {
    for (const Shim& shim : shims) {
        mShims[shim.name] = shim;
    }
    std::string fresh;
    for (const auto& [name, shim] : mShims) {
        mPlaces[name] = fresh.size();
        fresh += "- " + name + "\n";
    }
    const char* const path = std::getenv("KVX_MACHO_LEDGER");
    void* const text = path != nullptr ? Share(path, fresh)
                                       : mmap(nullptr, fresh.size(), PROT_READ | PROT_WRITE,
                                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (text == MAP_FAILED) {
        throw LoadError("finds no memory");
    }
    mText = static_cast<char*>(text);
}

const Shim* Ledger::Find(const std::string& name) const {
    const auto found = mShims.find(name);
    return found == mShims.end() ? nullptr : &found->second;
}

char* Ledger::Mark(const Shim& shim) {
    return mText + mPlaces.at(shim.name);
}

}  // namespace macho
