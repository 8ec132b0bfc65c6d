#pragma once

#include <string>

namespace kvx_cli {

// The path of the module that belongs to this program: next to it, or else under lib/ of the tree
// that it was installed in. Both can be moved elsewhere together.
std::string FindModule();

}  // namespace kvx_cli
