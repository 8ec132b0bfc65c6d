// From the parameters of each selector to the call of its handler. Which parameter holds the module
// and which the records is fixed by the host, selector by selector. Pointers are trusted.
#include "host/entry.h"
#include "host/file_import_module.h"
#include "host/host_values.h"

namespace {

using KVX::FileImportModule;
using KVX::PointerFromWord;

FileImportModule* ModuleFrom(void* privatedata) {
    return static_cast<FileImportModule*>(privatedata);
}

FileImportModule* ModuleAtHead(long record) {
    return ModuleFrom(PointerFromWord<imRecordHead>(record)->privatedata);
}

long Unsupported(imStdParms*, long, long) {
    return imUnsupported;
}

long Lazy(imStdParms*, long, long) {
    return imNoErr;
}

long Init(imStdParms* stdParms, long param1, long) {
    return FileImportModule::Init(PointerFromWord<imImportInfoRec>(param1), stdParms);
}

long QuietFile(imStdParms*, long param1, long param2) {
    return FileImportModule::QuietFile(PointerFromWord<void*>(param1),
                                       PointerFromWord<FileImportModule>(param2));
}

long CloseFile(imStdParms*, long param1, long param2) {
    return FileImportModule::CloseFile(PointerFromWord<void*>(param1),
                                       PointerFromWord<FileImportModule>(param2));
}

long Analysis(imStdParms*, long param1, long param2) {
    return FileImportModule::Analysis(PointerFromWord<void>(param1),
                                      PointerFromWord<imAnalysisRec>(param2));
}

long DataRateAnalysis(imStdParms*, long param1, long param2) {
    return FileImportModule::DataRateAnalysis(PointerFromWord<void>(param1),
                                              PointerFromWord<imDataRateAnalysisRec>(param2));
}

long GetIndFormat(imStdParms*, long param1, long param2) {
    return FileImportModule::GetIndFormat(static_cast<int>(param1),
                                          PointerFromWord<imIndFormatRec>(param2));
}

long GetMetaData(imStdParms*, long param1, long param2) {
    return FileImportModule::GetMetaData(PointerFromWord<void>(param1),
                                         PointerFromWord<imMetaDataRec>(param2));
}

long SetMetaData(imStdParms*, long param1, long param2) {
    return FileImportModule::SetMetaData(PointerFromWord<void>(param1),
                                         PointerFromWord<imMetaDataRec>(param2));
}

long ImportAudio7(imStdParms*, long param1, long param2) {
    auto* record = PointerFromWord<imImportAudioRec7>(param2);
    return ModuleFrom(record->privatedata)->ImportAudio7(PointerFromWord<void>(param1), record);
}

long GetIndPixelFormat(imStdParms*, long param1, long param2) {
    return ModuleAtHead(param2)->GetIndPixelFormat(static_cast<int>(param1),
                                                   PointerFromWord<imIndPixelFormatRec>(param2));
}

long GetSupports7(imStdParms*, long, long) {
    return FileImportModule::GetSupports7();
}

long GetSupports8(imStdParms*, long, long) {
    return FileImportModule::GetSupports8();
}

long GetInfo8(imStdParms*, long param1, long param2) {
    auto* info = PointerFromWord<imFileInfoRec8>(param2);
    return ModuleFrom(info->privatedata)->GetInfo8(PointerFromWord<imFileAccessRec8>(param1), info);
}

long OpenFile8(imStdParms* stdParms, long param1, long param2) {
    return FileImportModule::OpenFile8(stdParms, PointerFromWord<void*>(param1),
                                       PointerFromWord<imFileOpenRec8>(param2));
}

long SaveFile8(imStdParms*, long param1, long) {
    return FileImportModule::SaveFile8(PointerFromWord<imSaveFileRec8>(param1));
}

long DeleteFile8(imStdParms*, long param1, long) {
    return FileImportModule::DeleteFile8(PointerFromWord<imDeleteFileRec8>(param1));
}

long CalcSize8(imStdParms*, long param1, long param2) {
    return FileImportModule::CalcSize8(PointerFromWord<imCalcSizeRec>(param1),
                                       PointerFromWord<imFileAccessRec8>(param2));
}

long CheckTrim8(imStdParms*, long param1, long param2) {
    return FileImportModule::CheckTrim8(PointerFromWord<imCheckTrimRec>(param1),
                                        PointerFromWord<imFileAccessRec8>(param2));
}

long TrimFile8(imStdParms*, long param1, long param2) {
    return FileImportModule::TrimFile8(PointerFromWord<imFileAccessRec8>(param1),
                                       PointerFromWord<imTrimFileRec8>(param2));
}

long GetPreferredFrameSize(imStdParms*, long param1, long) {
    return ModuleAtHead(param1)->GetPreferredFrameSize(
        PointerFromWord<imPreferredFrameSizeRec>(param1));
}

long CreateAsyncImporter(imStdParms*, long param1, long) {
    return ModuleAtHead(param1)->CreateAsyncImporter(
        PointerFromWord<imAsyncImporterCreationRec>(param1));
}

long GetSourceVideo(imStdParms*, long param1, long param2) {
    return FileImportModule::GetSourceVideo(PointerFromWord<void>(param1),
                                            PointerFromWord<imSourceVideoRec>(param2));
}

long GetTimeInfo8(imStdParms*, long param1, long param2) {
    return ModuleAtHead(param2)->GetTimeInfo8(PointerFromWord<void>(param1),
                                              PointerFromWord<imTimeInfoRec8>(param2));
}

long SetTimeInfo8(imStdParms*, long param1, long param2) {
    return ModuleAtHead(param2)->SetTimeInfo8(PointerFromWord<void>(param1),
                                              PointerFromWord<imTimeInfoRec8>(param2));
}

using Table = std::array<FileImportFunction, 58>;

constexpr Table MakeTable() {
    Table table = {};
    for (size_t selector = 0; selector < table.size(); ++selector) {
        table[selector] = &Unsupported;
    }
    table[imInit] = &Init;
    table[imShutdown] = &Lazy;
    table[imQuietFile] = &QuietFile;
    table[imCloseFile] = &CloseFile;
    table[imAnalysis] = &Analysis;
    table[imDataRateAnalysis] = &DataRateAnalysis;
    table[imGetIndFormat] = &GetIndFormat;
    table[imGetMetaData] = &GetMetaData;
    table[imSetMetaData] = &SetMetaData;
    table[imImportAudio7] = &ImportAudio7;
    table[imGetIndPixelFormat] = &GetIndPixelFormat;
    table[imGetSupports7] = &GetSupports7;
    table[imGetSupports8] = &GetSupports8;
    table[imGetInfo8] = &GetInfo8;
    table[imOpenFile8] = &OpenFile8;
    table[imSaveFile8] = &SaveFile8;
    table[imDeleteFile8] = &DeleteFile8;
    table[imCalcSize8] = &CalcSize8;
    table[imCheckTrim8] = &CheckTrim8;
    table[imTrimFile8] = &TrimFile8;
    table[imGetPreferredFrameSize] = &GetPreferredFrameSize;
    table[imCreateAsyncImporter] = &CreateAsyncImporter;
    table[imGetSourceVideo] = &GetSourceVideo;
    table[imGetTimeInfo8] = &GetTimeInfo8;
    table[imSetTimeInfo8] = &SetTimeInfo8;
    return table;
}

}  // namespace

constexpr Table fileImportFunctions = MakeTable();
