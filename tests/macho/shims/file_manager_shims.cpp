// The File, Alias and Memory Managers, by the importer's own code for systems without them.
#include "macho/shims/shims.h"
#include "platform/file_manager.h"

namespace macho {

std::vector<Shim> FileManagerShims() {
    return {
        Function("_DisposeHandle", &DisposeHandle),
        Function("_FSCopyAliasInfo", &FSCopyAliasInfo),
        Widening<&FSDeleteObject>("_FSDeleteObject"),
        Function("_FSMoveObjectSync", &FSMoveObjectSync),
        Function("_NewHandle", &NewHandle),
    };
}

}  // namespace macho
