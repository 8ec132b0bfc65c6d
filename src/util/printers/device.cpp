#include "util/printer.h"
#include "util/printer_tables.h"

// The values are those of the host's interface for tape devices, which the importer has no other
// use for.

namespace KVX::Util::Printer {

namespace {

constexpr NamedValue kDeviceSelectors[] = {
    {0, "dsInit"},    {1, "dsSetup"}, {2, "dsExecute"},    {3, "dsCleanup"},
    {4, "dsRestart"}, {5, "dsQuiet"}, {6, "dsHasOptions"},
};

constexpr NamedValue kDeviceErrors[] = {
    {-100, "dmUnsupported"},       {-1, "dmGeneralError"},      {0, "dmNoError"},
    {1, "dmDeviceNotFound"},       {2, "dmTimecodeNotFound"},   {3, "dmBadTimecode"},
    {4, "dmCantRecord"},           {5, "dmUserAborted"},        {6, "dmLastErrorSet"},
    {7, "dmExportToTapeFinished"}, {8, "dmTapeWriteProtected"}, {9, "dmNoTape"},
    {10, "dmLastInfoSet"},         {11, "dmLastWarningSet"},    {12, "dmHasNoOptions"},
    {99, "dmUnknownError"},
};

constexpr NamedValue kCommands[] = {
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

constexpr NamedValue kModes[] = {
    {0, "modeStop"},         {1, "modePlay"},         {2, "modePlay1_5"},     {3, "modePlay1_10"},
    {4, "modePause"},        {5, "modeFastFwd"},      {6, "modeRewind"},      {7, "modeRecord"},
    {8, "modeGoto"},         {9, "modeStepFwd"},      {10, "modeStepBack"},   {11, "modePlayRev"},
    {12, "modePlayRev1_5"},  {13, "modePlayRev1_10"}, {14, "modeTapeOut"},    {15, "modeLocal"},
    {16, "modeRecordPause"}, {17, "modePlayFastFwd"}, {18, "modePlayRewind"},
};

constexpr NamedValue kFeatures[] = {
    {1 << 24, "fRecordImmediate"},
    {1 << 23, "fNoTransport"},
    {1 << 22, "fCantLoop"},
    {1 << 21, "fSyncStatus"},
    {1 << 20, "fExportDialog"},
    {0x80000, "fCanInsertEdit"},
    {0x40000, "fDrvrQuiet"},
    {0x20000, "fHasJogMode"},
    {0x10000, "fCanEject"},
    {0x8000, "fStepFwd"},
    {0x4000, "fStepBack"},
    {0x2000, "fRecord"},
    {0x1000, "fPositionInfo"},
    {0x800, "fGoto"},
    {0x400, "f1_5"},
    {0x200, "f1_10"},
    {0x100, "fBasic"},
    {0x80, "fHasOptions"},
    {0x40, "fReversePlay"},
    {0x20, "fCanLocate"},
    {0x10, "fStillFrame"},
    {8, "fCanShuttle"},
    {4, "fCanJog"},
};

}  // namespace

namespace Device {
const char* Selector(long value, int) {
    return NameOrUnknown(kDeviceSelectors, value);
}
const char* Error(long value, int) {
    return NameOrUnknown(kDeviceErrors, value);
}
}  // namespace Device

const char* DeviceCommand(short value, int) {
    return NameOrUnknown(kCommands, value);
}
const char* DeviceMode(short value, int) {
    return NameOrUnknown(kModes, value);
}
const char* DeviceFeatures(long bits, int) {
    return NamesOfBits(kFeatures, bits);
}

}  // namespace KVX::Util::Printer
