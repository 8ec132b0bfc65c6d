#include "core/per_thread_buffer.h"

#include <pthread.h>

#include <cerrno>
#include <cstdlib>

#include "core/log.h"
#include "core/never_destroyed.h"

namespace KVX::Core {

// The lines of this file carry no function name: the printers that build the other lines' texts
// live on these buffers, so that the way out for their failures is kept apart and plain.

namespace {

NeverDestroyed<Once> sOnce(&InitPerThreadBuffers);

}  // namespace

Once& sUtilPrinterOnce = *sOnce;

namespace {

// A thread-specific key that may not have been made. The number of such a key would be another
// library's key, or none at all.
struct Key {
    pthread_key_t key;
    bool isMade;
};

Key sPerThreadBufferKey;
Key sPerThreadBufferOffsetKey;

using Offset = unsigned long;
static_assert(sizeof(Offset) == 8, "the offset cell is eight bytes");

void MakeKey(Key& key) {
    const int status = pthread_key_create(&key.key, &std::free);
    key.isMade = status == 0;
    if (status != 0) {
        LogText("pthread_key_create returned %d\n", status);
    }
}

void* GetSpecific(const Key& key) {
    return key.isMade ? pthread_getspecific(key.key) : nullptr;
}

// Gives the calling thread `memory` under `key`, or frees it. False after a log line.
bool SetSpecific(const Key& key, void* memory) {
    const int status = key.isMade ? pthread_setspecific(key.key, memory) : EINVAL;
    if (status != 0) {
        LogText("pthread_setspecific returned %d\n", status);
        std::free(memory);
        return false;
    }
    return true;
}

char* GetBlock() {
    void* block = GetSpecific(sPerThreadBufferKey);
    if (block != nullptr) {
        return static_cast<char*>(block);
    }
    block = std::malloc(kPerThreadBufferSize);
    if (block == nullptr) {
        LogText("Failed to allocate %lu byte buffer for thread %p\n", kPerThreadBufferSize,
                reinterpret_cast<void*>(pthread_self()));  // NOLINT(performance-no-int-to-ptr)
        return nullptr;
    }
    return SetSpecific(sPerThreadBufferKey, block) ? static_cast<char*>(block) : nullptr;
}

Offset* GetOffsetCell() {
    void* cell = GetSpecific(sPerThreadBufferOffsetKey);
    if (cell != nullptr) {
        return static_cast<Offset*>(cell);
    }
    const unsigned long size = sizeof(Offset);
    cell = std::calloc(1, size);
    if (cell == nullptr) {
        LogText("Failed to allocate %lu byte offset buffer for thread %p\n", size,
                reinterpret_cast<void*>(pthread_self()));  // NOLINT(performance-no-int-to-ptr)
        return nullptr;
    }
    return SetSpecific(sPerThreadBufferOffsetKey, cell) ? static_cast<Offset*>(cell) : nullptr;
}

}  // namespace

void InitPerThreadBuffers() {
    MakeKey(sPerThreadBufferKey);
    MakeKey(sPerThreadBufferOffsetKey);
}

char* GetPerThreadBuffer(unsigned long size) {
    if (size > kPerThreadBufferSize) {
        LogText("Per-thread buffer of %lu requested but limit is %lu\n", size,
                kPerThreadBufferSize);
        return nullptr;
    }
    const long status = sUtilPrinterOnce.Call();
    if (status != 0) {
        LogText("Once::Call returned %d\n", static_cast<int>(status));
        return nullptr;
    }
    char* block = GetBlock();
    if (block == nullptr) {
        return nullptr;
    }
    Offset* offset = GetOffsetCell();
    if (offset == nullptr) {
        return nullptr;
    }
    if (*offset + size > kPerThreadBufferSize) {
        *offset = 0;
    }
    char* piece = block + *offset;
    *offset += size;
    return piece;
}

}  // namespace KVX::Core
