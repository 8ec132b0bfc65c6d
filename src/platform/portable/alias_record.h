// The classic alias record, versions 2 and 3: how a file of the time before bookmarks is pointed
// at. Only the first six bytes are published (Inside Macintosh: Files, "Alias Manager"); the rest
// is known from records in the wild.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/file_manager.h"

namespace KVX::Platform {

// The absolute path of the target as it was recorded, in UTF-8 without a NUL; no file is looked
// for. `record` may be followed by other bytes within `size`. Returns paramErr for a record that
// is not well-formed and fnfErr for one that has no path; `path` is then untouched. Throws
// std::bad_alloc.
OSStatus ReadAliasPath(const uint8_t* record, size_t size, std::string& path);

}  // namespace KVX::Platform
