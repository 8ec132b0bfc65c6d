#include "convert/naive_pixel_family.h"

#include <stdexcept>

namespace kvx_test {

namespace {

using Kind = NaiveConversion::Kind;

constexpr int kLuma601[] = {9797, 19234, 3735};
constexpr int kChromaB601[] = {-5537, -10846, 16384};
constexpr int kChromaR601[] = {16384, -13729, -2654};
constexpr int kLuma709[] = {6966, 23435, 2365};
constexpr int kChromaB709[] = {-3755, -12628, 16384};
constexpr int kChromaR709[] = {16384, -14883, -1504};

NaiveConversion Words(const char* name, int block, bool stretched, int shiftR, int shiftG,
                      int shiftB, bool bigEndian, uint32_t padding = 0) {
    return {name,      Kind::kWord, block, block * 4, stretched, {shiftR, shiftG, shiftB},
            bigEndian, padding,     "",    nullptr,   nullptr,   nullptr};
}

NaiveConversion Bytes(const char* name, Kind kind, int block, const char* order) {
    const int pixelBytes = static_cast<int>(std::string(order).size());
    return {name,    kind,    block,  block * pixelBytes, true, {0, 0, 0}, false, 0, order,
            nullptr, nullptr, nullptr};
}

NaiveConversion YUV(const char* name, Kind kind, int block, int blockBytes, const int* luma,
                    const int* chromaB, const int* chromaR) {
    return {name, kind, block, blockBytes, false, {0, 0, 0}, false, 0, "", luma, chromaB, chromaR};
}

struct Pixel {
    int r;
    int g;
    int b;
};

Pixel ReadPixel(const uint8_t* bytes) {
    const uint32_t word = static_cast<uint32_t>(bytes[0]) * 0x1000000u + bytes[1] * 0x10000u +
                          bytes[2] * 0x100u + bytes[3];
    return {static_cast<int>(word / 0x100000u % 1024), static_cast<int>(word / 0x400u % 1024),
            static_cast<int>(word % 1024)};
}

int AtMost(int limit, int value) {
    return value < 0 ? 0 : value > limit ? limit : value;
}

int Stretch(int level) {
    return level < 64 ? 0 : (level - 64) * 38155 / 32768;
}

// Division that rounds down, whatever the sign.
int FloorDivide(int value, int divisor) {
    int quotient = value / divisor;
    if (quotient * divisor > value) {
        --quotient;
    }
    return quotient;
}

void AppendWord(std::vector<uint8_t>& bytes, uint32_t word, bool bigEndian) {
    for (int i = 0; i < 4; ++i) {
        const int place = bigEndian ? 3 - i : i;
        bytes.push_back(static_cast<uint8_t>(word >> (8 * place)));
    }
}

void AppendWordPixel(std::vector<uint8_t>& bytes, const NaiveConversion& conversion, Pixel pixel) {
    const int levels[] = {pixel.r, pixel.g, pixel.b};
    uint32_t word = conversion.padding;
    for (int i = 0; i < 3; ++i) {
        const int level = conversion.stretched ? Stretch(levels[i]) : levels[i];
        word += static_cast<uint32_t>(AtMost(1023, level)) << conversion.shifts[i];
    }
    AppendWord(bytes, word, conversion.bigEndian);
}

uint8_t ByteByFloats(int level) {
    const float fraction = static_cast<float>(level) / 1023.0f;
    const float stretched = (fraction + -0.0625f) * 1.1643835f;
    const float scaled = stretched * 255.0f;
    if (scaled < 0.0f) {
        return 0;
    }
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): the sum is rounded to a float before it is cut.
    return static_cast<uint8_t>((scaled < 255.0f ? scaled : 255.0f) + 0.5f);
}

uint8_t ByteByIntegers(int level) {
    return static_cast<uint8_t>(AtMost(255, Stretch(level) / 4));
}

void AppendBytesPixel(std::vector<uint8_t>& bytes, const NaiveConversion& conversion, Pixel pixel) {
    uint8_t (*const convert)(int) =
        conversion.kind == Kind::kBytesScalar ? ByteByFloats : ByteByIntegers;
    for (const char component : conversion.order) {
        switch (component) {
            case 'R':
                bytes.push_back(convert(pixel.r));
                break;
            case 'G':
                bytes.push_back(convert(pixel.g));
                break;
            case 'B':
                bytes.push_back(convert(pixel.b));
                break;
            default:
                bytes.push_back(255);
                break;
        }
    }
}

int Weigh(Pixel pixel, const int* coefficients, int divisor) {
    return FloorDivide(pixel.b * coefficients[2] + pixel.g * coefficients[1], divisor) +
           FloorDivide(pixel.r * coefficients[0], divisor);
}

int Mean(int a, int b) {
    return (a + b + 1) / 2;
}

Pixel Filter(Pixel left, Pixel middle, Pixel right) {
    return {Mean(middle.r, Mean(left.r, right.r)), Mean(middle.g, Mean(left.g, right.g)),
            Mean(middle.b, Mean(left.b, right.b))};
}

// Cb, Y, Cr, Y of each pair of pixels.
std::vector<int> Samples(const NaiveConversion& conversion, const std::vector<Pixel>& pixels,
                         int bits) {
    const int divisor = bits == 8 ? 131072 : 32768;
    const int noChroma = bits == 8 ? 128 : 512;
    std::vector<int> samples;
    for (size_t even = 0; even + 1 < pixels.size(); even += 2) {
        const Pixel left = pixels[even == 0 ? 0 : even - 1];
        const Pixel filtered = Filter(left, pixels[even], pixels[even + 1]);
        samples.push_back(Weigh(filtered, conversion.chromaB, divisor) + noChroma);
        samples.push_back(Weigh(pixels[even], conversion.luma, divisor));
        samples.push_back(Weigh(filtered, conversion.chromaR, divisor) + noChroma);
        samples.push_back(Weigh(pixels[even + 1], conversion.luma, divisor));
    }
    return samples;
}

void AppendV210(std::vector<uint8_t>& bytes, const std::vector<int>& samples) {
    for (size_t i = 0; i + 2 < samples.size(); i += 3) {
        const uint32_t word = static_cast<uint32_t>(AtMost(1023, samples[i])) +
                              static_cast<uint32_t>(AtMost(1023, samples[i + 1])) * 0x400u +
                              static_cast<uint32_t>(AtMost(1023, samples[i + 2])) * 0x100000u;
        AppendWord(bytes, word, false);
    }
}

bool IsYUV(const NaiveConversion& conversion) {
    return conversion.kind == Kind::kUYVY || conversion.kind == Kind::kV210;
}

}  // namespace

const std::vector<NaiveConversion>& NaiveConversions() {
    static const std::vector<NaiveConversion> conversions = {
        YUV("8YUV422_SD", Kind::kUYVY, 8, 16, kLuma601, kChromaB601, kChromaR601),
        YUV("8YUV422_HD", Kind::kUYVY, 8, 16, kLuma709, kChromaB709, kChromaR709),
        YUV("10YUV422_LE_SD", Kind::kV210, 12, 32, kLuma601, kChromaB601, kChromaR601),
        YUV("10YUV422_LE_HD", Kind::kV210, 12, 32, kLuma709, kChromaB709, kChromaR709),
        Bytes("8ARGB_FULL", Kind::kBytes, 4, "ARGB"),
        Bytes("8BGRA_FULL", Kind::kBytes, 8, "BGRA"),
        Bytes("8BGRA_FULL_Scalar", Kind::kBytesScalar, 1, "BGRA"),
        Bytes("8RGBA_FULL", Kind::kBytes, 4, "RGBA"),
        Words("10RGBX_LE_SMPTE", 4, false, 22, 12, 2, false),
        Words("10RGBX_BE_SMPTE", 4, false, 22, 12, 2, true),
        Words("10RGBX_LE_FULL", 4, true, 22, 12, 2, false),
        Words("10RGBX_BE_FULL", 4, true, 22, 12, 2, true),
        Words("10RGBA_BE_FULL", 4, true, 22, 12, 2, true, 3),
        Bytes("8RGB_FULL", Kind::kBytes, 16, "RGB"),
        Words("10XRGB_BE_FULL", 8, true, 20, 10, 0, true),
    };
    return conversions;
}

const NaiveConversion& FindNaiveConversion(const std::string& name) {
    for (const NaiveConversion& conversion : NaiveConversions()) {
        if (conversion.name == name) {
            return conversion;
        }
    }
    throw std::invalid_argument(name);
}

long NaiveRowBytes(const NaiveConversion& conversion, long width) {
    switch (conversion.kind) {
        case Kind::kUYVY:
            return (width + 1) / 2 * 4;
        case Kind::kV210:
            return (width + 5) / 6 * 16;
        default:
            return width * conversion.blockBytes / conversion.blockPixels;
    }
}

long NaiveBytesWritten(const NaiveConversion& conversion, long width) {
    return IsYUV(conversion) && width < conversion.blockPixels ? conversion.blockBytes
                                                               : NaiveRowBytes(conversion, width);
}

long NaivePixelsRead(const NaiveConversion& conversion, long width) {
    return IsYUV(conversion) && width < conversion.blockPixels ? conversion.blockPixels : width;
}

std::vector<uint8_t> NaiveRow(const NaiveConversion& conversion, const uint8_t* source,
                              long width) {
    std::vector<Pixel> pixels;
    for (long i = 0; i < NaivePixelsRead(conversion, width); ++i) {
        pixels.push_back(ReadPixel(source + 4 * i));
    }
    std::vector<uint8_t> bytes;
    if (conversion.kind == Kind::kWord) {
        for (const Pixel pixel : pixels) {
            AppendWordPixel(bytes, conversion, pixel);
        }
        return bytes;
    }
    if (!IsYUV(conversion)) {
        for (const Pixel pixel : pixels) {
            AppendBytesPixel(bytes, conversion, pixel);
        }
        return bytes;
    }

    const size_t wholePixels =
        static_cast<size_t>((static_cast<long>(pixels.size()) + conversion.blockPixels - 1) /
                            conversion.blockPixels * conversion.blockPixels);
    pixels.resize(wholePixels, pixels.back());
    if (conversion.kind == Kind::kV210) {
        AppendV210(bytes, Samples(conversion, pixels, 10));
    } else {
        for (const int sample : Samples(conversion, pixels, 8)) {
            bytes.push_back(static_cast<uint8_t>(AtMost(255, sample)));
        }
    }
    bytes.resize(static_cast<size_t>(NaiveBytesWritten(conversion, width)));
    return bytes;
}

}  // namespace kvx_test
