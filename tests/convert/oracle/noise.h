// Noise in the converters' units, the same on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace kvx_test::exactness {

// Memory that starts at a multiple of 64.
class AlignedBytes {
  public:
    explicit AlignedBytes(std::size_t size) : mStore(size + 64), mSize(size) {
        const auto address = reinterpret_cast<std::uintptr_t>(mStore.data());
        mShift = static_cast<std::size_t>((64 - address % 64) % 64);
    }
    char* Data() { return mStore.data() + mShift; }
    const char* Data() const { return mStore.data() + mShift; }
    std::size_t Size() const { return mSize; }

  private:
    std::vector<char> mStore;
    std::size_t mSize;
    std::size_t mShift;
};

inline void AppendComponent(std::mt19937& random, unsigned char& to) {
    to = static_cast<unsigned char>(random());
}

// The host's 16-bit scale ends at 32768; its ends come often.
inline void AppendComponent(std::mt19937& random, unsigned short& to) {
    const auto draw = random();
    to = static_cast<unsigned short>(draw % 16 == 0   ? 32768 - draw / 16 % 3
                                     : draw % 16 == 1 ? draw / 16 % 3
                                                      : draw / 16 % 32769);
}

// A little under black to a little over white, ties of the roundings among them.
inline void AppendComponent(std::mt19937& random, float& to) {
    const auto draw = random();
    const auto part = static_cast<float>(draw / 16 % 65536);
    switch (draw % 16) {
        case 0:
            to = draw & 16 ? 0.0f : -0.0f;
            break;
        case 1:
            to = 1.0f;
            break;
        case 2:
            to = part / 32768.0f;
            break;
        case 3:
            to = part / 4.0f / 876.0f / 18.0f;
            break;
        case 4:
            to = 1.0f + part;
            break;
        case 5:
            to = -part;
            break;
        case 6:
            to = part * 1e-40f;
            break;
        default:
            to = part / 43690.0f - 0.25f;
            break;
    }
}

constexpr std::size_t kNoiseBytes = 1u << 20;

template <typename T>
const AlignedBytes& Noise() {
    static const AlignedBytes noise = [] {
        AlignedBytes bytes(kNoiseBytes);
        std::mt19937 random(20041);
        for (std::size_t at = 0; at < kNoiseBytes; at += sizeof(T)) {
            T value;
            AppendComponent(random, value);
            std::memcpy(bytes.Data() + at, &value, sizeof(T));
        }
        return bytes;
    }();
    return noise;
}

}  // namespace kvx_test::exactness
