// How vector code reaches memory: SSSE3, 16 bytes at a time.
#pragma once

#include <tmmintrin.h>

#include <cstdint>

// For what stands in the inner loops: the compiler's own judgement leaves calls in them, with all
// registers saved and all constants loaded again.
#define KVX_ALWAYS_INLINE inline __attribute__((always_inline))

namespace KVX::Converter::Video {

// A source whose every row starts at a multiple of 16.
struct AlignedSource {
    static KVX_ALWAYS_INLINE __m128i Load(const char* from) {
        return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
    }
    static KVX_ALWAYS_INLINE const char* Line(const char* from) { return from; }
};

// A source that lies anywhere. Loads read ahead by whole lines all the same.
struct MisalignedSource {
    static KVX_ALWAYS_INLINE __m128i Load(const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    }
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
    (_mm_prefetch(Source::Line(from + kNearDistances), _MM_HINT_NTA), ...);
    _mm_prefetch(from + kFarDistance, _MM_HINT_T0);
}

// Past the caches: nobody reads a frame again before it has left them.
KVX_ALWAYS_INLINE void Stream(char* to, __m128i value) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(to), value);
}

KVX_ALWAYS_INLINE void Stream(char* to, __m128 value) {
    _mm_stream_ps(reinterpret_cast<float*>(to), value);
}

// Closes a run of streamed stores, which other threads may otherwise see late.
KVX_ALWAYS_INLINE void EndStreams() {
    _mm_sfence();
}

}  // namespace KVX::Converter::Video
