// Files that frames are written into, one for each.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace kvx_cli {

// Makes the folder if it is not there. Answers what went wrong, or nothing.
std::string MakeOutputFolder(const std::string& folder);

// <folder>/<frame number>.<extension>, with zeros before the number, so that the frames of any
// usual movie are listed in order.
std::string FramePath(const std::string& folder, int64_t frame, const std::string& extension);

// Closes a file into which all was written, or not; errno then says why not. Answers what went
// wrong, or nothing; what is incomplete is removed.
std::string CloseOutputFile(std::FILE* file, const std::string& path, bool written);

// "cannot write PLACE: REASON", for an errno.
std::string CannotWrite(const std::string& place, int error);

}  // namespace kvx_cli
