#include "macho/loader/import_stubs.h"

#include <sys/mman.h>
#include <unistd.h>

#include "macho/loader/architecture.h"
#include "macho/loader/load_error.h"

namespace macho {

ImportStubs::ImportStubs(size_t count) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    mSize = (count * kImportStubSize / page + 1) * page;
    void* const memory =
        mmap(nullptr, mSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw LoadError("finds no memory");
    }
    mMemory = static_cast<unsigned char*>(memory);
}

const void* ImportStubs::Add(char* mark, const void* target, unsigned named) {
    if (mSize - mUsed < kImportStubSize) {
        throw LoadError("imports more than there are shims");
    }
    unsigned char* const place = mMemory + mUsed;
    WriteImportStub(place, mark, target, named);
    mUsed += kImportStubSize;
    return place;
}

void ImportStubs::Protect() const {
    __builtin___clear_cache(reinterpret_cast<char*>(mMemory),
                            reinterpret_cast<char*>(mMemory + mSize));
    if (mprotect(mMemory, mSize, PROT_READ | PROT_EXEC) != 0) {
        throw LoadError("cannot be protected");
    }
}

}  // namespace macho
