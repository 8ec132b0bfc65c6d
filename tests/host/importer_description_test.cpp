#include <cstring>

#include "host/host_test.h"
#include "hostkit/record_block.h"

namespace {

using kvx_hostkit::RecordBlock;
using kvx_test::Field;
using kvx_test::kFill;
using kvx_test::LogCapture;

// Records as their bytes, so that places and widths count and nothing else.
void Put32(uint8_t* record, size_t offset, uint32_t value) {
    std::memcpy(record + offset, &value, sizeof(value));
}

class ImporterDescription : public kvx_test::HostTest {};

TEST_F(ImporterDescription, Init) {
    for (const uint8_t fill : {uint8_t{0}, kFill}) {
        RecordBlock<imImportInfoRec> info(fill);
        RecordBlock<imImportInfoRec> expected(fill);
        auto* bytes = reinterpret_cast<uint8_t*>(expected.Get());
        Put32(bytes, 8, 1);
        Put32(bytes, 12, 1);
        Put32(bytes, 48, 1);
        Put32(bytes, 52, 100);
        Put32(bytes, 56, 1);
        Put32(bytes, 68, 1);
        Put32(bytes, 72, 1);
        EXPECT_EQ(importer.Init(info.Get()), 0);
        EXPECT_EQ(info.Bytes(), expected.Bytes());
    }
    EXPECT_EQ(KVX::gAppIsPremiere, 1);
}

TEST_F(ImporterDescription, InitRefusesAnotherHost) {
    host.settings.application = 0x41456674;
    RecordBlock<imImportInfoRec> info(kFill);
    EXPECT_EQ(importer.Init(info.Get()), 5);
    EXPECT_EQ(info.Bytes(), RecordBlock<imImportInfoRec>(kFill).Bytes());
}

TEST_F(ImporterDescription, InitServesAHostThatCannotBeAsked) {
    host.FailAcquisition("MediaCore App Info Suite", 1);
    LogCapture log;
    RecordBlock<imImportInfoRec> info(kFill);
    EXPECT_EQ(importer.Init(info.Get()), 0);
    EXPECT_EQ(Field(info->canSave), 1);
}

TEST_F(ImporterDescription, OneFormat) {
    RecordBlock<imIndFormatRec> format(kFill);
    RecordBlock<imIndFormatRec> expected(kFill);
    auto* bytes = reinterpret_cast<uint8_t*>(expected.Get());
    std::memset(bytes, 0, 764);
    Put32(bytes, 0, 0x4D6F6F56);
    Put32(bytes, 4, 0xE618);
    std::memcpy(bytes + 12, "QuickTime Movie", 16);
    std::memcpy(bytes + 268, "QuickTime", 10);
    std::memcpy(bytes + 300, "mov", 4);
    EXPECT_EQ(importer.GetIndFormat(0, format.Get()), 0);
    EXPECT_EQ(format.Bytes(), expected.Bytes());
}

TEST_F(ImporterDescription, NoSecondFormat) {
    for (const int index : {1, 2, -1, INT32_MAX, INT32_MIN}) {
        RecordBlock<imIndFormatRec> format(kFill);
        EXPECT_EQ(importer.GetIndFormat(index, format.Get()), 301);
        EXPECT_EQ(format.Bytes(), RecordBlock<imIndFormatRec>(kFill).Bytes());
    }
}

TEST_F(ImporterDescription, InterfaceVersions) {
    EXPECT_EQ(importer.Call(28, 0L, 0L), 100);
    EXPECT_EQ(importer.Call(36, 0L, 0L), 101);
}

}  // namespace
