#pragma once

#include <vector>

#include "inspect/change.h"

namespace kvx_inspect {

enum class Durability {
    EachChange,  // one is on the disk before the next is written
    None,        // of a copy that has no name yet
};

// Makes the changes in an open file, four bytes at a time and in their order. Each place must still
// hold what the change expects, or what it leads to, and is written only then: the file never
// grows. Returns 0, or the errno of what stopped it; ESTALE where the file holds something else.
// The changes before that one are made then.
int MakeChanges(int descriptor, const std::vector<Change>& changes, Durability durability);

}  // namespace kvx_inspect
