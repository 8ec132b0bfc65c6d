#include "pipeline/read_buffers.h"

#include <pthread.h>

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

// Puts a buffer on the shelf, or among those to be freed: the last keeper counts itself out before
// it takes the lock to clear the shelf. Returns the buffer to offer to the system next.
Buffer Keep(const Buffer& buffer, bool isOffered) {
    LeavingBuffers leaving;
    if (!Lock()) {
        leaving.Add(buffer.memory);
        return {};
    }
    if (sKeepers == 0) {
        leaving.Add(buffer.memory);
    } else if (isOffered) {
        sShelf.PutBackOffered(buffer, leaving);
    } else {
        sShelf.Put(buffer, leaving);
    }
    const Buffer next = sShelf.TakeToOffer();
    Unlock();
    return next;
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
    // While one is being offered it is not on the shelf, where the next request might find it.
    Buffer cold = Keep(buffer, false);
    while (cold.memory != nullptr) {
        Platform::OfferMemory(cold.memory, cold.size);
        cold = Keep(cold, true);
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
