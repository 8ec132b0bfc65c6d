// Selectors that are declined, each with the result that makes the host go on by itself.
#include "core/log.h"
#include "host/file_import_module.h"

namespace KVX {

long FileImportModule::Analysis(void*, imAnalysisRec*) {
    return imUnsupported;
}

long FileImportModule::DataRateAnalysis(void*, imDataRateAnalysisRec*) {
    return imUnsupported;
}

long FileImportModule::CalcSize8(imCalcSizeRec*, imFileAccessRec8*) {
    return imUnsupported;
}

long FileImportModule::CheckTrim8(imCheckTrimRec*, imFileAccessRec8*) {
    return imUnsupported;
}

long FileImportModule::TrimFile8(imFileAccessRec8*, imTrimFileRec8*) {
    return imUnsupported;
}

// Frames go through the asynchronous importer alone.
long FileImportModule::GetSourceVideo(void*, imSourceVideoRec*) {
    return imUnsupported;
}

long FileImportModule::GetMetaData(void*, imMetaDataRec* metaData) {
    if (metaData == nullptr) {
        KVX_LOG("invalid metaData pointer\n");
    }
    return imNotFoundErr;
}

// Accepted and dropped: the movie is never written to.
long FileImportModule::SetMetaData(void*, imMetaDataRec*) {
    return imNoErr;
}

}  // namespace KVX
