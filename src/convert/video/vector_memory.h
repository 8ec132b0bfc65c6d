// How kernels reach memory, 16 bytes at a time.
#pragma once

#include <cstdint>

#include "convert/vector128.h"

namespace KVX::Converter::Video {

using namespace Vector128;

// A source whose every row starts at a multiple of 16.
struct AlignedSource {
    static KVX_ALWAYS_INLINE Integers Load(const char* from) {
        return Vector128::LoadAligned(from);
    }
    static KVX_ALWAYS_INLINE const char* Line(const char* from) { return from; }
};

// A source that lies anywhere. Loads read ahead by whole lines all the same.
struct MisalignedSource {
    static KVX_ALWAYS_INLINE Integers Load(const char* from) { return Vector128::Load(from); }
    static KVX_ALWAYS_INLINE const char* Line(const char* from) {
        return from - reinterpret_cast<uintptr_t>(from) % 16;
    }
};

// Once a step: tells the processor which lines of the source are to be loaded soon.
//
// The near hint, at distances that go with the length of a kernel's step, brings lines past the
// outer caches and leaves those to others. Some processors have their own prefetcher in an outer
// cache: it sees nothing of such lines and never wakes, and what a near hint has under way is not
// enough for memory. The far hint, which is for all caches, has lines there in time.
constexpr int kFarDistance = 1280;

template <typename Source, int... kNearDistances>
KVX_ALWAYS_INLINE void PrefetchAhead(const char* from) {
    (PrefetchOnce(Source::Line(from + kNearDistances)), ...);
    PrefetchIntoAllCaches(from + kFarDistance);
}

}  // namespace KVX::Converter::Video
