// The unwinder's interface is the same on both systems.
#include <unwind.h>

#include "macho/shims/shims.h"

namespace macho {

std::vector<Shim> UnwinderShims() {
    return {
        Function("__Unwind_DeleteException", &_Unwind_DeleteException),
        Function("__Unwind_GetIP", &_Unwind_GetIP),
        Function("__Unwind_GetLanguageSpecificData", &_Unwind_GetLanguageSpecificData),
        Function("__Unwind_GetRegionStart", &_Unwind_GetRegionStart),
        Function("__Unwind_RaiseException", &_Unwind_RaiseException),
        Function("__Unwind_Resume", &_Unwind_Resume),
        Function("__Unwind_SetGR", &_Unwind_SetGR),
        Function("__Unwind_SetIP", &_Unwind_SetIP),
    };
}

}  // namespace macho
