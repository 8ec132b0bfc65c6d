#include "pipeline/read_buffers.h"

#include <pthread.h>
#include <time.h>

#include <atomic>
#include <cstdlib>

#include "core/log.h"
#include "pipeline/buffer_shelf.h"
#include "platform/large_memory.h"

namespace KVX {

using Core::Failed;

namespace {

using Buffer = ReadBuffers::Buffer;

// None of these has an end: the pools' threads free buffers until the process is gone.
pthread_mutex_t sLock = PTHREAD_MUTEX_INITIALIZER;
BufferShelf sShelf;
std::atomic<int> sKeepers{0};
bool sIsOffering = false;  // whether there is a thread that does; with the lock

constexpr timespec kRest = {1, 0};

// Without the lock, a call does without the shelf.
bool Lock() {
    return !Failed(pthread_mutex_lock(&sLock), "pthread_mutex_lock");
}

void Unlock() {
    Failed(pthread_mutex_unlock(&sLock), "pthread_mutex_unlock");
}

// Whether there was anything.
bool ClearShelf() {
    LeavingBuffers leaving;
    if (!Lock()) {
        return false;
    }
    sShelf.Clear(leaving);
    Unlock();
    return !leaving.IsEmpty();
}

char* AllocateFresh(size_t size) {
    auto* memory = static_cast<char*>(valloc(size));
    if (memory == nullptr && sKeepers > 0 && ClearShelf()) {
        memory = static_cast<char*>(valloc(size));
    }
    return memory;
}

// Puts a buffer on the shelf that has been offered, if there is one, or frees it: the last keeper
// counts itself out before it takes the lock to clear the shelf. Returns the buffer to offer next.
Buffer NextToOffer(const Buffer& offered) {
    LeavingBuffers leaving;
    if (!Lock()) {
        leaving.Add(offered.memory);
        return {};
    }
    if (offered.memory != nullptr) {
        if (sKeepers == 0) {
            leaving.Add(offered.memory);
        } else {
            sShelf.PutBackOffered(offered, leaving);
        }
    }
    const Buffer next = sShelf.TakeToOffer();
    Unlock();
    return next;
}

// Offers the system what nobody has asked for, for a whole rest. Frames that a host has asked for
// together come back together, and are wanted again the next moment: to have offered their memory
// in between takes time twice, for the offer and for writing to each of its pages the next time.
void OfferWhatRests() {
    for (bool isLeft = true; isLeft;) {
        nanosleep(&kRest, nullptr);
        // While one is being offered it is not on the shelf, where the next request might find it.
        for (Buffer cold = NextToOffer({}); cold.memory != nullptr; cold = NextToOffer(cold)) {
            Platform::OfferMemory(cold.memory, cold.size);
        }
        if (!Lock()) {
            return;
        }
        sShelf.BeginRest();
        isLeft = sShelf.HoldsTooMuch();
        sIsOffering = isLeft;
        Unlock();
    }
}

// A thread of its own, which ends when nothing is left to offer. Without one the next buffer that
// comes back has another try.
void StartOffering() {
    pthread_t thread;
    const int status = pthread_create(
        &thread, nullptr,
        [](void*) -> void* {
            OfferWhatRests();
            return nullptr;
        },
        nullptr);
    if (status == 0) {
        pthread_detach(thread);
    } else if (Lock()) {
        sIsOffering = false;
        Unlock();
    }
}

}  // namespace

ReadBuffers::Buffer ReadBuffers::Allocate(size_t size) {
    Buffer kept;
    if (size >= kLeastSize && Lock()) {
        kept = sShelf.Take(size);
        Unlock();
    }
    return kept.memory != nullptr ? kept : Buffer{AllocateFresh(size), size};
}

void ReadBuffers::Free(const Buffer& buffer) {
    if (buffer.size < kLeastSize || sKeepers == 0) {
        std::free(buffer.memory);
        return;
    }
    LeavingBuffers leaving;
    if (!Lock()) {
        leaving.Add(buffer.memory);
        return;
    }
    // The last keeper counts itself out before it takes the lock to clear the shelf.
    if (sKeepers == 0) {
        leaving.Add(buffer.memory);
    } else {
        sShelf.Put(buffer, leaving);
    }
    const bool starts = !sIsOffering && sShelf.HoldsTooMuch();
    if (starts) {
        sIsOffering = true;
        sShelf.BeginRest();
    }
    Unlock();
    if (starts) {
        StartOffering();
    }
}

ReadBuffers::Keeper::Keeper() {
    ++sKeepers;
}

// The host's thread, as it closes a clip.
ReadBuffers::Keeper::~Keeper() {
    if (--sKeepers > 0) {
        return;
    }
    LeavingBuffers leaving;
    if (Lock()) {
        sShelf.Clear(leaving);
        Unlock();
    }
    leaving.FreeElsewhere();
}

}  // namespace KVX
