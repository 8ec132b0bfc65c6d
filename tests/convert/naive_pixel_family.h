// The pixel conversion family once more, one pixel at a time and in plain arithmetic: what its
// vector code has to agree with to the bit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvx_test {

// One of the fifteen conversions from 10-bit big-endian RGB.
struct NaiveConversion {
    enum class Kind {
        kWord,         // 10-bit RGB in 32-bit words
        kBytes,        // 8-bit RGB
        kBytesScalar,  // 8-bit RGB by way of floats
        kUYVY,
        kV210,
    };

    std::string name;
    Kind kind;
    int blockPixels;     // that the converter takes at a time
    int blockBytes;      // that it makes of them
    bool stretched;      // levels 64 to 940 become 0 to 1020
    int shifts[3];       // kWord: where R, G and B lie
    bool bigEndian;      // kWord
    uint32_t padding;    // kWord: set in every word, as the bytes are read
    std::string order;   // kBytes: of R, G, B and A in memory
    const int* luma;     // kUYVY, kV210: coefficients of R, G and B in 1/32768
    const int* chromaB;  // likewise
    const int* chromaR;  // likewise
};

const std::vector<NaiveConversion>& NaiveConversions();
const NaiveConversion& FindNaiveConversion(const std::string& name);

// The bytes that a row of `width` pixels comes to.
long NaiveRowBytes(const NaiveConversion& conversion, long width);

// The bytes that the conversion writes for a row: NaiveRowBytes, or a whole block where a YUV row
// is shorter than that. Likewise the pixels that it reads.
long NaiveBytesWritten(const NaiveConversion& conversion, long width);
long NaivePixelsRead(const NaiveConversion& conversion, long width);

// Converts a row. `source` has NaivePixelsRead pixels of four bytes. Where a YUV row needs pixels
// past those, the last one repeats.
std::vector<uint8_t> NaiveRow(const NaiveConversion& conversion, const uint8_t* source, long width);

}  // namespace kvx_test
