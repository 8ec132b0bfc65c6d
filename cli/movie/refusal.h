// Why a movie is not imported, in words.
#pragma once

#include <string>

namespace kvx_cli {

// What is wrong with `path` before any movie is looked for: missing, not a file, empty, not to
// be read. Empty when nothing is.
std::string FileProblem(const std::string& path);

// The reason behind a failed call of the module, from its status and from what it logged meanwhile.
std::string RefusalInWords(long status, const std::string& log);

// The first line of a log that has `words` in it, without its end; nothing if none has.
std::string LineWith(const std::string& words, const std::string& log);

}  // namespace kvx_cli
