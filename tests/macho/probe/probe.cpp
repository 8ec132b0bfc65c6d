// Code for macOS that the tests of the loader look at: each function does one thing that goes wrong
// when the loader does not do its part.
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#define KVX_PROBE extern "C" __attribute__((visibility("default"), noinline))

namespace {

thread_local int sCounter = 42;
thread_local char sZeroes[64];
int sInitialised = 0;

struct Initialiser {
    Initialiser() { sInitialised = 7; }
};
const Initialiser sInitialiser;

struct AtEnd {
    explicit AtEnd(int* count) : mCount(count) {}
    ~AtEnd() { ++*mCount; }
    int* mCount;
};

struct Thrown {
    int value;
};

// Frames of several kinds between the throw and the catch: with an object to destroy in each, and
// with room on the stack that is known at run time only.
__attribute__((noinline)) int Throw(int depth, int value, int* destroyed) {
    const AtEnd end(destroyed);
    char* const room = static_cast<char*>(__builtin_alloca(static_cast<size_t>(depth) * 100 + 16));
    std::snprintf(room, 16, "%d", depth);
    if (depth == 0) {
        throw Thrown{value};
    }
    return Throw(depth - 1, value, destroyed) + room[0];
}

__attribute__((noinline)) int ThrowSmall(int value) {
    if (value >= 0) {
        throw Thrown{value};
    }
    return value;
}

}  // namespace

KVX_PROBE int probe_initialised() {
    return sInitialised;
}

// The calling thread's counter, behind one more step.
KVX_PROBE int probe_count() {
    return ++sCounter;
}

// Asks for a thread's variable between the arguments of a call that has them in every register.
KVX_PROBE int probe_variadic(char* text, unsigned long size, double a, double b, int c) {
    return std::snprintf(text, size, "%g %d %g %d %g %s|", a, c, b, sCounter, a + b, sZeroes);
}

// The value thrown, with the objects destroyed on its way.
KVX_PROBE int probe_throw(int depth, int value, int* destroyed) {
    try {
        return Throw(depth, value, destroyed);
    } catch (const Thrown& thrown) {
        return thrown.value;
    }
}

KVX_PROBE int probe_throw_small(int value) {
    try {
        return ThrowSmall(value);
    } catch (const Thrown& thrown) {
        return -thrown.value;
    }
}

// Through frames of both systems: what `callback` throws is no type that is known here.
KVX_PROBE int probe_catch(void (*callback)(), int* destroyed) {
    try {
        const AtEnd end(destroyed);
        callback();
    } catch (...) {
        return 1;
    }
    return 0;
}

// Lets what is thrown pass.
KVX_PROBE void probe_pass(void (*callback)(), int* destroyed) {
    const AtEnd end(destroyed);
    callback();
}

// What errno is after the open, 0 after success.
KVX_PROBE int probe_open(const char* path, int* descriptor) {
    errno = 0;
    *descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return *descriptor < 0 ? errno : 0;
}

KVX_PROBE int probe_close(int descriptor) {
    return close(descriptor) != 0 ? errno : 0;
}

KVX_PROBE const char* probe_error_text(int number) {
    return std::strerror(number);
}

KVX_PROBE int probe_stat(int descriptor, long long* size, int* mode, long long* modified,
                         unsigned long long* file) {
    struct stat state;
    std::memset(&state, 0x5A, sizeof state);
    static_assert(sizeof state == 144);
    if (fstat(descriptor, &state) != 0) {
        return errno;
    }
    *size = state.st_size;
    *mode = state.st_mode;
    *modified = state.st_mtimespec.tv_sec;
    *file = state.st_ino;
    return 0;
}

// One that nothing but zeroes were written to: no mutex.
KVX_PROBE int probe_zeroed_mutex() {
    alignas(pthread_mutex_t) char zeroes[sizeof(pthread_mutex_t)] = {};
    return pthread_mutex_lock(reinterpret_cast<pthread_mutex_t*>(zeroes));
}

KVX_PROBE int probe_static_mutex() {
    static pthread_mutex_t sMutex = PTHREAD_MUTEX_INITIALIZER;
    const int locked = pthread_mutex_lock(&sMutex);
    return locked != 0 ? locked : pthread_mutex_unlock(&sMutex);
}

// The call after the end of a mutex.
KVX_PROBE int probe_destroyed_mutex() {
    pthread_mutex_t mutex;
    if (pthread_mutex_init(&mutex, nullptr) != 0 || pthread_mutex_destroy(&mutex) != 0) {
        return -1;
    }
    return pthread_mutex_lock(&mutex);
}

KVX_PROBE int probe_zeroed_once() {
    alignas(pthread_once_t) char zeroes[sizeof(pthread_once_t)] = {};
    return pthread_once(reinterpret_cast<pthread_once_t*>(zeroes), [] { sInitialised = -1; });
}

KVX_PROBE int probe_zeroed_condition() {
    alignas(pthread_cond_t) char zeroes[sizeof(pthread_cond_t)] = {};
    return pthread_cond_signal(reinterpret_cast<pthread_cond_t*>(zeroes));
}

// Runs `work` on a thread of its own and waits on a condition variable until it has.
KVX_PROBE int probe_thread(void (*work)()) {
    struct Job {
        void (*work)();
        bool isDone;
        pthread_mutex_t mutex;
        pthread_cond_t condition;
    };
    Job job = {work, false, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER};
    pthread_t thread;
    const int error = pthread_create(
        &thread, nullptr,
        [](void* argument) -> void* {
            Job* const given = static_cast<Job*>(argument);
            given->work();
            pthread_mutex_lock(&given->mutex);
            given->isDone = true;
            pthread_cond_signal(&given->condition);
            pthread_mutex_unlock(&given->mutex);
            return nullptr;
        },
        &job);
    if (error != 0) {
        return error;
    }
    pthread_mutex_lock(&job.mutex);
    while (!job.isDone) {
        pthread_cond_wait(&job.condition, &job.mutex);
    }
    pthread_mutex_unlock(&job.mutex);
    return pthread_join(thread, nullptr);
}

// Writes behind the end of an array.
KVX_PROBE void probe_overrun(const char* text) {
    char room[8];
    char* volatile place = room;
    std::memcpy(place, text, std::strlen(text) + 1);
}
