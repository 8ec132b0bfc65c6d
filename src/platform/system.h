// The few services of the operating system that are not POSIX, by their macOS names.
#pragma once

#include <cstdint>

#if defined(__APPLE__)
#include <libkern/OSAtomic.h>
#else

// Adds atomically, with no ordering beyond what a reference count needs. Returns the new value.
int32_t OSAtomicAdd32(int32_t amount, volatile int32_t* value);

#endif

namespace KVX::Platform {

// Asks that data of the open file `descriptor` stay out of the system's file cache: F_NOCACHE where
// it exists, otherwise the nearest request that puts no demands on the alignment of reads. Answers
// 0, or what the system's call answered.
int RequestUncachedReads(int descriptor);

// Stores the number of logical processors. Answers 0, or what the system's call answered.
int GetLogicalProcessorCount(int32_t& count);

}  // namespace KVX::Platform
