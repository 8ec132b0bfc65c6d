// The host's BGRA pixels for scalar code, at any alignment.
#pragma once

#include <cstring>

namespace KVX::Converter::Video {

// T is unsigned char (0 to 255), unsigned short (0 to 32768) or float (0.0 to 1.0).
template <typename T>
struct HostPixel {
    T mB;
    T mG;
    T mR;
    T mA;
};

template <typename T>
inline constexpr T kOpaque = 1;
template <>
inline constexpr unsigned char kOpaque<unsigned char> = 255;
template <>
inline constexpr unsigned short kOpaque<unsigned short> = 32768;

template <typename T>
HostPixel<T> ReadHostPixel(const char* from) {
    HostPixel<T> pixel;
    std::memcpy(&pixel, from, sizeof(pixel));
    return pixel;
}

template <typename T>
void WriteHostPixel(char* to, const HostPixel<T>& pixel) {
    std::memcpy(to, &pixel, sizeof(pixel));
}

}  // namespace KVX::Converter::Video
