// Formatted text.
#include <cstdio>

#include "macho/shims/shims.h"

namespace macho {

std::vector<Shim> StandardOutputShims() {
    return {
        Data("___stderrp", &stderr),
        Function("_flockfile", &flockfile),
        Function("_fprintf", &fprintf),
        Function("_fputc", &fputc),
        Function("_funlockfile", &funlockfile),
        Function("_fwrite", &fwrite),
        Function("_snprintf", &snprintf),
        Function("_vfprintf", &vfprintf),
    };
}

}  // namespace macho
