// Pointers out of an image, to what other libraries have.
#pragma once

#include <functional>
#include <string>

#include "macho/loader/bytes.h"
#include "macho/loader/memory.h"

namespace macho {

// Answers the address of what an image imports by `name`. May throw LoadError.
using ImportResolver = std::function<const void*(const std::string& name)>;

enum class BindList {
    kEager,
    kLazy,  // "done" ends an entry and not the list, so that each can be run by itself
};

// Runs a list of bind operations.
void Bind(Bytes operations, BindList kind, const Memory& memory, const ImportResolver& resolve);

}  // namespace macho
