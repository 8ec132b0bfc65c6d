// What float does each sample value become?

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "convert/audio/pcm.h"

namespace {

using KVX::Converter::Audio::PCM;
using KVX::Converter::Audio::SInt24;

uint32_t Bits(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

float FloatOf(uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

// Lays the words out one after the other, in `kBytes` bytes each.
template <int kBytes>
void LayOut(const std::vector<uint64_t>& words, bool bigEndian, std::vector<char>& samples) {
    samples.resize(words.size() * kBytes);
    char* to = samples.data();
    for (const uint64_t word : words) {
        for (int byte = 0; byte < kBytes; ++byte) {
            to[bigEndian ? kBytes - 1 - byte : byte] = static_cast<char>(word >> (8 * byte) & 0xFF);
        }
        to += kBytes;
    }
}

// Lays `count` sample words out in a mono buffer in each byte order, converts them, and counts the
// results that differ from what `expected` says of each word.
template <typename T, typename WordAt, typename Expected>
uint64_t Differences(uint64_t count, WordAt wordAt, Expected expected) {
    constexpr uint64_t kPiece = 1 << 16;
    std::vector<uint64_t> words;
    std::vector<uint32_t> results;  // as bits
    std::vector<char> samples;
    std::vector<float> plane(kPiece);
    float* planes[] = {plane.data()};
    uint64_t differences = 0;
    for (uint64_t first = 0; first < count; first += kPiece) {
        const uint64_t piece = std::min(kPiece, count - first);
        words.resize(piece);
        results.resize(piece);
        for (uint64_t i = 0; i < piece; ++i) {
            words[i] = wordAt(first + i);
            results[i] = Bits(expected(words[i]));
        }
        for (const bool swap : {false, true}) {
            LayOut<sizeof(T)>(words, swap, samples);
            PCM::Write<T>(samples.data(), swap, planes, 1, static_cast<unsigned int>(piece),
                          KVX::QT::SampleOrderMono);
            for (uint64_t i = 0; i < piece; ++i) {
                differences += Bits(plane[i]) != results[i];
            }
        }
    }
    return differences;
}

uint64_t Counter(uint64_t i) {
    return i;
}

// The value of a `bits` wide two's complement word.
int64_t Signed(uint64_t word, int bits) {
    const int64_t value = static_cast<int64_t>(word);
    return value < int64_t{1} << (bits - 1) ? value : value - (int64_t{1} << bits);
}

float Quotient(float dividend, float divisor) {
    volatile float quotient = dividend / divisor;
    return quotient;
}

TEST(PcmSamples, EverySigned8BitValue) {
    EXPECT_EQ(
        Differences<signed char>(
            256, Counter,
            [](uint64_t word) { return Quotient(static_cast<float>(Signed(word, 8)), 127.0F); }),
        0U);
}

TEST(PcmSamples, EveryUnsigned8BitValue) {
    EXPECT_EQ(
        Differences<unsigned char>(
            256, Counter,
            [](uint64_t word) { return Quotient(static_cast<float>(word) - 128.0F, 127.0F); }),
        0U);
}

TEST(PcmSamples, Every16BitValue) {
    EXPECT_EQ(
        Differences<short>(
            65536, Counter,
            [](uint64_t word) { return Quotient(static_cast<float>(Signed(word, 16)), 32767.0F); }),
        0U);
}

TEST(PcmSamples, Every24BitValue) {
    EXPECT_EQ(Differences<SInt24>(1 << 24, Counter,
                                  [](uint64_t word) {
                                      return Quotient(static_cast<float>(Signed(word, 24)),
                                                      8388607.0F);
                                  }),
              0U);
}

// A prime step over all 2^32 words takes every combination of the low bits at all magnitudes.
constexpr uint64_t kStep = 251;
constexpr uint64_t kSteps = (uint64_t{1} << 32) / kStep + 1;

uint64_t Strided(uint64_t i) {
    return i * kStep & 0xFFFFFFFF;
}

float ScaledInt32(uint64_t word) {
    volatile float rounded = static_cast<float>(Signed(word, 32));
    volatile double quotient = static_cast<double>(rounded) / 2147483647.0;
    return static_cast<float>(quotient);
}

TEST(PcmSamples, Strided32BitIntegers) {
    EXPECT_EQ(Differences<int>(kSteps, Strided, ScaledInt32), 0U);
}

TEST(PcmSamples, Int32AroundEveryPowerOfTwo) {
    std::vector<uint64_t> words;
    for (int power = 0; power < 32; ++power) {
        for (int64_t off = -600; off <= 600; ++off) {
            words.push_back(static_cast<uint32_t>((int64_t{1} << power) + off));
            words.push_back(static_cast<uint32_t>(-(int64_t{1} << power) + off));
        }
    }
    EXPECT_EQ(Differences<int>(
                  words.size(), [&](uint64_t i) { return words[i]; }, ScaledInt32),
              0U);
}

TEST(PcmSamples, Strided32BitFloatsPassBitForBit) {
    // Not-a-numbers, quiet and signalling, are among them.
    EXPECT_EQ(
        Differences<float>(kSteps, Strided,
                           [](uint64_t word) { return FloatOf(static_cast<uint32_t>(word)); }),
        0U);
}

TEST(PcmSamples, DoublesAreNarrowed) {
    const struct {
        uint64_t word;
        uint32_t expected;
    } kCases[] = {
        {0x0000000000000000, 0x00000000},  // 0
        {0x8000000000000000, 0x80000000},  // -0
        {0x3FF0000000000000, 0x3F800000},  // 1
        {0xBFF0000000000000, 0xBF800000},  // -1
        {0x4008000000000000, 0x40400000},  // 3: beyond full scale and not clipped
        {0x3FB999999999999A, 0x3DCCCCCD},  // 0.1
        {0x3FF0000010000000, 0x3F800000},  // 1 + 2^-24: a tie, to even
        {0x3FF0000010000001, 0x3F800001},  // just above the tie
        {0x3FF0000030000000, 0x3F800002},  // 1 + 3 * 2^-24: a tie, to even
        {0x36A0000000000000, 0x00000001},  // the smallest float
        {0x0000000000000001, 0x00000000},  // the smallest double
        {0x7FF0000000000000, 0x7F800000},  // infinity
        {0x7FF8000000000000, 0x7FC00000},  // not a number
    };
    EXPECT_EQ(Differences<double>(
                  std::size(kCases), [&](uint64_t i) { return kCases[i].word; },
                  [&](uint64_t word) {
                      for (const auto& entry : kCases) {
                          if (entry.word == word) {
                              return FloatOf(entry.expected);
                          }
                      }
                      return 12345.0F;
                  }),
              0U);
}

TEST(PcmSamples, StridedDoublesAreNarrowed) {
    // Exponents around full scale, with all mantissa bits in play.
    const auto word = [](uint64_t i) {
        return (i & 1) << 63 | (uint64_t{0x3E0} + i % 64) << 52 |
               (i * 0x9E3779B97F4A7C15 & 0x000FFFFFFFFFFFFF);
    };
    EXPECT_EQ(Differences<double>(1 << 20, word,
                                  [](uint64_t bits) {
                                      double value;
                                      std::memcpy(&value, &bits, sizeof(value));
                                      volatile float narrowed = static_cast<float>(value);
                                      return narrowed;
                                  }),
              0U);
}

template <typename T>
float One(std::vector<unsigned char> bytes, bool swap) {
    float value = 0;
    float* planes[] = {&value};
    PCM::Write<T>(reinterpret_cast<char*>(bytes.data()), swap, planes, 1, 1,
                  KVX::QT::SampleOrderMono);
    return value;
}

TEST(PcmSamples, FullScaleIsOneAndTheMostNegativeValueIsNotClipped) {
    EXPECT_EQ(One<signed char>({0x7F}, false), 1.0F);
    EXPECT_EQ(One<unsigned char>({0xFF}, false), 1.0F);
    EXPECT_EQ(One<short>({0xFF, 0x7F}, false), 1.0F);
    EXPECT_EQ(One<SInt24>({0xFF, 0xFF, 0x7F}, false), 1.0F);
    EXPECT_EQ(One<int>({0xFF, 0xFF, 0xFF, 0x7F}, false), 1.0F);

    EXPECT_EQ(Bits(One<signed char>({0x80}, false)), 0xBF810204U);        // -128 / 127
    EXPECT_EQ(Bits(One<unsigned char>({0x00}, false)), 0xBF810204U);      // -128 / 127
    EXPECT_EQ(Bits(One<short>({0x80, 0x00}, true)), 0xBF800100U);         // -32768 / 32767
    EXPECT_EQ(Bits(One<SInt24>({0x80, 0x00, 0x00}, true)), 0xBF800001U);  // -8388608 / 8388607
    EXPECT_EQ(Bits(One<int>({0x80, 0, 0, 0}, true)), 0xBF800000U);        // lost in the narrowing
}

TEST(PcmSamples, MiddleOfTheRangeIsSilence) {
    EXPECT_EQ(Bits(One<unsigned char>({0x80}, false)), 0U);
    EXPECT_EQ(Bits(One<signed char>({0x00}, false)), 0U);
    EXPECT_EQ(Bits(One<SInt24>({0, 0, 0}, true)), 0U);
}

TEST(PcmSamples, ByteOrderOf24Bits) {
    EXPECT_EQ(One<SInt24>({0x80, 0x00, 0x00}, true), -8388608.0F / 8388607.0F);
    EXPECT_EQ(One<SInt24>({0x80, 0x00, 0x00}, false), 128.0F / 8388607.0F);
}

TEST(PcmSamples, NotANumberStaysOne) {
    EXPECT_TRUE(std::isnan(One<float>({0x7F, 0xC0, 0x00, 0x00}, true)));
    EXPECT_TRUE(std::isnan(One<double>({0xFF, 0xF8, 0, 0, 0, 0, 0, 1}, true)));
}

TEST(PcmSamples, SInt24ExtendsItsSign) {
    EXPECT_EQ(static_cast<int32_t>(SInt24{{0xFF, 0xFF, 0x7F}}), 8388607);
    EXPECT_EQ(static_cast<int32_t>(SInt24{{0x00, 0x00, 0x80}}), -8388608);
    EXPECT_EQ(static_cast<int32_t>(SInt24{{0xFF, 0xFF, 0xFF}}), -1);
    EXPECT_EQ(static_cast<int32_t>(SInt24{{0x01, 0x02, 0x03}}), 0x030201);
}

}  // namespace
