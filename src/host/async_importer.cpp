#include "core/log.h"
#include "host/entry.h"
#include "host/file_import_module.h"
#include "pipeline/async_import_module.h"

namespace KVX {

long FileImportModule::CreateAsyncImporter(imAsyncImporterCreationRec* record) {
    if (VideoTracks().empty()) {
        KVX_LOG("CreateAsyncImporter called with no video tracks\n");
        return imOtherErr;
    }
    QT::VideoTrack* track = VideoTracks().front();
    if (track == nullptr) {
        KVX_LOG("Failed to get first video track\n");
        return imOtherErr;
    }
    record->asyncEntry = &AsyncImportEntry;
    AsyncImportModule* importer = AsyncImportModule::Create(mImporterID, mBasicSuite, track);
    if (importer == nullptr) {
        KVX_LOG("Failed to create an AsyncImportModule\n");
        return imOtherErr;
    }
    record->asyncPrivateData = importer;
    return imNoErr;
}

}  // namespace KVX
