// Printers of bits: each bit by its name, in the printer's order.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "core/per_thread_buffer.h"
#include "util/printer.h"

namespace Printer = KVX::Util::Printer;

namespace {

struct Row {
    long value;
    const char* name;
};

constexpr Row kFileImportCapability[] = {
    {0x8000, "xfCanOpen"},
    {0x4000, "xfCanImport"},
    {0x2000, "xfCanReplace"},
    {0x1000, "xfUsesFiles"},
    {0x800, "xfCantBatchProcess"},
    {0x400, "xfCanWriteMetaData"},
    {0x200, "xfCanWriteTimecode"},
    {0x100, "xfIsTitle"},
    {0x80, "xfIsEffect"},
    {0x40, "xfIsAFilter"},
    {0x20, "xfIsVFilter"},
    {0x10, "xfIsStill"},
    {8, "xfIsMovie"},
    {4, "xfIsSound"},
    {2, "xfIsAnimation"},
    {1, "xfIsBackdrop"},
};

constexpr Row kPlaybackCapability[] = {
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

constexpr Row kPlayFlags[] = {
    {4, "pmFlag_canPlayLists"},
};

constexpr Row kFrameDestination[] = {
    {1, "pmPutFrameDestination_VideoDesktop"},
    {2, "pmPutFrameDestination_VideoHardware"},
};

constexpr Row kDeviceFeatures[] = {
    {1L << 24, "fRecordImmediate"},
    {1L << 23, "fNoTransport"},
    {1L << 22, "fCantLoop"},
    {1L << 21, "fSyncStatus"},
    {1L << 20, "fExportDialog"},
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

const Table kTables[] = {
    {"FileImportCapability", Printer::FileImport::Capability, Rows(kFileImportCapability)},
    {"PlaybackCapability", Printer::Playback::Capability, Rows(kPlaybackCapability)},
    {"PlayFlags", Printer::PlayFlags, Rows(kPlayFlags)},
    {"FrameDestination", Printer::FrameDestination, Rows(kFrameDestination)},
    {"DeviceFeatures", Printer::DeviceFeatures, Rows(kDeviceFeatures)},
};

void PrintTo(const Table& table, std::ostream* out) {
    *out << table.printer;
}

class PrinterBits : public testing::TestWithParam<Table> {
  protected:
    std::string Print(long bits) const { return GetParam().print(bits, 0); }
};

TEST_P(PrinterBits, NoBitIsZero) {
    EXPECT_EQ(Print(0), "0");
}

TEST_P(PrinterBits, OneBitIsItsName) {
    for (const Row& row : GetParam().rows) {
        EXPECT_EQ(Print(row.value), row.name);
    }
}

TEST_P(PrinterBits, TwoBitsAreJoinedInOrder) {
    const std::vector<Row>& rows = GetParam().rows;
    for (size_t first = 0; first < rows.size(); ++first) {
        for (size_t second = first + 1; second < rows.size(); ++second) {
            EXPECT_EQ(Print(rows[first].value | rows[second].value),
                      std::string(rows[first].name) + " | " + rows[second].name);
        }
    }
}

TEST_P(PrinterBits, AllBitsAreJoinedAndOthersPassedOver) {
    std::string names;
    long known = 0;
    for (const Row& row : GetParam().rows) {
        names += (names.empty() ? "" : " | ") + std::string(row.name);
        known |= row.value;
    }
    EXPECT_EQ(Print(known), names);
    EXPECT_EQ(Print(-1), names);
    EXPECT_EQ(Print(~known), "0");
}

TEST_P(PrinterBits, TextBeginsAtTheFourthByteOfAPieceOf1024) {
    // A new thread's ring stands at its beginning.
    std::thread([] {
        const char* ring = KVX::Core::GetPerThreadBuffer(0);
        for (const long bits : {0L, GetParam().rows.front().value}) {
            const char* piece = KVX::Core::GetPerThreadBuffer(0);
            EXPECT_EQ(GetParam().print(bits, 0), piece + 3);
        }
        EXPECT_EQ(KVX::Core::GetPerThreadBuffer(0), ring + 2048);
    }).join();
}

INSTANTIATE_TEST_SUITE_P(AllPrinters, PrinterBits, testing::ValuesIn(kTables),
                         [](const testing::TestParamInfo<Table>& info) {
                             return std::string(info.param.printer);
                         });

TEST(PrinterBits, CanOpenStandsBeforeIsMovie) {
    EXPECT_STREQ(Printer::FileImport::Capability(0x8008), "xfCanOpen | xfIsMovie");
}

}  // namespace
