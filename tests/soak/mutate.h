#pragma once

#include "support/bytes.h"
#include "support/random.h"

namespace kvx_test {

// Damages bytes [begin, end) of a file, at one to eight places: bits flipped, bytes and words
// replaced by those at which tables break, stretches left out, repeated, moved or torn off, also in
// the header of an extended track.
// `other` is what stretches are taken from now and then.
void Mutate(Random& random, Bytes& file, size_t begin, size_t end, const Bytes& other);

}  // namespace kvx_test
