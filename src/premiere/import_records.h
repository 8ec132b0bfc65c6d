// The records that the host passes with each importer selector, the selectors and the results. Of
// each record only the fields that this importer reads or writes are named; what lies between them
// is the host's, and so is what may follow the last. All records are packed, with 64-bit
// pointers. The place of every field is asserted: with the size of the whole, that pins the widths
// too.
#pragma once

#include <cstddef>
#include <cstdint>

#include "premiere/pixel_formats.h"
#include "premiere/suites.h"

enum : int32_t {
    imNoErr = 0,
    imTooWide = 1,
    imBadFile = 2,
    imUnsupported = 3,
    imMemErr = 4,
    imOtherErr = 5,
    imNoContent = 6,
    imBadRate = 7,
    imBadCompression = 8,
    imBadCodec = 9,
    imNotFlat = 10,
    imBadSndComp = 11,
    imNoTimecode = 12,
    imMissingComponent = 13,
    imSaveErr = 14,
    imDeleteErr = 15,
    imNotFoundErr = 16,
    imSetFile = 17,
    imIterateStreams = 18,
    imBadStreamIndex = 19,
    imCantTrim = 20,
    imDiskFull = 21,
    imDiskErr = 22,
    imFileShareViolation = 23,
    imIterateFrameSizes = 24,
    imMediaPending = 25,
    imDRMControlled = 26,
    imCancel = 300,
    imBadFormatIndex = 301,
    imIsCacheable = 400,
};

enum : int32_t {
    imInit = 0,
    imShutdown = 1,
    imImportImage = 5,
    imQuietFile = 8,
    imCloseFile = 9,
    imAnalysis = 12,
    imDataRateAnalysis = 13,
    imGetIndFormat = 14,
    imGetMetaData = 23,
    imSetMetaData = 24,
    imImportAudio7 = 25,
    imGetIndPixelFormat = 27,
    imGetSupports7 = 28,
    imResetSequentialAudio = 29,
    imGetSequentialAudio = 30,
    imGetRollCrawlInfo = 32,
    imRollCrawlRenderPage = 33,
    imGetSupports8 = 36,
    imGetInfo8 = 37,
    imGetPrefs8 = 38,
    imOpenFile8 = 39,
    imSaveFile8 = 40,
    imDeleteFile8 = 41,
    imCalcSize8 = 42,
    imCheckTrim8 = 43,
    imTrimFile8 = 44,
    imGetPreferredFrameSize = 45,
    imCreateAsyncImporter = 46,
    imGetSourceVideo = 47,
    imDeferredProcessing = 48,
    imGetPeakAudio = 49,
    imRetargetAccelerator = 50,
    imCopyFile = 51,
    imGetTimeInfo8 = 52,
    imSetTimeInfo8 = 53,
    imGetSubTypeNames = 54,
    imGetFileAttributes = 55,
    imQueryDestinationPath = 56,
    imQueryContentState = 57,
};

enum : int32_t {
    aiInitiateAsyncRead = 0,
    aiCancelAsyncRead = 1,
    aiFlush = 2,
    aiGetFrame = 3,
    aiClose = 4,
};

enum : int32_t {
    aiNoError = 0,
    aiUnsupported = 1,
    aiUnknownError = 2,
    aiFrameNotFound = 3,
};

// What a format can do, in imIndFormatRec.
enum : int32_t {
    xfCanOpen = 0x8000,
    xfCanImport = 0x4000,
    xfCanReplace = 0x2000,
    xfUsesFiles = 0x1000,
    xfCantBatchProcess = 0x0800,
    xfCanWriteMetaData = 0x0400,
    xfCanWriteTimecode = 0x0200,
    xfIsTitle = 0x0100,
    xfIsEffect = 0x0080,
    xfIsAFilter = 0x0040,
    xfIsVFilter = 0x0020,
    xfIsStill = 0x0010,
    xfIsMovie = 0x0008,
    xfIsSound = 0x0004,
    xfIsAnimation = 0x0002,
    xfIsBackdrop = 0x0001,
};

enum : int32_t {
    prFieldsNone = 0,
    prFieldsUpperFirst = 1,
    prFieldsLowerFirst = 2,
    prFieldsUnknown = 3,
};

enum : int32_t {
    kPrAudioSampleType_8BitInt = 1,
    kPrAudioSampleType_8BitTwosInt = 2,
    kPrAudioSampleType_16BitInt = 3,
    kPrAudioSampleType_24BitInt = 4,
    kPrAudioSampleType_32BitInt = 5,
    kPrAudioSampleType_32BitFloat = 6,
    kPrAudioSampleType_64BitFloat = 7,
    kPrAudioSampleType_16BitIntBigEndian = 8,
    kPrAudioSampleType_24BitIntBigEndian = 9,
    kPrAudioSampleType_32BitIntBigEndian = 10,
    kPrAudioSampleType_32BitFloatBigEndian = 11,
};

enum : int32_t {
    kRandomAccessImport = 0,
};

// NUL-terminated UTF-16, the host's form of a path.
using prUTF16Char = uint16_t;

#pragma pack(push, 1)

struct PlugUtilFuncs {
    void* unused[7];
    SPBasicSuite* (*getSPBasicSuite)();
};
static_assert(offsetof(PlugUtilFuncs, getSPBasicSuite) == 56, "host record");
static_assert(sizeof(PlugUtilFuncs) == 64, "host record");

struct piSuites {
    uint8_t unused[28];
    PlugUtilFuncs* utilFuncs;
};
static_assert(offsetof(piSuites, utilFuncs) == 28, "host record");
static_assert(sizeof(piSuites) == 36, "host record");

struct imStdParms {
    uint8_t unused[12];
    piSuites* piSuitesPtr;
};
static_assert(offsetof(imStdParms, piSuitesPtr) == 12, "host record");
static_assert(sizeof(imStdParms) == 20, "host record");

// Most records begin with the word that the importer gave out at the opening.
struct imRecordHead {
    void* privatedata;
};
static_assert(offsetof(imRecordHead, privatedata) == 0, "host record");
static_assert(sizeof(imRecordHead) == 8, "host record");

struct imImportInfoRec {
    uint8_t unused0[8];
    int32_t canSave;
    int32_t canDelete;
    uint8_t unused16[32];
    int32_t keepLoaded;
    int32_t priority;
    int32_t canAsync;
    uint8_t unused60[8];
    int32_t capability68;
    int32_t capability72;
};
static_assert(offsetof(imImportInfoRec, canSave) == 8, "host record");
static_assert(offsetof(imImportInfoRec, canDelete) == 12, "host record");
static_assert(offsetof(imImportInfoRec, keepLoaded) == 48, "host record");
static_assert(offsetof(imImportInfoRec, priority) == 52, "host record");
static_assert(offsetof(imImportInfoRec, canAsync) == 56, "host record");
static_assert(offsetof(imImportInfoRec, capability68) == 68, "host record");
static_assert(offsetof(imImportInfoRec, capability72) == 72, "host record");
static_assert(sizeof(imImportInfoRec) == 76, "host record");

struct imIndFormatRec {
    int32_t filetype;
    int32_t flags;
    uint8_t unused8[4];
    char formatName[256];
    char formatShortName[32];
    char platformExtension[256];
    uint8_t unused556[208];
};
static_assert(offsetof(imIndFormatRec, filetype) == 0, "host record");
static_assert(offsetof(imIndFormatRec, flags) == 4, "host record");
static_assert(offsetof(imIndFormatRec, formatName) == 12, "host record");
static_assert(offsetof(imIndFormatRec, formatShortName) == 268, "host record");
static_assert(offsetof(imIndFormatRec, platformExtension) == 300, "host record");
static_assert(sizeof(imIndFormatRec) == 764, "host record");

struct imFileOpenRec8 {
    uint8_t unused0[12];
    const prUTF16Char* filepath;
    uint8_t unused20[16];
    void* privatedata;
    uint8_t unused44[8];
    int32_t importerID;
};
static_assert(offsetof(imFileOpenRec8, filepath) == 12, "host record");
static_assert(offsetof(imFileOpenRec8, privatedata) == 36, "host record");
static_assert(offsetof(imFileOpenRec8, importerID) == 52, "host record");
static_assert(sizeof(imFileOpenRec8) == 56, "host record");

// Never looked into.
struct imFileAccessRec8;
struct imCalcSizeRec;
struct imCheckTrimRec;
struct imTrimFileRec8;
struct imAnalysisRec;
struct imDataRateAnalysisRec;
struct imMetaDataRec;

struct imFileInfoRec8 {
    int8_t hasVideo;
    int8_t hasAudio;
    int32_t width;
    int32_t height;
    uint8_t unused10[2];
    int16_t depth;
    int32_t subType;
    int8_t fieldType;
    uint8_t unused19[15];
    uint32_t pixelAspectNumerator;
    uint32_t pixelAspectDenominator;
    uint8_t unused42[8];
    int32_t setting50;
    int32_t setting54;
    uint8_t unused58[104];
    int32_t videoScale;
    int32_t videoSampleSize;
    int32_t videoDuration;
    int32_t audioChannels;
    float audioSampleRate;
    int32_t audioSampleType;
    int64_t audioDuration;
    int32_t accessModes;
    void* privatedata;
    uint8_t unused206[8];
    int8_t setting214;
    int32_t streamIdx;
    int8_t setting219;
};
static_assert(offsetof(imFileInfoRec8, hasVideo) == 0, "host record");
static_assert(offsetof(imFileInfoRec8, hasAudio) == 1, "host record");
static_assert(offsetof(imFileInfoRec8, width) == 2, "host record");
static_assert(offsetof(imFileInfoRec8, height) == 6, "host record");
static_assert(offsetof(imFileInfoRec8, depth) == 12, "host record");
static_assert(offsetof(imFileInfoRec8, subType) == 14, "host record");
static_assert(offsetof(imFileInfoRec8, fieldType) == 18, "host record");
static_assert(offsetof(imFileInfoRec8, pixelAspectNumerator) == 34, "host record");
static_assert(offsetof(imFileInfoRec8, pixelAspectDenominator) == 38, "host record");
static_assert(offsetof(imFileInfoRec8, setting50) == 50, "host record");
static_assert(offsetof(imFileInfoRec8, setting54) == 54, "host record");
static_assert(offsetof(imFileInfoRec8, videoScale) == 162, "host record");
static_assert(offsetof(imFileInfoRec8, videoSampleSize) == 166, "host record");
static_assert(offsetof(imFileInfoRec8, videoDuration) == 170, "host record");
static_assert(offsetof(imFileInfoRec8, audioChannels) == 174, "host record");
static_assert(offsetof(imFileInfoRec8, audioSampleRate) == 178, "host record");
static_assert(offsetof(imFileInfoRec8, audioSampleType) == 182, "host record");
static_assert(offsetof(imFileInfoRec8, audioDuration) == 186, "host record");
static_assert(offsetof(imFileInfoRec8, accessModes) == 194, "host record");
static_assert(offsetof(imFileInfoRec8, privatedata) == 198, "host record");
static_assert(offsetof(imFileInfoRec8, setting214) == 214, "host record");
static_assert(offsetof(imFileInfoRec8, streamIdx) == 215, "host record");
static_assert(offsetof(imFileInfoRec8, setting219) == 219, "host record");
static_assert(sizeof(imFileInfoRec8) == 220, "host record");

struct imPreferredFrameSizeRec {
    void* privatedata;
    uint8_t unused8[16];
    int32_t width;
    int32_t height;
};
static_assert(offsetof(imPreferredFrameSizeRec, privatedata) == 0, "host record");
static_assert(offsetof(imPreferredFrameSizeRec, width) == 24, "host record");
static_assert(offsetof(imPreferredFrameSizeRec, height) == 28, "host record");
static_assert(sizeof(imPreferredFrameSizeRec) == 32, "host record");

struct imIndPixelFormatRec {
    void* privatedata;
    PrPixelFormat pixelFormat;
};
static_assert(offsetof(imIndPixelFormatRec, privatedata) == 0, "host record");
static_assert(offsetof(imIndPixelFormatRec, pixelFormat) == 8, "host record");
static_assert(sizeof(imIndPixelFormatRec) == 12, "host record");

struct imImportAudioRec7 {
    int64_t position;  // in audio frames; negative: where the last request started
    uint32_t size;     // in audio frames
    float** buffer;    // one plane for each channel
    void* privatedata;
};
static_assert(offsetof(imImportAudioRec7, position) == 0, "host record");
static_assert(offsetof(imImportAudioRec7, size) == 8, "host record");
static_assert(offsetof(imImportAudioRec7, buffer) == 12, "host record");
static_assert(offsetof(imImportAudioRec7, privatedata) == 20, "host record");
static_assert(sizeof(imImportAudioRec7) == 28, "host record");

struct imSaveFileRec8 {
    void* privatedata;
    uint8_t unused8[8];
    const prUTF16Char* sourcePath;
    const prUTF16Char* destinationPath;
};
static_assert(offsetof(imSaveFileRec8, privatedata) == 0, "host record");
static_assert(offsetof(imSaveFileRec8, sourcePath) == 16, "host record");
static_assert(offsetof(imSaveFileRec8, destinationPath) == 24, "host record");
static_assert(sizeof(imSaveFileRec8) == 32, "host record");

struct imDeleteFileRec8 {
    uint8_t unused0[4];
    const prUTF16Char* deleteFilePath;
};
static_assert(offsetof(imDeleteFileRec8, deleteFilePath) == 4, "host record");
static_assert(sizeof(imDeleteFileRec8) == 12, "host record");

struct imTimeInfoRec8 {
    void* privatedata;
    uint8_t unused8[8];
    char originalTime[18];
    int32_t originalScale;
    int32_t originalSampleSize;
    int8_t setting42;
    uint8_t unused43[17];
    uint8_t setting60[9];
    uint8_t unused69[39];
    int8_t setting108;
    uint8_t unused109[39];
    int8_t setting148;
    uint8_t unused149[255];
    int32_t setting404;
};
static_assert(offsetof(imTimeInfoRec8, privatedata) == 0, "host record");
static_assert(offsetof(imTimeInfoRec8, originalTime) == 16, "host record");
static_assert(offsetof(imTimeInfoRec8, originalScale) == 34, "host record");
static_assert(offsetof(imTimeInfoRec8, originalSampleSize) == 38, "host record");
static_assert(offsetof(imTimeInfoRec8, setting42) == 42, "host record");
static_assert(offsetof(imTimeInfoRec8, setting60) == 60, "host record");
static_assert(offsetof(imTimeInfoRec8, setting108) == 108, "host record");
static_assert(offsetof(imTimeInfoRec8, setting148) == 148, "host record");
static_assert(offsetof(imTimeInfoRec8, setting404) == 404, "host record");
static_assert(sizeof(imTimeInfoRec8) == 408, "host record");

struct imFrameFormat {
    int32_t frameWidth;
    int32_t frameHeight;
    PrPixelFormat pixelFormat;
};
static_assert(offsetof(imFrameFormat, frameWidth) == 0, "host record");
static_assert(offsetof(imFrameFormat, frameHeight) == 4, "host record");
static_assert(offsetof(imFrameFormat, pixelFormat) == 8, "host record");
static_assert(sizeof(imFrameFormat) == 12, "host record");

struct imSourceVideoRec {
    void* privatedata;
    int32_t streamIdx;
    int64_t frameTime;  // in the host's ticks
    imFrameFormat* frameFormats;
    int32_t frameFormatCount;
    uint8_t flag32;
    uint8_t padding[3];
    PPixHand* ppix;  // the place for the frame that is asked for
    void* preferences;
    int32_t preferencesSize;
};
static_assert(offsetof(imSourceVideoRec, privatedata) == 0, "host record");
static_assert(offsetof(imSourceVideoRec, streamIdx) == 8, "host record");
static_assert(offsetof(imSourceVideoRec, frameTime) == 12, "host record");
static_assert(offsetof(imSourceVideoRec, frameFormats) == 20, "host record");
static_assert(offsetof(imSourceVideoRec, frameFormatCount) == 28, "host record");
static_assert(offsetof(imSourceVideoRec, flag32) == 32, "host record");
static_assert(offsetof(imSourceVideoRec, ppix) == 36, "host record");
static_assert(offsetof(imSourceVideoRec, preferences) == 44, "host record");
static_assert(offsetof(imSourceVideoRec, preferencesSize) == 52, "host record");
static_assert(sizeof(imSourceVideoRec) == 56, "host record");

struct aiAsyncRequest {
    void* privatedata;
    uint8_t unused8[8];
    imSourceVideoRec sourceRec;
};
static_assert(offsetof(aiAsyncRequest, privatedata) == 0, "host record");
static_assert(offsetof(aiAsyncRequest, sourceRec) == 16, "host record");
static_assert(sizeof(aiAsyncRequest) == 72, "host record");

struct imAsyncImporterCreationRec {
    void* privatedata;
    void* preferences;
    long (*asyncEntry)(int selector, void* record);
    void* asyncPrivateData;
};
static_assert(offsetof(imAsyncImporterCreationRec, privatedata) == 0, "host record");
static_assert(offsetof(imAsyncImporterCreationRec, preferences) == 8, "host record");
static_assert(offsetof(imAsyncImporterCreationRec, asyncEntry) == 16, "host record");
static_assert(offsetof(imAsyncImporterCreationRec, asyncPrivateData) == 24, "host record");
static_assert(sizeof(imAsyncImporterCreationRec) == 32, "host record");

#pragma pack(pop)
