#include "quicktime/atom_fields.h"

#include <gtest/gtest.h>

#include "support/atom_buffer.h"
#include "support/log_capture.h"

using namespace kvx_test;
using KVX::QT::AtomFields;

namespace {

// Twenty bytes with the header.
const AtomNode kAtom = {"test", Bytes("\x81\x02\x83\x04\xF5\x06\x07\x08\x09\xFA\xFB\xFC", 12)};

TEST(AtomFields, ReadBigEndianNumbersAtAnyOffset) {
    const AtomBuffer buffer(kAtom);
    AtomFields fields(buffer.Get());
    EXPECT_EQ(fields.Length(), 20u);
    EXPECT_EQ(fields.Unsigned32(4), 0x74657374u);
    EXPECT_EQ(fields.Unsigned8(8), 0x81);
    EXPECT_EQ(fields.Unsigned16(8), 0x8102);
    EXPECT_EQ(fields.Signed16(8), -0x7EFE);
    EXPECT_EQ(fields.Unsigned32(10), 0x8304F506u);
    EXPECT_EQ(fields.Signed32(10), -0x7CFB0AFA);
    EXPECT_EQ(fields.Unsigned64(9), 0x028304F506070809u);
    EXPECT_EQ(fields.Status(), 0);
}

TEST(AtomFields, LastBytesOfTheAtomAreFields) {
    const AtomBuffer buffer(kAtom);
    AtomFields fields(buffer.Get());
    EXPECT_EQ(fields.Unsigned8(19), 0xFC);
    EXPECT_EQ(fields.Unsigned16(18), 0xFBFC);
    EXPECT_EQ(fields.Unsigned32(16), 0x09FAFBFCu);
    EXPECT_EQ(fields.Unsigned64(12), 0xF506070809FAFBFCu);
    EXPECT_NE(fields.Bytes(8, 12), nullptr);
    EXPECT_NE(fields.Bytes(20, 0), nullptr);
    EXPECT_EQ(fields.Status(), 0);
}

void ReadOutside(AtomFields fields) {
    EXPECT_EQ(fields.Unsigned32(17), 0u);
    EXPECT_EQ(fields.Status(), 22);
}

TEST(AtomFields, FieldOutsideFailsWithOneLineOfTheViewsMaker) {
    const AtomBuffer buffer(kAtom);
    LogCapture log;
    AtomFields fields(buffer.Get());
    EXPECT_EQ(fields.Unsigned32(17), 0u);
    EXPECT_EQ(fields.Status(), 22);
    EXPECT_EQ(fields.Unsigned64(13), 0u);
    EXPECT_EQ(fields.Unsigned16(19), 0u);
    EXPECT_EQ(fields.Unsigned8(20), 0u);
    EXPECT_EQ(fields.Status(), 22);
    EXPECT_EQ(log.Text(), "TestBody: 'test' atom of 20 bytes does not hold 4 bytes at 17\n");
}

TEST(AtomFields, LineNamesTheMakerAndNotTheReader) {
    const AtomBuffer buffer(kAtom);
    LogCapture log;
    ReadOutside(AtomFields(buffer.Get()));
    EXPECT_EQ(log.Text(), "TestBody: 'test' atom of 20 bytes does not hold 4 bytes at 17\n");
}

TEST(AtomFields, FailureStaysWhenLaterFieldsAreInside) {
    const AtomBuffer buffer(kAtom);
    LogCapture log;
    AtomFields fields(buffer.Get());
    fields.Unsigned8(20);
    EXPECT_EQ(fields.Unsigned8(8), 0x81);
    EXPECT_EQ(fields.Status(), 22);
}

TEST(AtomFields, OffsetsAndSizesDoNotWrapAround) {
    const AtomBuffer buffer(kAtom);
    LogCapture log;
    AtomFields fields(buffer.Get());
    EXPECT_EQ(fields.Bytes(8, ~uint64_t{0}), nullptr);
    EXPECT_EQ(fields.Bytes(~uint64_t{0}, 8), nullptr);
    EXPECT_EQ(fields.Bytes(~uint64_t{0} - 3, 8), nullptr);
    EXPECT_EQ(fields.Bytes(21, 0), nullptr);
    EXPECT_EQ(fields.Status(), 22);
}

TEST(AtomFields, InnerAtomMustLieInside) {
    const Bytes inner = AtomNode{"innr", "1234"}.Serialize();
    const AtomBuffer buffer(AtomNode{"test", zeros(2) + inner + big32(9) + "long"});
    const AtomFields fields(buffer.Get());
    EXPECT_EQ(fields.AtomAt(10), buffer.At(10));
    EXPECT_EQ(fields.AtomAt(22), nullptr);
    EXPECT_EQ(fields.AtomAt(30), nullptr);
    EXPECT_EQ(fields.AtomAt(31), nullptr);
    EXPECT_EQ(fields.AtomAt(~uint64_t{0}), nullptr);
    EXPECT_EQ(fields.Status(), 0);
}

}  // namespace
