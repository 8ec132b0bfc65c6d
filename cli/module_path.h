#pragma once

#include <string>

namespace kvx_cli {

// Where the module lies that belongs to this program: beside it, or under lib/ of the tree that it
// was installed in.
std::string FindModule();

}  // namespace kvx_cli
