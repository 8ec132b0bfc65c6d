#include "util/printer.h"
#include "util/printer_tables.h"

// The host's descriptions of media: rates, fields, alpha, audio and access.

namespace KVX::Util::Printer {

namespace {

constexpr NamedValue kFrameRates[] = {
    {0x17F9DB, "kFrameRate23976FPS"}, {0x17FAE1, "kFrameRate2398FPS"},
    {0x180000, "kFrameRate24FPS"},    {0x190000, "kFrameRate25FPS"},
    {0x1DF852, "kFrameRate2997FPS"},  {0x1E0000, "kFrameRate30FPS"},
    {0x320000, "kFrameRate50FPS"},    {0x3BF0A4, "kFrameRate5994FPS"},
    {0x3C0000, "kFrameRate60FPS"},
};

constexpr NamedValue kFieldTypes[] = {
    {0, "prFieldsNone"},
    {1, "prFieldsUpperFirst"},
    {2, "prFieldsLowerFirst"},
    {3, "prFieldsUnknown"},
};

constexpr NamedValue kAlphaTypes[] = {
    {0, "alphaUnknown"},   {1, "alphaStraight"}, {2, "alphaBlackMatte"}, {3, "alphaWhiteMatte"},
    {4, "alphaArbitrary"}, {5, "alphaNone"},     {6, "alphaOpaque"},     {7, "alphaIgnore"},
};

constexpr NamedValue kRenderQualities[] = {
    {0, "kPrRenderQuality_Draft"},
    {1, "kPrRenderQuality_Low"},
    {2, "kPrRenderQuality_Medium"},
    {3, "kPrRenderQuality_High"},
};

constexpr NamedValue kAudioSampleTypes[] = {
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

constexpr NamedValue kAudioChannelTypes[] = {
    {1, "kPrAudioChannelType_Mono"},
    {2, "kPrAudioChannelType_Stereo"},
    {3, "kPrAudioChannelType_51"},
    {0xFFFFFFFF, "kPrAudioChannelType_Max"},
};

constexpr NamedValue kAudioAccessModes[] = {
    {0, "kRandomAccessImport"}, {1, "kSequentialAudioOnly"},     {2, "kSequentialVideoOnly"},
    {3, "kSequentialOnly"},     {4, "kSeparateSequentialAudio"},
};

constexpr NamedValue kOpenFileAccessModes[] = {
    {0, "kPrOpenFileAccess_ReadOnly"},
    {1, "kPrOpenFileAccess_ReadWrite"},
};

}  // namespace

const char* FrameRate(long value, int) {
    return NameOrUnknown(kFrameRates, value);
}
const char* FieldType(long value, int) {
    return NameOrUnknown(kFieldTypes, value);
}
const char* AlphaType(long value, int) {
    return NameOrUnknown(kAlphaTypes, value);
}
const char* RenderQuality(long value, int) {
    return NameOrUnknown(kRenderQualities, value);
}
const char* AudioSampleType(long value, int) {
    return NameOrUnknown(kAudioSampleTypes, value);
}
const char* AudioChannelType(long value, int) {
    return NameOrUnknown(kAudioChannelTypes, value);
}
const char* AudioAccessMode(long value, int) {
    return NameOrUnknown(kAudioAccessModes, value);
}
const char* OpenFileAccessMode(long value, int) {
    return NameOrUnknown(kOpenFileAccessModes, value);
}

}  // namespace KVX::Util::Printer
