#pragma once

#include "platform/core_foundation.h"
#include "premiere/import_records.h"

namespace KVX {

// The UTF-16 units before the first NUL; 0 for a null pointer.
CFIndex GetPathLength(const prUTF16Char* path);

// A new string of one of the host's paths, owned by the caller, or null.
CFStringRef CreatePathString(const prUTF16Char* path);

}  // namespace KVX
