#pragma once

#include <cstddef>
#include <vector>

#include "support/bytes.h"

namespace kvx_test {

// A movie and where its "moov" lies in it.
struct Original {
    Bytes bytes;
    size_t moov;
    size_t moovEnd;
};

// The movies that soaks damage: hand-made ones, and those in the folders [begin, end) that are not
// too large for a quick look, in the order of their names.
std::vector<Original> Originals(char** begin, char** end);

}  // namespace kvx_test
