#pragma once

#include <string>

#include "platform/core_foundation.h"

namespace KVX::Platform {

// The bytes by which the file system knows a path or name: UTF-8 without a NUL. False if `string`
// cannot be one. Throws std::bad_alloc.
bool GetFileSystemText(CFStringRef string, std::string& text);

}  // namespace KVX::Platform
