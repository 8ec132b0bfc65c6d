// Promises of the code to itself, checked in debug builds and under sanitizers.
#pragma once

#include "core/log.h"

namespace KVX::Core {

// Says so in the log and ends the process.
[[noreturn]] void AssertionFailed(const char* condition, LogSite site);

}  // namespace KVX::Core

// For what only this code can break: files and hosts get a status. The condition must
// have no effects; it is compiled everywhere and evaluated only where KVX_ASSERTS is defined.
#if defined(KVX_ASSERTS)
#define KVX_ASSERT(condition) \
    ((condition) ? void() : ::KVX::Core::AssertionFailed(#condition, {__func__, __LINE__}))
#else
#define KVX_ASSERT(condition) static_cast<void>(sizeof(!(condition)))
#endif
