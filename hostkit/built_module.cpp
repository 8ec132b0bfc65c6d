// By itself, so that a program that does not ask for it does not bear the path in it.

#include <cstdlib>

#include "hostkit/loaded_module.h"

namespace kvx_hostkit {

std::string LoadedModule::BuiltPath() {
    const char* other = std::getenv("KVX_TEST_MODULE");
    return other != nullptr && *other != '\0' ? other : KVX_BUILT_MODULE;
}

}  // namespace kvx_hostkit
