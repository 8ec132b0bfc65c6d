#pragma once

#include <cstdint>

#include "core/status.h"

namespace KVX {

// Calls a function of the host's suites where nobody above could deal with an exception: on the
// pools' threads, under their locks and in destructors. One that is thrown ends here, as status 12.
template <typename... Parameters, typename... Arguments>
long CallHost(int32_t (*function)(Parameters...), Arguments... arguments) {
    try {
        return function(arguments...);
    } catch (...) {
        return Core::kStatusNoMemory;
    }
}

}  // namespace KVX
