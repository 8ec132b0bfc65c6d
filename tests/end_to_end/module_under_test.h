#pragma once

#include "hostkit/importer.h"

namespace kvx_test {

// The built module, loaded once and introduced to a host as an application would be.
const kvx_hostkit::Importer& ModuleUnderTest();

}  // namespace kvx_test
