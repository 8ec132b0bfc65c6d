#pragma once

#include <cstdint>
#include <memory>

#include "core/refcounted.h"

namespace kvx_test {

struct ReleaseReference {
    void operator()(KVX::Core::Refcounted* object) const { object->Release(); }
};

// A reference of the test's own, dropped at the end of its scope.
template <typename Object>
using Reference = std::unique_ptr<Object, ReleaseReference>;

// How many references there are; safe while other threads take and drop some.
inline int32_t ReferencesTo(const KVX::Core::Refcounted& object) {
    return __atomic_load_n(&object.mRefCount, __ATOMIC_ACQUIRE);
}

}  // namespace kvx_test
