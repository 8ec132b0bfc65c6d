#pragma once

#include <string>

namespace kvx_cli {

// RFC 4648, with padding.
std::string Base64(const std::string& bytes);

}  // namespace kvx_cli
