// The few services of the operating system that are not POSIX, by their macOS names.
#pragma once

#include <cstdint>

#if defined(__APPLE__) && __has_include(<libkern/OSAtomic.h>)
// The header's own switch: the call is deprecated there, and exactly what is wanted here.
#if !defined(OSATOMIC_DEPRECATED)
#define OSATOMIC_DEPRECATED 0
#endif
#include <libkern/OSAtomic.h>
#else

// Adds atomically, ordered as a reference count needs it: what was written before one thread's drop
// is seen by the thread that finds the count at zero. Returns the new value; wraps around.
extern "C" int32_t OSAtomicAdd32Barrier(int32_t amount, volatile int32_t* value);

#endif

namespace KVX::Platform {

// Asks that data of the open file `descriptor` stay out of the system's file cache: F_NOCACHE where
// it exists, otherwise the nearest request that puts no demands on the alignment of reads. Returns
// 0, or what the system's call returned.
int RequestUncachedReads(int descriptor);

// Stores the number of logical processors. Returns 0, or what the system's call returned.
int GetLogicalProcessorCount(int32_t& count);

// Keeps this code in the process from now on, whatever the host does to the module. Where the
// linker has a mark for such modules there is nothing left to do.
void StayLoaded();

}  // namespace KVX::Platform
