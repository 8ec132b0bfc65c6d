// A module that never comes back from opening some files, as the importer on a disk that does not
// answer.

#include <unistd.h>

#include <string>

#include "premiere/import_records.h"

namespace {

bool IsSilent(const prUTF16Char* path) {
    std::string name;
    for (; *path != 0; ++path) {
        name += *path < 0x80 ? static_cast<char>(*path) : '?';
    }
    return name.find("silent") != std::string::npos;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) long xImportEntry(int selector, imStdParms* /*stdParms*/,
                                                         long /*param1*/, long param2) {
    if (selector == imOpenFile8) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        const auto* record = reinterpret_cast<const imFileOpenRec8*>(param2);
        while (IsSilent(record->filepath)) {
            pause();
        }
        return imBadFile;
    }
    return imNoErr;
}

__attribute__((visibility("default"))) long AsyncImportEntry(int /*selector*/, void* /*record*/) {
    return aiNoError;
}

}  // extern "C"
