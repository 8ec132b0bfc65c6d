#pragma once

#include <cstdlib>

namespace kvx_fuzz {

// What a target claims about every input. A false claim is a finding like any crash.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace kvx_fuzz
