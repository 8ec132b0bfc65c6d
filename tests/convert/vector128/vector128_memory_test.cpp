// Constants, loads and stores of the converters' vectors.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "convert/vector128.h"

namespace {

using namespace KVX::Vector128;

class Vector128Memory : public testing::Test {
  protected:
    Vector128Memory() {
        for (int i = 0; i < 64; ++i) {
            mFrom[i] = static_cast<char>(0x41 + 3 * i);
        }
        std::memset(mTo, 0x5A, sizeof(mTo));
    }

    // That the vector's bytes, and no others, stand at `to`.
    void ExpectWritten(int to, const char* expected) const {
        for (int i = 0; i < 64; ++i) {
            ASSERT_EQ(mTo[i], i >= to && i < to + 16 ? expected[i - to] : 0x5A) << i;
        }
    }

    alignas(16) char mFrom[64];
    alignas(16) char mTo[64];
};

TEST_F(Vector128Memory, AnywhereAsItLies) {
    for (int at = 0; at < 16; ++at) {
        std::memset(mTo, 0x5A, sizeof(mTo));
        Store(mTo + 31 - at, Load(mFrom + at));
        ExpectWritten(31 - at, mFrom + at);
    }
}

TEST_F(Vector128Memory, AlignedAndStreamed) {
    StoreAligned(mTo + 16, LoadAligned(mFrom + 32));
    ExpectWritten(16, mFrom + 32);
    Stream(mTo + 16, LoadAligned(mFrom));
    EndStreams();
    ExpectWritten(16, mFrom);
}

TEST_F(Vector128Memory, Floats) {
    alignas(16) const float numbers[4] = {1.0F, -2.5F, 0.0F, 4e20F};
    Store(reinterpret_cast<float*>(mTo + 20), LoadAlignedFloats(numbers));
    ExpectWritten(20, reinterpret_cast<const char*>(numbers));
    std::memset(mTo, 0x5A, sizeof(mTo));
    Stream(mTo + 32, LoadAlignedFloats(numbers));
    EndStreams();
    ExpectWritten(32, reinterpret_cast<const char*>(numbers));
}

// Beyond what is there as well.
TEST_F(Vector128Memory, PrefetchesDoNothing) {
    PrefetchOnce(mTo);
    PrefetchIntoAllCaches(mTo);
    PrefetchOnce(nullptr);
    PrefetchIntoAllCaches(nullptr);
    ExpectWritten(64, mFrom);
}

TEST_F(Vector128Memory, ConstantsHaveTheirLowestFirst) {
    signed char bytes[16];
    for (int i = 0; i < 16; ++i) {
        bytes[i] = static_cast<signed char>(i % 2 == 0 ? i : -i);
    }
    Store(mTo, MakeBytes(0, -1, 2, -3, 4, -5, 6, -7, 8, -9, 10, -11, 12, -13, 14, -15));
    EXPECT_EQ(std::memcmp(mTo, bytes, 16), 0);

    const short words[8] = {0, -1, 2, -32768, 32767, 5, -6, 7};
    Store(mTo, MakeWords(0, -1, 2, -32768, 32767, 5, -6, 7));
    EXPECT_EQ(std::memcmp(mTo, words, 16), 0);

    const std::uint64_t halves[2] = {0x0123456789ABCDEF, 0xFEDCBA9876543210};
    Store(mTo, FromHalves(halves[0], halves[1]));
    EXPECT_EQ(std::memcmp(mTo, halves, 16), 0);
}

TEST_F(Vector128Memory, ConstantsOfOneValue) {
    const auto expect = [this](Integers vector, std::uint64_t half) {
        Store(mTo, vector);
        EXPECT_EQ(std::memcmp(mTo, &half, 8), 0) << half;
        EXPECT_EQ(std::memcmp(mTo + 8, &half, 8), 0) << half;
    };
    expect(Zero(), 0);
    expect(AsIntegers(ZeroFloats()), 0);
    expect(EveryByte(-2), 0xFEFEFEFEFEFEFEFE);
    expect(EveryByte(0xFE), 0xFEFEFEFEFEFEFEFE);
    expect(EveryWord(0xFF01), 0xFF01FF01FF01FF01);
    expect(EveryWord(-255), 0xFF01FF01FF01FF01);
    expect(EveryDword(-2), 0xFFFFFFFEFFFFFFFE);
    expect(AsIntegers(EveryFloat(1.0F)), 0x3F8000003F800000);
}

}  // namespace
