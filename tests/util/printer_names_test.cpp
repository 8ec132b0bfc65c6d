// Every name of every value, and no name for any other.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "util/printer.h"

namespace Printer = KVX::Util::Printer;

namespace {

struct Row {
    long value;
    const char* name;
};

constexpr Row kAsyncImportSelector[] = {
    {0, "aiInitiateAsyncRead"}, {1, "aiCancelAsyncRead"}, {2, "aiFlush"},
    {3, "aiGetFrame"},          {4, "aiClose"},
};

constexpr Row kAsyncImportError[] = {
    {0, "aiNoError"},
    {1, "aiUnsupported"},
    {2, "aiUnknownError"},
    {3, "aiFrameNotFound"},
};

constexpr Row kDeviceSelector[] = {
    {0, "dsInit"},    {1, "dsSetup"}, {2, "dsExecute"},    {3, "dsCleanup"},
    {4, "dsRestart"}, {5, "dsQuiet"}, {6, "dsHasOptions"},
};

constexpr Row kDeviceError[] = {
    {-100, "dmUnsupported"},       {-1, "dmGeneralError"},      {0, "dmNoError"},
    {1, "dmDeviceNotFound"},       {2, "dmTimecodeNotFound"},   {3, "dmBadTimecode"},
    {4, "dmCantRecord"},           {5, "dmUserAborted"},        {6, "dmLastErrorSet"},
    {7, "dmExportToTapeFinished"}, {8, "dmTapeWriteProtected"}, {9, "dmNoTape"},
    {10, "dmLastInfoSet"},         {11, "dmLastWarningSet"},    {12, "dmHasNoOptions"},
    {99, "dmUnknownError"},
};

constexpr Row kFileImportSelector[] = {
    {0, "imInit"},
    {1, "imShutdown"},
    {5, "imImportImage"},
    {8, "imQuietFile"},
    {9, "imCloseFile"},
    {12, "imAnalysis"},
    {13, "imDataRateAnalysis"},
    {14, "imGetIndFormat"},
    {23, "imGetMetaData"},
    {24, "imSetMetaData"},
    {25, "imImportAudio7"},
    {27, "imGetIndPixelFormat"},
    {28, "imGetSupports7"},
    {29, "imResetSequentialAudio"},
    {30, "imGetSequentialAudio"},
    {32, "imGetRollCrawlInfo"},
    {33, "imRollCrawlRenderPage"},
    {36, "imGetSupports8"},
    {37, "imGetInfo8"},
    {38, "imGetPrefs8"},
    {39, "imOpenFile8"},
    {40, "imSaveFile8"},
    {41, "imDeleteFile8"},
    {42, "imCalcSize8"},
    {43, "imCheckTrim8"},
    {44, "imTrimFile8"},
    {45, "imGetPreferredFrameSize"},
    {46, "imCreateAsyncImporter"},
    {47, "imGetSourceVideo"},
    {48, "imDeferredProcessing"},
    {49, "imGetPeakAudio"},
    {50, "imRetargetAccelerator"},
    {51, "imCopyFile"},
    {52, "imGetTimeInfo8"},
    {53, "imSetTimeInfo8"},
    {54, "imGetSubTypeNames"},
    {55, "imGetFileAttributes"},
    {56, "imQueryDestinationPath"},
    {57, "imQueryContentState"},
};

constexpr Row kFileImportError[] = {
    {0, "imNoErr"},
    {1, "imTooWide"},
    {2, "imBadFile"},
    {3, "imUnsupported"},
    {4, "imMemErr"},
    {5, "imOtherErr"},
    {6, "imNoContent"},
    {7, "imBadRate"},
    {8, "imBadCompression"},
    {9, "imBadCodec"},
    {10, "imNotFlat"},
    {11, "imBadSndComp"},
    {12, "imNoTimecode"},
    {13, "imMissingComponent"},
    {14, "imSaveErr"},
    {15, "imDeleteErr"},
    {16, "imNotFoundErr"},
    {17, "imSetFile"},
    {18, "imIterateStreams"},
    {19, "imBadStreamIndex"},
    {20, "imCantTrim"},
    {21, "imDiskFull"},
    {22, "imDiskErr"},
    {23, "imFileShareViolation"},
    {24, "imIterateFrameSizes"},
    {25, "imMediaPending"},
    {26, "imDRMControlled"},
    {300, "imCancel"},
    {301, "imBadFormatIndex"},
    {400, "imIsCacheable"},
};

constexpr Row kPlaybackSelector[] = {
    {1, "playmod_Startup"},
    {2, "playmod_Shutdown"},
    {3, "playmod_Open"},
    {4, "playmod_GetInfo"},
    {5, "playmod_SetDisp"},
    {6, "playmod_Update"},
    {10, "playmod_Stop"},
    {11, "playmod_PlayIdle"},
    {12, "playmod_Close"},
    {14, "playmod_GetIndFormat"},
    {21, "playmod_NewList"},
    {34, "playmod_GetFilePrefs"},
    {45, "playmod_UpdateMarkers"},
    {46, "playmod_SetFilePrefs"},
    {49, "playmod_PutFrame"},
    {53, "playmod_SetQuality"},
    {54, "playmod_SetPlaybackSpeed"},
    {55, "playmod_Play"},
    {56, "playmod_SetPos"},
    {57, "playmod_GetPos"},
    {59, "playmod_Step"},
    {60, "playmod_Preroll"},
    {61, "playmod_AdornSafeAreas"},
    {62, "playmod_Activate"},
    {63, "playmod_EnterScrub"},
    {64, "playmod_LeaveScrub"},
    {65, "playmod_SetView"},
    {66, "playmod_SetDisplayMode"},
    {67, "playmod_PutFrameRequest"},
    {69, "playmod_SetVideoDisplayType"},
    {70, "playmod_DisplayMoving"},
    {71, "playmod_DisplayChanged"},
    {74, "playmod_GetAudioInfo"},
    {75, "playmod_GetAudioChannelInfo"},
    {76, "playmod_PushPlayerSettings"},
    {77, "playmod_EnableDynamicPlayback"},
    {78, "playmod_AllowSetPositionDuringPlayback"},
    {79, "playmod_VideoSequenceHasChanged"},
    {80, "playmod_GetRTStatusForTime"},
    {0xFFFFFFFF, "playmod_SelectorsForceSize"},
};

constexpr Row kPlaybackError[] = {
    {0, "playmod_ErrNone"},
    {1, "playmod_ErrBadFile"},
    {2, "playmod_ErrDriver"},
    {3, "playmod_ErrNotPreferred"},
    {4, "playmod_BadFormatIndex"},
    {5, "playmod_DeclinePlay"},
    {6, "playmod_ListWrongType"},
    {7, "playmod_ListBadSpeed"},
    {8, "playmod_CantAddSegment"},
    {9, "playmod_Unsupported"},
    {10, "playmod_AudioOverload"},
    {11, "playmod_OutOfRange"},
    {12, "playmod_CannotRender"},
    {13, "playmod_RebuildCutlist"},
    {14, "playmod_CannotShiftLayer"},
    {16, "playmod_UnsupportedPlaybackSpeed"},
    {17, "playmod_BroadcastPrefs"},
    {18, "playmod_CannotRecord"},
    {19, "playmod_RenderAndPutFrame"},
};

constexpr Row kPlaybackVersion[] = {
    {700, "PLAYMOD_VERSION_70"},   {750, "PLAYMOD_VERSION_75"},   {800, "PLAYMOD_VERSION_80"},
    {850, "PLAYMOD_VERSION_85"},   {900, "PLAYMOD_VERSION_90"},   {1000, "PLAYMOD_VERSION_100"},
    {1100, "PLAYMOD_VERSION_110"}, {1150, "PLAYMOD_VERSION_115"},
};

constexpr Row kFrameRate[] = {
    {0x17F9DB, "kFrameRate23976FPS"}, {0x17FAE1, "kFrameRate2398FPS"},
    {0x180000, "kFrameRate24FPS"},    {0x190000, "kFrameRate25FPS"},
    {0x1DF852, "kFrameRate2997FPS"},  {0x1E0000, "kFrameRate30FPS"},
    {0x320000, "kFrameRate50FPS"},    {0x3BF0A4, "kFrameRate5994FPS"},
    {0x3C0000, "kFrameRate60FPS"},
};

constexpr Row kFieldType[] = {
    {0, "prFieldsNone"},
    {1, "prFieldsUpperFirst"},
    {2, "prFieldsLowerFirst"},
    {3, "prFieldsUnknown"},
};

constexpr Row kAlphaType[] = {
    {0, "alphaUnknown"},   {1, "alphaStraight"}, {2, "alphaBlackMatte"}, {3, "alphaWhiteMatte"},
    {4, "alphaArbitrary"}, {5, "alphaNone"},     {6, "alphaOpaque"},     {7, "alphaIgnore"},
};

constexpr Row kRenderQuality[] = {
    {0, "kPrRenderQuality_Draft"},
    {1, "kPrRenderQuality_Low"},
    {2, "kPrRenderQuality_Medium"},
    {3, "kPrRenderQuality_High"},
};

constexpr Row kVideoDisplayType[] = {
    {0, "kPrVideoDisplayType_Vectorscope"},
    {1, "kPrVideoDisplayType_Waveform"},
    {2, "kPrVideoDisplayType_RGBParade"},
    {3, "kPrVideoDisplayType_YUVParade"},
    {4, "kPrVideoDisplayType_VectWaveYParade"},
    {5, "kPrVideoDisplayType_VectWaveRParade"},
    {6, "kPrVideoDisplayType_Alpha"},
    {7, "kPrVideoDisplayType_All"},
    {8, "kPrVideoDisplayType_Off"},
    {9, "kPrVideoDisplayType_DirectManipulation"},
    {10, "kPrVideoDisplayType_Composite"},
    {11, "kPrVideoDisplayType_AudioOnly"},
};

constexpr Row kAudioSampleType[] = {
    {1, "kPrAudioSampleType_8BitInt"},
    {2, "kPrAudioSampleType_8BitTwosInt"},
    {3, "kPrAudioSampleType_16BitInt"},
    {4, "kPrAudioSampleType_24BitInt"},
    {5, "kPrAudioSampleType_32BitInt"},
    {6, "kPrAudioSampleType_32BitFloat"},
    {7, "kPrAudioSampleType_64BitFloat"},
    {8, "kPrAudioSampleType_16BitIntBigEndian"},
    {9, "kPrAudioSampleType_24BitIntBigEndian"},
    {10, "kPrAudioSampleType_32BitIntBigEndian"},
    {11, "kPrAudioSampleType_32BitFloatBigEndian"},
    {12, "kPrAudioSampleType_Compressed"},
    {13, "kPrAudioSampleType_Packed"},
    {14, "kPrAudioSampleType_Other"},
    {15, "kPrAudioSampleType_Any"},
};

constexpr Row kAudioChannelType[] = {
    {1, "kPrAudioChannelType_Mono"},
    {2, "kPrAudioChannelType_Stereo"},
    {3, "kPrAudioChannelType_51"},
    {0xFFFFFFFF, "kPrAudioChannelType_Max"},
};

constexpr Row kAudioAccessMode[] = {
    {0, "kRandomAccessImport"}, {1, "kSequentialAudioOnly"},     {2, "kSequentialVideoOnly"},
    {3, "kSequentialOnly"},     {4, "kSeparateSequentialAudio"},
};

constexpr Row kOpenFileAccessMode[] = {
    {0, "kPrOpenFileAccess_ReadOnly"},
    {1, "kPrOpenFileAccess_ReadWrite"},
};

constexpr Row kPlayMode[] = {
    {0, "playmode_Stopped"},
    {1, "playmode_Playing"},
};

constexpr Row kPlayCode[] = {
    {0, "PRT_PLAYCODE_REALTIME"},
    {1, "PRT_PLAYCODE_NON_REALTIME_UNSPECIFIED"},
    {2, "PRT_PLAYCODE_REALTIME_WITH_MISMATCH"},
};

constexpr Row kDisplayMode[] = {
    {0, "pmPlayerDisplay_Off"},
    {1, "pmPlayerDisplay_Composite"},
    {2, "pmPlayerDisplay_Alpha"},
    {3, "pmPlayerDisplay_Scope"},
    {4, "pmPlayerDisplay_DirectManipulation"},
    {5, "pmPlayerDisplay_AudioOnly"},
};

constexpr Row kActivationEvent[] = {
    {0, "PrActivationEvent_Unspecified"},
    {1, "PrActivationEvent_RecorderActivated"},
    {2, "PrActivationEvent_PlayerActivated"},
    {3, "PrActivationEvent_ApplicationLostFocus"},
};

constexpr Row kDeviceCommand[] = {
    {0, "cmdGetFeatures"},
    {1, "cmdStatus"},
    {2, "cmdNewMode"},
    {3, "cmdGoto"},
    {4, "cmdLocate"},
    {5, "cmdShuttle"},
    {6, "cmdJogTo"},
    {7, "cmdJog"},
    {8, "cmdEject"},
    {9, "cmdLocateInsertAsm"},
    {10, "cmdInsertEdit"},
    {11, "cmdStatusSync"},
    {12, "cmdGetDeviceDisplayName"},
    {13, "cmdSetDropness"},
    {14, "cmdGetCurrentDeviceIdentifier"},
};

constexpr Row kDeviceMode[] = {
    {0, "modeStop"},         {1, "modePlay"},         {2, "modePlay1_5"},     {3, "modePlay1_10"},
    {4, "modePause"},        {5, "modeFastFwd"},      {6, "modeRewind"},      {7, "modeRecord"},
    {8, "modeGoto"},         {9, "modeStepFwd"},      {10, "modeStepBack"},   {11, "modePlayRev"},
    {12, "modePlayRev1_5"},  {13, "modePlayRev1_10"}, {14, "modeTapeOut"},    {15, "modeLocal"},
    {16, "modeRecordPause"}, {17, "modePlayFastFwd"}, {18, "modePlayRewind"},
};

constexpr Row kRenderFrameState[] = {
    {0, "eRendering"}, {1, "eRendered"}, {2, "eConverting"}, {3, "eConverted"}, {4, "eScheduled"},
};

using Print = const char* (*)(long, int);

struct Table {
    const char* printer;
    Print print;
    std::vector<Row> rows;
};

template <size_t Count>
std::vector<Row> Rows(const Row (&rows)[Count]) {
    return {rows, rows + Count};
}

const char* DeviceCommand(long value, int unused) {
    return Printer::DeviceCommand(static_cast<short>(value), unused);
}

const char* DeviceMode(long value, int unused) {
    return Printer::DeviceMode(static_cast<short>(value), unused);
}

const Table kTables[] = {
    {"AsyncImportSelector", Printer::AsyncImport::Selector, Rows(kAsyncImportSelector)},
    {"AsyncImportError", Printer::AsyncImport::Error, Rows(kAsyncImportError)},
    {"DeviceSelector", Printer::Device::Selector, Rows(kDeviceSelector)},
    {"DeviceError", Printer::Device::Error, Rows(kDeviceError)},
    {"FileImportSelector", Printer::FileImport::Selector, Rows(kFileImportSelector)},
    {"FileImportError", Printer::FileImport::Error, Rows(kFileImportError)},
    {"PlaybackSelector", Printer::Playback::Selector, Rows(kPlaybackSelector)},
    {"PlaybackError", Printer::Playback::Error, Rows(kPlaybackError)},
    {"PlaybackVersion", Printer::Playback::Version, Rows(kPlaybackVersion)},
    {"FrameRate", Printer::FrameRate, Rows(kFrameRate)},
    {"FieldType", Printer::FieldType, Rows(kFieldType)},
    {"AlphaType", Printer::AlphaType, Rows(kAlphaType)},
    {"RenderQuality", Printer::RenderQuality, Rows(kRenderQuality)},
    {"VideoDisplayType", Printer::VideoDisplayType, Rows(kVideoDisplayType)},
    {"AudioSampleType", Printer::AudioSampleType, Rows(kAudioSampleType)},
    {"AudioChannelType", Printer::AudioChannelType, Rows(kAudioChannelType)},
    {"AudioAccessMode", Printer::AudioAccessMode, Rows(kAudioAccessMode)},
    {"OpenFileAccessMode", Printer::OpenFileAccessMode, Rows(kOpenFileAccessMode)},
    {"PlayMode", Printer::PlayMode, Rows(kPlayMode)},
    {"PlayCode", Printer::PlayCode, Rows(kPlayCode)},
    {"DisplayMode", Printer::DisplayMode, Rows(kDisplayMode)},
    {"ActivationEvent", Printer::ActivationEvent, Rows(kActivationEvent)},
    {"DeviceCommand", DeviceCommand, Rows(kDeviceCommand)},
    {"DeviceMode", DeviceMode, Rows(kDeviceMode)},
    {"RenderFrameState", Printer::RenderFrameState, Rows(kRenderFrameState)},
};

void PrintTo(const Table& table, std::ostream* out) {
    *out << table.printer;
}

class PrinterNames : public testing::TestWithParam<Table> {};

std::string UnknownText(long value) {
    char text[128];
    const auto code = static_cast<unsigned int>(value);
    std::snprintf(text, sizeof(text), "Unknown (%ld, 0x%08lx, '%c%c%c%c')", value,
                  static_cast<unsigned long>(value), code >> 24, code >> 16 & 0xFF,
                  code >> 8 & 0xFF, code & 0xFF);
    return text;
}

TEST_P(PrinterNames, EveryValueHasItsName) {
    for (const Row& row : GetParam().rows) {
        EXPECT_STREQ(GetParam().print(row.value, 0), row.name);
        // The second argument changes nothing.
        EXPECT_STREQ(GetParam().print(row.value, 99), row.name);
    }
}

TEST_P(PrinterNames, NoOtherValueHasAName) {
    std::set<long> named;
    std::set<long> others = {INT_MIN, SHRT_MIN, SHRT_MAX};
    for (const Row& row : GetParam().rows) {
        named.insert(row.value);
        others.insert({row.value - 1, row.value + 1});
    }
    for (long value = -300; value < 2000; ++value) {
        others.insert(value);
    }
    const bool takesShort = GetParam().print == DeviceCommand || GetParam().print == DeviceMode;
    for (const long value : others) {
        if (named.count(value) == 0 && (!takesShort || value == static_cast<short>(value))) {
            EXPECT_EQ(GetParam().print(value, 0), UnknownText(value));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllPrinters, PrinterNames, testing::ValuesIn(kTables),
                         [](const testing::TestParamInfo<Table>& info) {
                             return std::string(info.param.printer);
                         });

struct ModeRow {
    const char* code;
    const char* name;
};

constexpr ModeRow kModes[] = {
    {"23p#", "kvxMode3DHD1080p2398"},
    {"23ps", "kvxModeHD1080p2398"},
    {"24p#", "kvxMode3DHD1080p24"},
    {"24ps", "kvxModeHD1080p24"},
    {"2d23", "kvxMode2kDCI2398"},
    {"2d24", "kvxMode2kDCI24"},
    {"2d25", "kvxMode2kDCI25"},
    {"2k23", "kvxMode2k2398"},
    {"2k24", "kvxMode2k24"},
    {"2k25", "kvxMode2k25"},
    {"H23d", "kvxModeHD1080p2398Pulldown"},
    {"Hi50", "kvxModeHD1080i50"},
    {"Hi59", "kvxModeHD1080i5994"},
    {"Hi60", "kvxModeHD1080i6000"},
    {"Hp25", "kvxModeHD1080p25"},
    {"Hp29", "kvxModeHD1080p2997"},
    {"Hp30", "kvxModeHD1080p30"},
    {"Hp50", "kvxModeHD1080p50"},
    {"Hp59", "kvxModeHD1080p5994"},
    {"Hp60", "kvxModeHD1080p6000"},
    {"hp50", "kvxModeHD720p50"},
    {"hp59", "kvxModeHD720p5994"},
    {"hp60", "kvxModeHD720p60"},
    {"nt23", "kvxModeNTSC2398"},
    {"ntsc", "kvxModeNTSC"},
    {"pal ", "kvxModePAL"},
};

const std::set<std::string> kPublicModes = {"23ps", "24ps", "2k23", "2k24", "Hi50",
                                            "Hi59", "Hi60", "Hp25", "Hp29", "Hp30",
                                            "hp50", "hp59", "hp60", "ntsc", "pal "};

long CodeOf(const std::string& text) {
    long code = 0;
    for (const char character : text) {
        code = code << 8 | static_cast<unsigned char>(character);
    }
    return code;
}

TEST(PrinterModes, EveryModeHasItsName) {
    for (const ModeRow& row : kModes) {
        EXPECT_STREQ(Printer::Mode(CodeOf(row.code)), row.name);
    }
    EXPECT_EQ(Printer::Mode(CodeOf("PAL ")), UnknownText(CodeOf("PAL ")));
    EXPECT_EQ(Printer::Mode(0), UnknownText(0));
}

TEST(PrinterModes, PublicInterfaceKnowsFewer) {
    size_t known = 0;
    for (const ModeRow& row : kModes) {
        const long code = CodeOf(row.code);
        const bool isPublic = kPublicModes.count(row.code) != 0;
        EXPECT_EQ(Printer::KVXAPIDisplayMode(code), isPublic ? row.name : UnknownText(code));
        known += isPublic ? 1 : 0;
    }
    EXPECT_EQ(known, kPublicModes.size());
    EXPECT_EQ(Printer::KVXAPIDisplayMode(CodeOf("abcd")), UnknownText(CodeOf("abcd")));
}

}  // namespace
