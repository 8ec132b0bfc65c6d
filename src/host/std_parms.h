#pragma once

#include "premiere/import_records.h"

namespace KVX {

// The host's table of suites, or null if the host gives none.
inline SPBasicSuite* GetBasicSuite(const imStdParms* stdParms) {
    return stdParms->piSuitesPtr->utilFuncs->getSPBasicSuite();
}

}  // namespace KVX
