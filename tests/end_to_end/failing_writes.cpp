// Preloaded into the command, lets one of its pwrite and fsync calls go wrong, as KVX_FAILING_WRITE
// says: "N HOW", N counting both from 1. HOW is "before" (killed instead of the call), "after"
// (killed after it), "error" (EIO, and nothing done) or "short" (a pwrite of one byte).
#include <dlfcn.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int gCalls = 0;

struct Order {
    int nth = 0;
    char how[16] = "";

    Order() {
        const char* const text = std::getenv("KVX_FAILING_WRITE");
        if (text == nullptr || std::sscanf(text, "%d %15s", &nth, how) != 2) {
            nth = 0;
        }
    }
    bool Is(const char* word) const { return std::strcmp(how, word) == 0; }
};

template <typename Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <typename Result, typename Call>
Result Fail(Call call) {
    static const Order order;
    if (++gCalls != order.nth || order.Is("short")) {
        return call();
    }
    if (order.Is("error")) {
        errno = EIO;
        return -1;
    }
    if (order.Is("after")) {
        call();
    }
    kill(getpid(), SIGKILL);
    return -1;
}

ssize_t Pwrite(int file, const void* bytes, size_t size, off_t offset) {
    static const Order order;
    const size_t cut = order.Is("short") && gCalls + 1 == order.nth ? 1 : size;
    return Fail<ssize_t>([=] {
        return Next<ssize_t(int, const void*, size_t, off_t)>("pwrite64")(file, bytes, cut, offset);
    });
}

int Sync(const char* name, int file) {
    return Fail<int>([=] { return Next<int(int)>(name)(file); });
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ssize_t pwrite(int file, const void* bytes,
                                                                 size_t size, off_t offset) {
    return Pwrite(file, bytes, size, offset);
}

extern "C" __attribute__((visibility("default"))) ssize_t pwrite64(int file, const void* bytes,
                                                                   size_t size, off_t offset) {
    return Pwrite(file, bytes, size, offset);
}

extern "C" __attribute__((visibility("default"))) int fsync(int file) {
    return Sync("fsync", file);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int file) {
    return Sync("fdatasync", file);
}
