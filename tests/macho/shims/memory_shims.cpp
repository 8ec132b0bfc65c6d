// Memory, of the allocator and of the system. A program can let allocations of the image fail: it
// exports kvx_macho_allocation_fails, which is asked at each.
#include <dlfcn.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "macho/shims/error_numbers.h"
#include "macho/shims/shims.h"

namespace macho {

namespace {

bool Fails() {
    using Question = bool (*)();
    static const auto sFails =
        reinterpret_cast<Question>(dlsym(RTLD_DEFAULT, "kvx_macho_allocation_fails"));
    const bool fails = sFails != nullptr && sFails();
    if (fails) {
        errno = ENOMEM;
    }
    return fails;
}

void* Malloc(size_t size) {
    return Fails() ? nullptr : malloc(size);
}

void* Calloc(size_t count, size_t size) {
    return Fails() ? nullptr : calloc(count, size);
}

void* Valloc(size_t size) {
    return Fails() ? nullptr : valloc(size);
}

// Which of the two the C++ library calls goes by the oldest macOS that it is made for.
#if defined(__x86_64__)

int PosixMemalign(void** memory, size_t alignment, size_t size) {
    return ErrorForMacos(Fails() ? ENOMEM : posix_memalign(memory, alignment, size));
}

Shim Aligned() {
    return Function("_posix_memalign", &PosixMemalign);
}

#else

void* AlignedAlloc(size_t alignment, size_t size) {
    return Fails() ? nullptr : aligned_alloc(alignment, size);
}

Shim Aligned() {
    return TellingErrors<&AlignedAlloc>("_aligned_alloc");
}

#endif

enum MacosMapFlags : int {
    kShared = 0x0001,
    kPrivate = 0x0002,
    kFixed = 0x0010,
    kAnonymous = 0x1000,
};

void* Map(void* address, size_t size, int protection, int flags, int descriptor, off_t offset) {
    int here = 0;
    here |= (flags & kShared) != 0 ? MAP_SHARED : 0;
    here |= (flags & kPrivate) != 0 ? MAP_PRIVATE : 0;
    here |= (flags & kFixed) != 0 ? MAP_FIXED : 0;
    here |= (flags & kAnonymous) != 0 ? MAP_ANONYMOUS : 0;
    if ((flags & ~(kShared | kPrivate | kFixed | kAnonymous)) != 0) {
        errno = EINVAL;
        return MAP_FAILED;
    }
    return Fails() ? MAP_FAILED : mmap(address, size, protection, here, descriptor, offset);
}

constexpr int kMacosAdviseFree = 5;

int Advise(void* memory, size_t size, int advice) {
    // The first four are the same.
    if (advice < 0 || advice > kMacosAdviseFree) {
        errno = EINVAL;
        return -1;
    }
    return madvise(memory, size, advice == kMacosAdviseFree ? MADV_FREE : advice);
}

}  // namespace

std::vector<Shim> MemoryShims() {
    return {
        TellingErrors<&Calloc>("_calloc"),      Function("_free", &free),
        Function("_getpagesize", &getpagesize), TellingErrors<&Advise>("_madvise"),
        TellingErrors<&Malloc>("_malloc"),      TellingErrors<&Map>("_mmap"),
        TellingErrors<&munmap>("_munmap"),      Aligned(),
        TellingErrors<&Valloc>("_valloc"),
    };
}

}  // namespace macho
