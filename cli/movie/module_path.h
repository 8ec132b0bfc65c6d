#pragma once

#include <string>

namespace kvx_cli {

// Where the module lies that belongs to this program: beside it, under lib/ of the tree that it was
// installed in, or where both were built.
std::string FindModule();

}  // namespace kvx_cli
