// Pointers within an image, which move with it.
#pragma once

#include "macho/loader/bytes.h"
#include "macho/loader/memory.h"

namespace macho {

// Runs the list of rebase operations.
void Rebase(Bytes operations, const Memory& memory);

}  // namespace macho
