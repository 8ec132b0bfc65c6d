// The names that an image offers.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "macho/loader/bytes.h"

namespace macho {

// Each name with its distance from the image's header. Throws LoadError, also for a name that is
// another library's or that code has to be run for.
std::map<std::string, uint64_t> ReadExports(Bytes trie);

}  // namespace macho
