// What an FSRef refers to where the kernel cannot open a file by its number.
//
// An FSRef has 80 bytes and is copied and dropped at will, so that it can neither hold a path nor
// own one. It holds a serial number, and the device and inode of its file; the path is in a table
// that keeps the last 256. An FSRef serves for one operation right after it was made, and is
// refused once 256 others have been made; the table never grows beyond 256 paths.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/file_manager.h"

namespace KVX::Platform {

constexpr unsigned long kFSRefsAlive = 256;

// Names what `path`, an absolute one, leads to now. False if that is nothing. Throws
// std::bad_alloc. Any thread.
bool MakeFSRef(const std::string& path, FSRef& ref);

// Finds the path back, and looks whether the same file is still there: fnfErr if not, and
// errFSBadFSRef for bytes that are no FSRef or one too old. Throws std::bad_alloc. Any thread.
OSStatus ResolveFSRef(const FSRef& ref, std::string& path, struct stat& status);

}  // namespace KVX::Platform
