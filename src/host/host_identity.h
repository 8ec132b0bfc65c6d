#pragma once

#include <cstdint>

#include "premiere/import_records.h"
#include "premiere/suites.h"

namespace KVX {

// Whether the application that loaded the importer is the one that it serves: -1 until the host was
// asked, then 1 or 0, for the life of the process. Without a lock: the host's first call comes
// before any other.
extern int32_t gAppIsPremiere;

// The host's version; zero until the host was asked. GetIndPixelFormat uses the major version.
extern PrSDKAppInfoSuite::VersionInfo gPremiereVersionInfo;

// Returns whether the host is the expected application, and asks it if that is not known yet. Only
// then is `stdParms` needed. A host that cannot be asked counts as the expected one, and is asked
// again by the next call.
bool AppIsPremiere(imStdParms* stdParms);

}  // namespace KVX
