#include "util/printer.h"
#include "util/printer_tables.h"

// The values are those of the host's interface for players, which the importer has no other use
// for.

namespace KVX::Util::Printer {

namespace {

constexpr NamedValue kPlaybackSelectors[] = {
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

constexpr NamedValue kPlaybackErrors[] = {
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

constexpr NamedValue kVersions[] = {
    {700, "PLAYMOD_VERSION_70"},   {750, "PLAYMOD_VERSION_75"},   {800, "PLAYMOD_VERSION_80"},
    {850, "PLAYMOD_VERSION_85"},   {900, "PLAYMOD_VERSION_90"},   {1000, "PLAYMOD_VERSION_100"},
    {1100, "PLAYMOD_VERSION_110"}, {1150, "PLAYMOD_VERSION_115"},
};

constexpr NamedValue kCapabilities[] = {
    {0x80, "PMCapPutFrame"},
    {0x800, "PMCapWillReportDroppedFrames"},
    {0x1000, "PMCapCanLoopPlayback"},
    {0x2000, "PMCapCanShuttlePlayback"},
    {0x4000, "PMCapCanZoom"},
    {0x8000, "PMCapCanSafeMargin"},
    {0x10000, "PMCapCanExport"},
    {0x20000, "PMCapPutSegment"},
    {0x40000, "PMCapSingleClipPlayerWantsRTSegments"},
};

constexpr NamedValue kPlayModes[] = {
    {0, "playmode_Stopped"},
    {1, "playmode_Playing"},
};

constexpr NamedValue kPlayCodes[] = {
    {0, "PRT_PLAYCODE_REALTIME"},
    {1, "PRT_PLAYCODE_NON_REALTIME_UNSPECIFIED"},
    {2, "PRT_PLAYCODE_REALTIME_WITH_MISMATCH"},
};

constexpr NamedValue kPlayFlags[] = {
    {4, "pmFlag_canPlayLists"},
};

constexpr NamedValue kDisplayModes[] = {
    {0, "pmPlayerDisplay_Off"},
    {1, "pmPlayerDisplay_Composite"},
    {2, "pmPlayerDisplay_Alpha"},
    {3, "pmPlayerDisplay_Scope"},
    {4, "pmPlayerDisplay_DirectManipulation"},
    {5, "pmPlayerDisplay_AudioOnly"},
};

constexpr NamedValue kActivationEvents[] = {
    {0, "PrActivationEvent_Unspecified"},
    {1, "PrActivationEvent_RecorderActivated"},
    {2, "PrActivationEvent_PlayerActivated"},
    {3, "PrActivationEvent_ApplicationLostFocus"},
};

constexpr NamedValue kRenderFrameStates[] = {
    {0, "eRendering"}, {1, "eRendered"}, {2, "eConverting"}, {3, "eConverted"}, {4, "eScheduled"},
};

constexpr NamedValue kFrameDestinations[] = {
    {1, "pmPutFrameDestination_VideoDesktop"},
    {2, "pmPutFrameDestination_VideoHardware"},
};

constexpr NamedValue kVideoDisplayTypes[] = {
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

}  // namespace

namespace Playback {
const char* Selector(long value, int) {
    return NameOrUnknown(kPlaybackSelectors, value);
}
const char* Error(long value, int) {
    return NameOrUnknown(kPlaybackErrors, value);
}
const char* Version(long value, int) {
    return NameOrUnknown(kVersions, value);
}
const char* Capability(long bits, int) {
    return NamesOfBits(kCapabilities, bits);
}
}  // namespace Playback

const char* PlayMode(long value, int) {
    return NameOrUnknown(kPlayModes, value);
}
const char* PlayCode(long value, int) {
    return NameOrUnknown(kPlayCodes, value);
}
const char* PlayFlags(long bits, int) {
    return NamesOfBits(kPlayFlags, bits);
}
const char* DisplayMode(long value, int) {
    return NameOrUnknown(kDisplayModes, value);
}
const char* ActivationEvent(long value, int) {
    return NameOrUnknown(kActivationEvents, value);
}
const char* RenderFrameState(long value, int) {
    return NameOrUnknown(kRenderFrameStates, value);
}
const char* FrameDestination(long bits, int) {
    return NamesOfBits(kFrameDestinations, bits);
}
const char* VideoDisplayType(long value, int) {
    return NameOrUnknown(kVideoDisplayTypes, value);
}

}  // namespace KVX::Util::Printer
