#include <iterator>

#include "macho/shims/shims.h"

namespace macho {

std::vector<Shim> AllShims() {
    std::vector<Shim> all;
    for (const auto subject :
         {CoreFoundationShims, DyldShims, ErrorShims, FileManagerShims, FileShims, MemoryShims,
          MutexShims, ConditionShims, OnceShims, ProcessShims, StandardOutputShims, StringShims,
          ThreadShims, UnwinderShims}) {
        const std::vector<Shim> shims = subject();
        all.insert(all.end(), shims.begin(), shims.end());
    }
    return all;
}

}  // namespace macho
