#include "cli/picture/deflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "cli/picture/prefix_code.h"

namespace {

using Bytes = std::vector<uint8_t>;

// By zlib, which shares nothing with what is tested at level 1.
Bytes Inflated(const Bytes& stream, size_t size) {
    Bytes bytes(size + 1);  // one more would be seen
    z_stream state = {};
    EXPECT_EQ(inflateInit2(&state, -15), Z_OK);
    state.next_in = const_cast<Bytef*>(stream.data());
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = bytes.data();
    state.avail_out = static_cast<uInt>(bytes.size());
    const int result = inflate(&state, Z_FINISH);
    EXPECT_EQ(result, Z_STREAM_END) << (state.msg != nullptr ? state.msg : "");
    EXPECT_EQ(state.avail_in, 0u);
    bytes.resize(state.total_out);
    inflateEnd(&state);
    return bytes;
}

size_t ExpectWhole(const Bytes& bytes, int level, size_t piece) {
    Bytes stream;
    for (size_t place = 0; place < bytes.size(); place += piece) {
        kvx_cli::AppendDeflated(bytes.data() + place, std::min(piece, bytes.size() - place), level,
                                stream);
    }
    kvx_cli::AppendEndOfDeflated(stream);
    EXPECT_EQ(Inflated(stream, bytes.size()), bytes)
        << "level " << level << ", " << bytes.size() << " bytes in pieces of " << piece;
    return stream.size();
}

void ExpectWhole(const Bytes& bytes) {
    for (const int level : {0, 1, 2, 6, 9}) {
        for (const size_t piece : {size_t{1} << 30, size_t{70000}, size_t{997}}) {
            ExpectWhole(bytes, level, piece);
        }
    }
}

Bytes Noise(size_t count, double spread) {
    std::mt19937 random(static_cast<unsigned>(count));
    std::normal_distribution<double> levels(0, spread);
    Bytes bytes(count);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(static_cast<int>(levels(random)));
    }
    return bytes;
}

TEST(CliDeflate, NothingIsAStreamToo) {
    Bytes stream;
    kvx_cli::AppendDeflated(nullptr, 0, 1, stream);
    kvx_cli::AppendEndOfDeflated(stream);
    EXPECT_EQ(Inflated(stream, 0), Bytes());
}

TEST(CliDeflate, KeepsFewBytes) {
    for (size_t count = 1; count < 20; ++count) {
        Bytes rising(count);
        std::iota(rising.begin(), rising.end(), uint8_t{250});
        ExpectWhole(rising);
        ExpectWhole(Bytes(count, 7));
    }
}

// Every length that a run can have, and what is left over behind the longest.
TEST(CliDeflate, KeepsRunsOfAllLengths) {
    for (size_t run = 1; run < 1100; ++run) {
        Bytes bytes(20, 1);
        bytes.insert(bytes.end(), run, 0);
        bytes.insert(bytes.end(), {5, 6, 7});
        ExpectWhole(bytes, 1, bytes.size());
        Bytes alone(run, 9);
        ExpectWhole(alone, 1, run);
    }
}

TEST(CliDeflate, KeepsNoiseOfAllKinds) {
    for (const double spread : {0.1, 0.5, 3.0, 30.0, 1000.0}) {
        ExpectWhole(Noise(200001, spread));
    }
}

// Frequencies that would have codes of up to 30 bits.
TEST(CliDeflate, KeepsBytesOfVeryDifferentFrequencies) {
    Bytes bytes;
    for (unsigned power = 0; power < 20; ++power) {
        for (unsigned i = 0; i < 1U << power; ++i) {
            bytes.push_back(static_cast<uint8_t>(2 * power + (i & 1)));
            bytes.push_back(static_cast<uint8_t>(100 + i % 7));
        }
    }
    ExpectWhole(bytes, 1, bytes.size());
    ExpectWhole(bytes, 9, bytes.size());
}

TEST(CliDeflate, IsSmallerWhereThereIsOrder) {
    const Bytes flat(1000000, 0);
    EXPECT_LT(ExpectWhole(flat, 1, flat.size()), 3000u);
    const Bytes noise = Noise(1000000, 3);
    // The entropy of such noise, in whole levels, is 3.6 bits a byte.
    EXPECT_LT(ExpectWhole(noise, 1, noise.size()), 470000u);
    // What can't be made smaller is stored.
    const Bytes full = Noise(1000000, 100000);
    EXPECT_LT(ExpectWhole(full, 1, full.size()), 1000200u);
    // A picture's rows come again: only who looks for repetitions finds them.
    Bytes rows;
    const Bytes row = Noise(5000, 50);
    for (int i = 0; i < 100; ++i) {
        rows.insert(rows.end(), row.begin(), row.end());
    }
    EXPECT_LT(ExpectWhole(rows, 6, rows.size()), rows.size() / 20);
}

TEST(CliPrefixCode, IsCompleteAndWithinItsLimit) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        std::array<uint32_t, 286> frequencies = {};
        const size_t used = 2 + random() % 285;
        for (size_t i = 0; i < used; ++i) {
            frequencies[i] = 1 + (random() >> random() % 31);
        }
        const auto code = kvx_cli::MakePrefixCode(frequencies, 12);
        uint32_t room = 0;
        for (size_t i = 0; i < 286; ++i) {
            ASSERT_LE(code.lengths[i], 12);
            ASSERT_EQ(code.lengths[i] == 0, frequencies[i] == 0);
            room += code.lengths[i] == 0 ? 0 : 4096U >> code.lengths[i];
            for (size_t j = 0; j < i; ++j) {
                if (frequencies[i] > frequencies[j] && frequencies[j] != 0) {
                    ASSERT_LE(code.lengths[i], code.lengths[j]);
                }
            }
        }
        ASSERT_EQ(room, 4096u);
    }
}

// The example of the standard's section on codes: lengths 3, 3, 3, 3, 3, 2, 4, 4.
TEST(CliPrefixCode, NumbersCodesAsTheStandardDoes) {
    const std::array<uint32_t, 8> frequencies = {4, 4, 4, 4, 4, 8, 2, 2};
    const auto code = kvx_cli::MakePrefixCode(frequencies, 7);
    EXPECT_EQ(code.lengths, (std::array<uint8_t, 8>{3, 3, 3, 3, 3, 2, 4, 4}));
    // 010, 011, 100, 101, 110, 00, 1110, 1111, the first bit lowest.
    EXPECT_EQ(code.codes,
              (std::array<uint16_t, 8>{0b010, 0b110, 0b001, 0b101, 0b011, 0b00, 0b0111, 0b1111}));
}

}  // namespace
