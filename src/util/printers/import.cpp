#include "premiere/import_records.h"
#include "util/printer.h"
#include "util/printer_tables.h"

namespace KVX::Util::Printer {

namespace {

constexpr NamedValue kFileSelectors[] = {
    {imInit, "imInit"},
    {imShutdown, "imShutdown"},
    {imImportImage, "imImportImage"},
    {imQuietFile, "imQuietFile"},
    {imCloseFile, "imCloseFile"},
    {imAnalysis, "imAnalysis"},
    {imDataRateAnalysis, "imDataRateAnalysis"},
    {imGetIndFormat, "imGetIndFormat"},
    {imGetMetaData, "imGetMetaData"},
    {imSetMetaData, "imSetMetaData"},
    {imImportAudio7, "imImportAudio7"},
    {imGetIndPixelFormat, "imGetIndPixelFormat"},
    {imGetSupports7, "imGetSupports7"},
    {imResetSequentialAudio, "imResetSequentialAudio"},
    {imGetSequentialAudio, "imGetSequentialAudio"},
    {imGetRollCrawlInfo, "imGetRollCrawlInfo"},
    {imRollCrawlRenderPage, "imRollCrawlRenderPage"},
    {imGetSupports8, "imGetSupports8"},
    {imGetInfo8, "imGetInfo8"},
    {imGetPrefs8, "imGetPrefs8"},
    {imOpenFile8, "imOpenFile8"},
    {imSaveFile8, "imSaveFile8"},
    {imDeleteFile8, "imDeleteFile8"},
    {imCalcSize8, "imCalcSize8"},
    {imCheckTrim8, "imCheckTrim8"},
    {imTrimFile8, "imTrimFile8"},
    {imGetPreferredFrameSize, "imGetPreferredFrameSize"},
    {imCreateAsyncImporter, "imCreateAsyncImporter"},
    {imGetSourceVideo, "imGetSourceVideo"},
    {imDeferredProcessing, "imDeferredProcessing"},
    {imGetPeakAudio, "imGetPeakAudio"},
    {imRetargetAccelerator, "imRetargetAccelerator"},
    {imCopyFile, "imCopyFile"},
    {imGetTimeInfo8, "imGetTimeInfo8"},
    {imSetTimeInfo8, "imSetTimeInfo8"},
    {imGetSubTypeNames, "imGetSubTypeNames"},
    {imGetFileAttributes, "imGetFileAttributes"},
    {imQueryDestinationPath, "imQueryDestinationPath"},
    {imQueryContentState, "imQueryContentState"},
};

constexpr NamedValue kFileErrors[] = {
    {imNoErr, "imNoErr"},
    {imTooWide, "imTooWide"},
    {imBadFile, "imBadFile"},
    {imUnsupported, "imUnsupported"},
    {imMemErr, "imMemErr"},
    {imOtherErr, "imOtherErr"},
    {imNoContent, "imNoContent"},
    {imBadRate, "imBadRate"},
    {imBadCompression, "imBadCompression"},
    {imBadCodec, "imBadCodec"},
    {imNotFlat, "imNotFlat"},
    {imBadSndComp, "imBadSndComp"},
    {imNoTimecode, "imNoTimecode"},
    {imMissingComponent, "imMissingComponent"},
    {imSaveErr, "imSaveErr"},
    {imDeleteErr, "imDeleteErr"},
    {imNotFoundErr, "imNotFoundErr"},
    {imSetFile, "imSetFile"},
    {imIterateStreams, "imIterateStreams"},
    {imBadStreamIndex, "imBadStreamIndex"},
    {imCantTrim, "imCantTrim"},
    {imDiskFull, "imDiskFull"},
    {imDiskErr, "imDiskErr"},
    {imFileShareViolation, "imFileShareViolation"},
    {imIterateFrameSizes, "imIterateFrameSizes"},
    {imMediaPending, "imMediaPending"},
    {imDRMControlled, "imDRMControlled"},
    {imCancel, "imCancel"},
    {imBadFormatIndex, "imBadFormatIndex"},
    {imIsCacheable, "imIsCacheable"},
};

constexpr NamedValue kFileCapabilities[] = {
    {xfCanOpen, "xfCanOpen"},
    {xfCanImport, "xfCanImport"},
    {xfCanReplace, "xfCanReplace"},
    {xfUsesFiles, "xfUsesFiles"},
    {xfCantBatchProcess, "xfCantBatchProcess"},
    {xfCanWriteMetaData, "xfCanWriteMetaData"},
    {xfCanWriteTimecode, "xfCanWriteTimecode"},
    {xfIsTitle, "xfIsTitle"},
    {xfIsEffect, "xfIsEffect"},
    {xfIsAFilter, "xfIsAFilter"},
    {xfIsVFilter, "xfIsVFilter"},
    {xfIsStill, "xfIsStill"},
    {xfIsMovie, "xfIsMovie"},
    {xfIsSound, "xfIsSound"},
    {xfIsAnimation, "xfIsAnimation"},
    {xfIsBackdrop, "xfIsBackdrop"},
};

constexpr NamedValue kAsyncSelectors[] = {
    {aiInitiateAsyncRead, "aiInitiateAsyncRead"},
    {aiCancelAsyncRead, "aiCancelAsyncRead"},
    {aiFlush, "aiFlush"},
    {aiGetFrame, "aiGetFrame"},
    {aiClose, "aiClose"},
};

constexpr NamedValue kAsyncErrors[] = {
    {aiNoError, "aiNoError"},
    {aiUnsupported, "aiUnsupported"},
    {aiUnknownError, "aiUnknownError"},
    {aiFrameNotFound, "aiFrameNotFound"},
};

}  // namespace

namespace FileImport {
const char* Selector(long value, int) {
    return NameOrUnknown(kFileSelectors, value);
}
const char* Error(long value, int) {
    return NameOrUnknown(kFileErrors, value);
}
const char* Capability(long bits, int) {
    return NamesOfBits(kFileCapabilities, bits);
}
}  // namespace FileImport

namespace AsyncImport {
const char* Selector(long value, int) {
    return NameOrUnknown(kAsyncSelectors, value);
}
const char* Error(long value, int) {
    return NameOrUnknown(kAsyncErrors, value);
}
}  // namespace AsyncImport

}  // namespace KVX::Util::Printer
