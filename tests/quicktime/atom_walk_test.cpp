#include <gtest/gtest.h>

#include <string>

#include "core/four_char_code.h"
#include "quicktime/atom.h"
#include "support/atom_buffer.h"

using namespace kvx_test;
using KVX::Core::FourCharCode;
using KVX::QT::Atom;

namespace {

constexpr unsigned int kAaaa = FourCharCode("aaaa");
constexpr unsigned int kBbbb = FourCharCode("bbbb");
constexpr unsigned int kCccc = FourCharCode("cccc");

uint64_t Distance(const Atom* from, const Atom* to) {
    return static_cast<uint64_t>(reinterpret_cast<const char*>(to) -
                                 reinterpret_cast<const char*>(from));
}

TEST(AtomWalk, FindsChildrenOfATypeOneAfterTheOther) {
    const AtomBuffer buffer(AtomNode{
        "root", {}, {{"aaaa", "1234"}, {"bbbb"}, {"aaaa"}, {"cccc", "x"}, {"aaaa", "12"}}});
    Atom* const root = buffer.Get();
    Atom* const first = root->FindNextChildOfType(kAaaa, nullptr);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Distance(root, first), 8u);
    EXPECT_EQ(first->Length(), 12u);
    EXPECT_EQ(first->Type(), 0x61616161u);
    Atom* const second = root->FindNextChildOfType(kAaaa, first);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Distance(root, second), 8u + 12 + 8);
    Atom* const third = root->FindNextChildOfType(kAaaa, second);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(Distance(root, third), 8u + 12 + 8 + 8 + 9);
    EXPECT_EQ(root->FindNextChildOfType(kAaaa, third), nullptr);
    EXPECT_EQ(root->FindNextChildOfType(kBbbb, second), nullptr);
}

TEST(AtomWalk, FindsNothingInAnAtomWithoutChildren) {
    const AtomBuffer buffer(AtomNode{"root"});
    EXPECT_EQ(buffer.Get()->FindNextChildOfType(kAaaa, nullptr), nullptr);
}

TEST(AtomWalk, DoesNotLookIntoChildren) {
    const AtomBuffer buffer(AtomNode{"root", {}, {{"aaaa", {}, {{"bbbb"}}}}});
    EXPECT_EQ(buffer.Get()->FindNextChildOfType(kBbbb, nullptr), nullptr);
}

TEST(AtomWalk, ChildrenOfAnExtendedSizeBeginAtSixteen) {
    AtomNode node{"root", {}, {{"aaaa"}, {"bbbb"}}};
    node.form = AtomNode::SizeForm::Extended;
    // What follows the atom must not be found: the end comes from the extended size.
    const AtomBuffer buffer(node.Serialize() + AtomNode{"cccc"}.Serialize());
    Atom* const root = buffer.Get();
    EXPECT_EQ(root->Length(), 32u);
    Atom* const first = root->FindNextChildOfType(kAaaa, nullptr);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Distance(root, first), 16u);
    EXPECT_NE(root->FindNextChildOfType(kBbbb, first), nullptr);
    EXPECT_EQ(root->FindNextChildOfType(kCccc, nullptr), nullptr);
}

TEST(AtomWalk, StepsOverAChildWithAnExtendedSize) {
    AtomNode wide{"aaaa", "123"};
    wide.form = AtomNode::SizeForm::Extended;
    const AtomBuffer buffer(AtomNode{"root", {}, {wide, {"bbbb"}}});
    Atom* const root = buffer.Get();
    Atom* const child = root->FindNextChildOfType(kAaaa, nullptr);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->Length(), 19u);
    EXPECT_EQ(child->HeaderLength(), 16u);
    EXPECT_EQ(Distance(root, root->FindNextChildOfType(kBbbb, child)), 8u + 19);
}

// A parent of three children, the middle one with a size that lies.
class AtomWalkLie : public testing::TestWithParam<uint64_t> {};

TEST_P(AtomWalkLie, EndsTheWalk) {
    AtomNode liar{"bbbb", zeros(8)};
    liar.writtenSize = GetParam();
    const AtomBuffer buffer(AtomNode{"root", {}, {{"aaaa"}, liar, {"cccc"}}});
    Atom* const root = buffer.Get();
    EXPECT_NE(root->FindNextChildOfType(kAaaa, nullptr), nullptr);
    EXPECT_EQ(root->FindNextChildOfType(kBbbb, nullptr), nullptr);
    EXPECT_EQ(root->FindNextChildOfType(kCccc, nullptr), nullptr);
}

// Below a header, and beyond the parent's end by one byte and by far. 1 stands for an extended
// size, which is 0 here.
INSTANTIATE_TEST_SUITE_P(Sizes, AtomWalkLie, testing::Values(0, 1, 7, 25, 0x7FFFFFFF, 0xFFFFFFFF));

TEST(AtomWalk, ExtendedSizesThatLieEndTheWalk) {
    for (const uint64_t size : {uint64_t{0}, uint64_t{7}, uint64_t{25}, uint64_t{1} << 32,
                                uint64_t{1} << 63, ~uint64_t{0}}) {
        SCOPED_TRACE(size);
        AtomNode liar{"aaaa"};
        liar.form = AtomNode::SizeForm::Extended;
        liar.writtenSize = size;
        const AtomBuffer buffer(AtomNode{"root", {}, {liar, {"bbbb"}}});
        EXPECT_EQ(buffer.Get()->FindNextChildOfType(kAaaa, nullptr), nullptr);
        EXPECT_EQ(buffer.Get()->FindNextChildOfType(kBbbb, nullptr), nullptr);
    }
}

// An extended size may be large enough to step by and still too small for its own header.
TEST(AtomWalk, ExtendedSizesBelowTheirHeaderHoldNothing) {
    for (uint64_t size = 8; size < 16; ++size) {
        SCOPED_TRACE(size);
        AtomNode liar{"aaaa", {}, {{"bbbb", zeros(100)}}};
        liar.form = AtomNode::SizeForm::Extended;
        liar.writtenSize = size;
        const AtomBuffer buffer(AtomNode{"root", {}, {liar}});
        Atom* const child = buffer.Get()->FindNextChildOfType(kAaaa, nullptr);
        ASSERT_NE(child, nullptr);
        EXPECT_EQ(child->Length(), size);
        EXPECT_EQ(child->FindNextChildOfType(kBbbb, nullptr), nullptr);
    }
}

TEST(AtomWalk, ChildMayReachExactlyToItsParentsEnd) {
    const AtomBuffer buffer(AtomNode{"root", {}, {{"aaaa", zeros(100)}}});
    EXPECT_NE(buffer.Get()->FindNextChildOfType(kAaaa, nullptr), nullptr);
}

TEST(AtomWalk, CutHeadersEndTheWalk) {
    // Seven bytes are no header, and eight are none for an extended size.
    const AtomBuffer shortHeader(AtomNode{"root", big32(8) + "aaa"});
    EXPECT_EQ(shortHeader.Get()->FindNextChildOfType(kAaaa, nullptr), nullptr);
    const AtomBuffer longHeader(AtomNode{"root", big32(1) + "aaaa"});
    EXPECT_EQ(longHeader.Get()->FindNextChildOfType(kAaaa, nullptr), nullptr);
}

TEST(AtomWalk, FindAtomWalksSiblings) {
    const Bytes run = AtomNode{"aaaa", "12"}.Serialize() + AtomNode{"bbbb"}.Serialize() +
                      AtomNode{"bbbb"}.Serialize();
    const AtomBuffer buffer(run);
    const char* const data = reinterpret_cast<const char*>(buffer.Get());
    const auto find = [&](unsigned int type, size_t length) {
        return Atom::FindAtom(type, data, static_cast<unsigned int>(length));
    };
    EXPECT_EQ(find(kAaaa, run.size()), buffer.At(0));
    EXPECT_EQ(find(kBbbb, run.size()), buffer.At(10));
    EXPECT_EQ(find(kCccc, run.size()), nullptr);
    EXPECT_EQ(find(kBbbb, 10), nullptr);
    EXPECT_EQ(find(kAaaa, 0), nullptr);
}

}  // namespace
