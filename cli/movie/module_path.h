#pragma once

#include <string>

namespace kvx_cli {

// Where the module lies that belongs to this program: beside it, or else under lib/ of the tree
// that it was installed in. Both can be taken elsewhere together.
std::string FindModule();

}  // namespace kvx_cli
