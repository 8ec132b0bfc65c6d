// A Mach-O bundle that runs in this process.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "macho/loader/file.h"
#include "macho/loader/import_stubs.h"
#include "macho/loader/memory.h"
#include "macho/loader/thread_locals.h"
#include "macho/loader/unwinding.h"

namespace macho {

// What stands for something that an image imports. Its name has the underscore of the platform.
struct Shim {
    const char* name;
    const void* address;
    bool isData = false;
    unsigned named = 0;  // of a function with a variable number of arguments: how many have names
};

// Knows the shims and has a place for each where it is marked that it was called.
class ShimSource {
  public:
    virtual ~ShimSource() = default;
    virtual size_t Count() const = 0;
    // Null for a name that it does not know.
    virtual const Shim* Find(const std::string& name) const = 0;
    virtual char* Mark(const Shim& shim) = 0;
};

class Image {
  public:
    // Maps the image, binds it, and runs its initialisers. Throws LoadError.
    Image(const std::string& path, ShimSource& shims);

    // Runs what it has queued for its end, and takes it out of memory. None of its code may run.
    ~Image();

    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // The address of an exported name, with its underscore, or null.
    void* Find(const std::string& name) const;

    const std::string& Path() const { return mFile.Path(); }
    bool Holds(const void* address) const { return mMemory.Holds(address); }
    void* Header() const { return mMemory.Header(); }

  private:
    void BindImports(ShimSource& shims);
    void RunInitialisers() const;

    File mFile;
    Memory mMemory;
    ImportStubs mStubs;
    std::map<std::string, uint64_t> mExports;
    std::unique_ptr<ThreadLocals> mThreadLocals;
    std::unique_ptr<Unwinding> mUnwinding;
};

}  // namespace macho
