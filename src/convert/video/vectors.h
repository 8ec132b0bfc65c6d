// Several vectors through the same steps.
//
// Every step is taken for all of them before the next one, so that few instructions wait for the
// one before: a processor's room for waiting instructions decides how many are carried out at once,
// and the chains from load to store here are long.
#pragma once

#include <utility>

#include "convert/video/vector_memory.h"

namespace KVX::Converter::Video {

template <int kCount>
struct Vectors {
    Integers v[kCount];
};

template <typename Make, int... kIndex>
KVX_ALWAYS_INLINE Vectors<sizeof...(kIndex)> MakeVectors(Make make,
                                                         std::integer_sequence<int, kIndex...>) {
    return {{make(std::integral_constant<int, kIndex>())...}};
}

// Each from `make` with its index, which is a constant to the compiler.
template <int kCount, typename Make>
KVX_ALWAYS_INLINE Vectors<kCount> MakeVectors(Make make) {
    return MakeVectors(make, std::make_integer_sequence<int, kCount>());
}

template <int kCount, typename Step>
KVX_ALWAYS_INLINE Vectors<kCount> ForEach(const Vectors<kCount>& vectors, Step step) {
    return MakeVectors<kCount>([&](auto i) { return step(vectors.v[i]); });
}

template <int kCount, int... kIndex>
KVX_ALWAYS_INLINE void StreamAll(char* to, const Vectors<kCount>& vectors,
                                 std::integer_sequence<int, kIndex...>) {
    (Stream(to + 16 * kIndex, vectors.v[kIndex]), ...);
}

template <int kCount>
KVX_ALWAYS_INLINE void StreamAll(char* to, const Vectors<kCount>& vectors) {
    StreamAll(to, vectors, std::make_integer_sequence<int, kCount>());
}

}  // namespace KVX::Converter::Video
