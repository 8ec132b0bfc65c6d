#include "macho/loader/image.h"

#include <unistd.h>

#include "macho/loader/binds.h"
#include "macho/loader/exports_trie.h"
#include "macho/loader/rebases.h"

extern "C" void __cxa_finalize(void* library);

namespace macho {

Image::Image(const std::string& path, ShimSource& shims)
    : mFile(path), mMemory(mFile), mStubs(shims.Count()), mExports(ReadExports(mFile.Exports())) {
    for (const auto& [name, offset] : mExports) {
        if (!mMemory.Holds(mMemory.Header() + offset)) {
            throw LoadError("exports what it does not hold");
        }
    }
    Rebase(mFile.Rebases(), mMemory);
    BindImports(shims);
    mThreadLocals = std::make_unique<ThreadLocals>(mFile, mMemory);
    mMemory.Protect();
    mUnwinding = std::make_unique<Unwinding>(mFile, mMemory);
    RunInitialisers();
}

Image::~Image() {
    __cxa_finalize(Header());
}

void Image::BindImports(ShimSource& shims) {
    std::string missing;
    std::map<std::string, const void*> bound;
    const auto resolve = [&](const std::string& name) -> const void* {
        const auto known = bound.find(name);
        if (known != bound.end()) {
            return known->second;
        }
        const Shim* const shim = shims.Find(name);
        const void* address = nullptr;
        if (shim == nullptr) {
            missing += " " + name;
        } else if (shim->isData) {
            *shims.Mark(*shim) = '+';
            address = shim->address;
        } else {
            address = mStubs.Add(shims.Mark(*shim), shim->address, shim->named);
        }
        return bound[name] = address;
    };
    Bind(mFile.Binds(), BindList::kEager, mMemory, resolve);
    Bind(mFile.LazyBinds(), BindList::kLazy, mMemory, resolve);
    if (mFile.WeakBinds().Size() != 0) {
        throw LoadError("shares definitions with other images");
    }
    if (!missing.empty()) {
        throw LoadError("imports what has no shim:" + missing);
    }
    mStubs.Protect();
}

void Image::RunInitialisers() const {
    using Initialiser = void (*)(int, const char**, char**, const char**);
    static const char* sNothing[] = {nullptr};
    for (const Section& section : mFile.Sections()) {
        if (section.type == kTerminatorPointers || section.type == kInitialiserOffsets) {
            throw LoadError("has initialisers of an unknown kind");
        }
        if (section.type == kInitialiserPointers) {
            const auto* const functions =
                reinterpret_cast<const Initialiser*>(mMemory.At(section.address, section.size));
            for (uint64_t index = 0; index < section.size / sizeof(Initialiser); ++index) {
                functions[index](0, sNothing, environ, sNothing);
            }
        }
    }
}

void* Image::Find(const std::string& name) const {
    const auto found = mExports.find(name);
    return found == mExports.end() ? nullptr : mMemory.Header() + found->second;
}

}  // namespace macho
