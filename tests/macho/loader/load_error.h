// Why an image cannot be loaded.
#pragma once

#include <stdexcept>
#include <string>

namespace macho {

class LoadError : public std::runtime_error {
  public:
    explicit LoadError(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace macho
