#pragma once

#include <string>
#include <vector>

#include "premiere/import_records.h"

namespace kvx_hostkit {

// A UTF-8 path in the host's form, with its NUL. What is not UTF-8 becomes U+FFFD.
std::vector<prUTF16Char> ToHostPath(const std::string& path);

}  // namespace kvx_hostkit
