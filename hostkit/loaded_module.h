#pragma once

#include <memory>
#include <string>

#include "premiere/import_records.h"

namespace kvx_hostkit {

// The two functions that lead into an importer: of the module that was loaded, or of the library
// that is linked in.
struct EntryPoints {
    long (*import)(int selector, imStdParms* stdParms, long param1, long param2) = nullptr;
    long (*async)(int selector, void* record) = nullptr;
};

// The importer as the host has it: loaded from its file while the program runs.
class LoadedModule {
  public:
    // Null if the file cannot be loaded or is no importer; `error` then says why.
    static std::unique_ptr<LoadedModule> Load(const std::string& path, std::string& error);

    // The module that was built together with the program, unless the environment variable
    // KVX_TEST_MODULE names another.
    static std::string BuiltPath();

    // The code of a module whose worker threads run stays in the process for good.
    ~LoadedModule();

    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

    const EntryPoints& Entries() const { return mEntries; }

    // The address of an exported name, or null.
    void* Symbol(const char* name) const;

  private:
    explicit LoadedModule(void* library) : mLibrary(library) {}

    void* mLibrary;
    EntryPoints mEntries;
};

}  // namespace kvx_hostkit
