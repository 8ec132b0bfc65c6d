// What the importer tells the host about itself, before any file is open.
#include <cstring>

#include "core/four_char_code.h"
#include "host/file_import_module.h"
#include "host/host_identity.h"

namespace KVX {

namespace {

// What importers for those generations of the host's interface return as their version.
constexpr long kSupports7 = 100;
constexpr long kSupports8 = 101;

constexpr int32_t kImporterPriority = 100;

// The flags promise more than is kept: metadata that the host sends is dropped, and a timecode is
// refused.
constexpr int32_t kFormatFlags = xfCanOpen | xfCanImport | xfCanReplace | xfCanWriteMetaData |
                                 xfCanWriteTimecode | xfIsStill | xfIsMovie;
static_assert(kFormatFlags == 0xE618, "told to the host as one number");

template <size_t Size>
void StoreText(char (&field)[Size], const char* text) {
    std::strncpy(field, text, Size - 1);
}

}  // namespace

long FileImportModule::Init(imImportInfoRec* info, imStdParms* stdParms) {
    if (!AppIsPremiere(stdParms)) {
        return imOtherErr;
    }
    info->canSave = 1;
    info->canDelete = 1;
    info->keepLoaded = 1;
    info->priority = kImporterPriority;
    info->canAsync = 1;
    info->capability68 = 1;
    info->capability72 = 1;
    return imNoErr;
}

long FileImportModule::GetIndFormat(int index, imIndFormatRec* format) {
    if (index != 0) {
        return imBadFormatIndex;
    }
    std::memset(format, 0, sizeof(*format));
    format->filetype = static_cast<int32_t>(Core::FourCharCode("MooV"));
    format->flags = kFormatFlags;
    StoreText(format->formatName, "QuickTime Movie");
    StoreText(format->formatShortName, "QuickTime");
    StoreText(format->platformExtension, "mov");
    return imNoErr;
}

long FileImportModule::GetSupports7() {
    return kSupports7;
}

long FileImportModule::GetSupports8() {
    return kSupports8;
}

}  // namespace KVX
