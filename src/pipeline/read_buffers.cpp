#include "pipeline/read_buffers.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "core/log.h"
#include "platform/large_memory.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVX_WATCHES_ADDRESSES 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define KVX_WATCHES_ADDRESSES 1
#endif
#if defined(KVX_WATCHES_ADDRESSES)
#include <sanitizer/asan_interface.h>
#endif

namespace KVX {

using Core::Failed;

namespace {

using Buffer = ReadBuffers::Buffer;

// What is to be freed once the lock has been given back: that can take the system as long as a
// read.
class Leaving {
  public:
    Leaving() = default;
    ~Leaving() { std::for_each(mBuffers.begin(), mBuffers.begin() + mCount, &std::free); }

    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;

    void Add(char* memory) { mBuffers[static_cast<size_t>(mCount++)] = memory; }

  private:
    // All that is kept, and one that does not come to it.
    std::array<char*, ReadBuffers::kMostKept + 1> mBuffers{};
    std::ptrdiff_t mCount = 0;
};

// To the address sanitizer a kept buffer is freed memory.
void MarkKept([[maybe_unused]] const Buffer& buffer) {
#if defined(KVX_WATCHES_ADDRESSES)
    ASAN_POISON_MEMORY_REGION(buffer.memory, buffer.size);
#endif
}

void MarkTaken([[maybe_unused]] const Buffer& buffer) {
#if defined(KVX_WATCHES_ADDRESSES)
    ASAN_UNPOISON_MEMORY_REGION(buffer.memory, buffer.size);
#endif
}

// What is kept, the last that came at the end. Its functions want the lock held.
class Shelf {
  public:
    // Without memory when there is no such buffer.
    Buffer Take(size_t size) {
        for (size_t i = mCount; i-- > 0;) {
            if (mKept[i].size >= size && mKept[i].size - size <= ReadBuffers::kMostOver) {
                return TakeAt(i);
            }
        }
        return {};
    }

    // Makes room at the cost of other sizes, which are those of clips that are played no more, or
    // played beside this one. Without room the buffer leaves.
    void Put(const Buffer& buffer, Leaving& leaving) {
        for (size_t i = mCount; i-- > 0 && !HasRoom(buffer.size);) {
            if (!IsOfOneClip(mKept[i].size, buffer.size)) {
                leaving.Add(TakeAt(i).memory);
            }
        }
        if (!HasRoom(buffer.size)) {
            leaving.Add(buffer.memory);
            return;
        }
        MarkKept(buffer);
        mKept[mCount++] = buffer;
        mBytes += buffer.size;
    }

    // Wants no lock.
    size_t Bytes() const { return mBytes; }

    void Clear(Leaving& leaving) {
        while (mCount > 0) {
            leaving.Add(TakeAt(mCount - 1).memory);
        }
    }

  private:
    static bool IsOfOneClip(size_t size, size_t other) {
        return std::max(size, other) - std::min(size, other) <= ReadBuffers::kMostOver;
    }

    bool HasRoom(size_t size) const {
        return mCount < ReadBuffers::kMostKept && size <= ReadBuffers::kMostBytesKept - mBytes;
    }

    Buffer TakeAt(size_t index) {
        const Buffer buffer = mKept[index];
        std::copy(mKept + index + 1, mKept + mCount, mKept + index);
        --mCount;
        mBytes -= buffer.size;
        MarkTaken(buffer);
        return buffer;
    }

    Buffer mKept[ReadBuffers::kMostKept];
    size_t mCount = 0;
    std::atomic<size_t> mBytes{0};  // read without the lock as well
};

// None of these has an end: the pools' threads free buffers until the process is gone.
pthread_mutex_t sLock = PTHREAD_MUTEX_INITIALIZER;
Shelf sShelf;
std::atomic<int> sKeepers{0};

// Whoever cannot have the lock does without the shelf.
bool Lock() {
    return !Failed(pthread_mutex_lock(&sLock), "pthread_mutex_lock");
}

void Unlock() {
    Failed(pthread_mutex_unlock(&sLock), "pthread_mutex_unlock");
}

}  // namespace

ReadBuffers::Buffer ReadBuffers::Allocate(size_t size) {
    Buffer kept;
    if (size >= kLeastSize && Lock()) {
        kept = sShelf.Take(size);
        Unlock();
    }
    return kept.memory != nullptr ? kept : Buffer{static_cast<char*>(valloc(size)), size};
}

void ReadBuffers::Free(const Buffer& buffer) {
    if (buffer.size < kLeastSize || sKeepers == 0) {
        std::free(buffer.memory);
        return;
    }
    // Before it is on the shelf, where the next request may find it at once.
    if (sShelf.Bytes() + buffer.size > kMostBytesHeld) {
        Platform::OfferMemory(buffer.memory, buffer.size);
    }
    Leaving leaving;
    if (!Lock()) {
        leaving.Add(buffer.memory);
        return;
    }
    // The last keeper counts itself out before it takes the lock to clear the shelf.
    if (sKeepers > 0) {
        sShelf.Put(buffer, leaving);
    } else {
        leaving.Add(buffer.memory);
    }
    Unlock();
}

ReadBuffers::Keeper::Keeper() {
    ++sKeepers;
}

ReadBuffers::Keeper::~Keeper() {
    if (--sKeepers > 0) {
        return;
    }
    Leaving leaving;
    if (Lock()) {
        sShelf.Clear(leaving);
        Unlock();
    }
}

}  // namespace KVX
