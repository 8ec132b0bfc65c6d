#include "convert/vector128/inputs.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>
#include <set>

namespace kvx_test::vector128 {

namespace {

template <typename T>
Bytes Of(const T (&lanes)[16 / sizeof(T)]) {
    Bytes bytes;
    std::memcpy(bytes.data(), lanes, bytes.size());
    return bytes;
}

std::mt19937_64& Random() {
    static std::mt19937_64 random(1);
    return random;
}

Bytes RandomBytes() {
    const std::uint64_t lanes[2] = {Random()(), Random()()};
    return Of(lanes);
}

template <typename T>
Bytes RandomOf(const std::vector<T>& values) {
    T lanes[16 / sizeof(T)];
    for (T& lane : lanes) {
        lane = values[Random()() % values.size()];
    }
    return Of(lanes);
}

// Numbers about the powers of two, of either sign.
template <typename T>
std::vector<T> Edges() {
    std::set<T> edges;
    for (unsigned bit = 0; bit < 8 * sizeof(T); ++bit) {
        for (const int offset : {-1, 0, 1}) {
            const std::uint64_t edge = (std::uint64_t{1} << bit) + static_cast<unsigned>(offset);
            edges.insert(static_cast<T>(edge));
            edges.insert(static_cast<T>(~edge));
        }
    }
    return {edges.begin(), edges.end()};
}

// As bits: what is no number keeps its own.
const std::vector<std::uint32_t>& FloatEdges() {
    static const std::vector<std::uint32_t> edges = [] {
        std::vector<std::uint32_t> all = {
            0x00000000, 0x00000001, 0x00000002, 0x007FFFFF, 0x00800000, 0x00800001,  // to the least
            0x7F7FFFFF, 0x7F800000,                           // the greatest, infinity
            0x7F800001, 0x7FA12345, 0x7FBFFFFF,               // signalling
            0x7FC00000, 0x7FC00001, 0x7FD54321, 0x7FFFFFFF,   // quiet
            0x33800000, 0x34000000, 0x3EFFFFFF, 0x3F7FFFFF};  // 2^-24 and more
        const auto add = [&all](double value) {
            const auto nearest = static_cast<float>(value);
            for (const float one :
                 {nearest, std::nextafter(nearest, FLT_MAX), std::nextafter(nearest, -FLT_MAX)}) {
                std::uint32_t bits;
                std::memcpy(&bits, &one, sizeof(bits));
                all.push_back(bits);
            }
        };
        for (const double value :
             {0.25,       0.5,    1.0,          1.5,       2.5,       3.5,
              63.5,       64.5,   876.0,        8388607.5, 8388608.0, 16777215.0,
              16777216.0, 0x1p30, 0x1p31 - 128, 0x1p31,    0x1p32,    0x1p62,
              0x1p63,     0x1p64, 1e20,         32767.0,   1.0 / 876, 1.0 / 3}) {
            add(value);
        }
        const std::size_t positive = all.size();
        for (std::size_t i = 0; i < positive; ++i) {
            all.push_back(all[i] ^ 0x80000000U);
        }
        return all;
    }();
    return edges;
}

// All of a byte beside all of a byte.
void AddBytePairs(Inputs& inputs) {
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; b += 16) {
            Bytes first;
            first.fill(static_cast<unsigned char>(a));
            Bytes second;
            for (int i = 0; i < 16; ++i) {
                second[static_cast<std::size_t>(i)] = static_cast<unsigned char>(b + i);
            }
            inputs.AddBoth(first, second);
        }
    }
}

// All of a word beside each of `others`.
void AddWords(Inputs& inputs, const std::vector<std::uint16_t>& others) {
    for (const std::uint16_t other : others) {
        std::uint16_t same[8];
        std::fill(std::begin(same), std::end(same), other);
        for (unsigned word = 0; word < 0x10000; word += 8) {
            std::uint16_t lanes[8];
            for (unsigned i = 0; i < 8; ++i) {
                lanes[i] = static_cast<std::uint16_t>(word + i);
            }
            inputs.AddBoth(Of(lanes), Of(same));
        }
    }
}

template <typename T>
void AddPairs(Inputs& inputs, const std::vector<T>& values) {
    constexpr std::size_t kLanes = 16 / sizeof(T);
    for (const T value : values) {
        T same[kLanes];
        std::fill(std::begin(same), std::end(same), value);
        for (std::size_t i = 0; i < values.size(); i += kLanes) {
            T lanes[kLanes];
            for (std::size_t k = 0; k < kLanes; ++k) {
                lanes[k] = values[(i + k) % values.size()];
            }
            inputs.AddBoth(Of(same), Of(lanes));
        }
    }
}

// Every so many of all floats that there are.
void AddFloats(Inputs& inputs) {
    constexpr std::uint64_t kStep = 2039;
    for (std::uint64_t bits = 0; bits <= UINT32_MAX; bits += 4 * kStep) {
        std::uint32_t lanes[4];
        for (unsigned i = 0; i < 4; ++i) {
            lanes[i] = static_cast<std::uint32_t>(bits + i * kStep);
        }
        inputs.Add(Of(lanes), Of(lanes));
    }
}

template <typename Make>
void AddRandom(Inputs& inputs, int count, Make make) {
    for (int i = 0; i < count; ++i) {
        const Bytes a = make();
        inputs.Add(a, make());
    }
}

}  // namespace

Inputs MakeInputs(Lanes lanes, int operands) {
    constexpr int kMany = 100000;
    Inputs inputs;
    switch (lanes) {
        case Lanes::kBytes:
            AddBytePairs(inputs);
            AddRandom(inputs, 1000, RandomBytes);
            break;
        case Lanes::kWords: {
            const std::vector<std::uint16_t> edges = Edges<std::uint16_t>();
            AddWords(inputs, operands == 1 ? std::vector<std::uint16_t>{0} : edges);
            AddRandom(inputs, kMany, [&edges] { return RandomOf(edges); });
            break;
        }
        case Lanes::kDwords:
            AddPairs(inputs, Edges<std::uint32_t>());
            AddRandom(inputs, kMany, RandomBytes);
            break;
        case Lanes::kFloats:
            AddPairs(inputs, FloatEdges());
            AddFloats(inputs);
            AddRandom(inputs, kMany, RandomBytes);
            AddRandom(inputs, kMany, [] { return RandomOf(FloatEdges()); });
            break;
    }
    return inputs;
}

std::vector<double> NumbersToTruncate() {
    std::vector<double> numbers(1000000);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::uint64_t bits = Random()();
        const std::uint64_t near = (bits & 0x800FFFFFFFFFFFFF) | (1023 + bits % 34) << 52;
        std::memcpy(&numbers[i], i % 2 == 0 ? &bits : &near, sizeof(numbers[i]));
    }
    return numbers;
}

}  // namespace kvx_test::vector128
