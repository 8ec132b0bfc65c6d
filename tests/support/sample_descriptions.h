// Entries of a "stsd" atom, with plausible values in the fields that nobody reads.
#pragma once

#include <cstdint>
#include <vector>

#include "support/atom_node.h"
#include "support/bytes.h"

namespace kvx_test {

// QuickTime File Format, "Video Sample Description": 86 bytes, then extensions.
struct VideoDescription {
    Bytes format = "2vuy";
    int width = 16;
    int height = 8;
    int depth = 24;
    std::vector<AtomNode> extensions = {};
    Bytes compressorName = "Made by hand";  // up to 31 characters
};
AtomNode Describe(const VideoDescription& video);

AtomNode PixelAspect(uint32_t horizontal, uint32_t vertical);  // "pasp"
AtomNode FieldHandling(uint8_t fieldCount, uint8_t detail);    // "fiel"

// Sound sample descriptions, each 36, 52 and 72 bytes before the extensions.
struct SoundDescriptionV0 {
    Bytes format = "twos";
    int channels = 2;
    int bits = 16;
    uint32_t rate = 48000u << 16;  // 16.16 fixed point
    std::vector<AtomNode> extensions = {};
};
struct SoundDescriptionV1 {
    Bytes format = "twos";
    int channels = 2;
    int bits = 16;
    uint32_t rate = 48000u << 16;
    uint32_t samplesPerPacket = 1;
    uint32_t bytesPerPacket = 2;  // of one channel
    uint32_t bytesPerFrame = 4;
    uint32_t bytesPerSample = 2;
    std::vector<AtomNode> extensions = {};
};
struct SoundDescriptionV2 {
    Bytes format = "lpcm";
    double rate = 48000.0;
    uint32_t channels = 2;
    uint32_t bits = 16;
    uint32_t formatFlags = 0;
    uint32_t bytesPerPacket = 4;
    uint32_t framesPerPacket = 1;
    uint32_t structSize = 72;  // what the description says of its own fixed part
    std::vector<AtomNode> extensions = {};
};
AtomNode Describe(const SoundDescriptionV0& sound);
AtomNode Describe(const SoundDescriptionV1& sound);
AtomNode Describe(const SoundDescriptionV2& sound);

AtomNode ChannelLayout(uint32_t layoutTag, uint32_t bitmap = 0);  // "chan"
AtomNode Endianness(bool littleEndian);                           // "enda"
AtomNode ElementaryStream(const Bytes& payload);                  // "esds"
AtomNode Wave(std::vector<AtomNode> children);                    // "wave"

// QuickTime File Format, "Timecode Sample Description".
struct TimeCodeDescription {
    uint32_t flags = 0;  // bit 0: drop frame
    uint32_t timeScale = 24;
    uint32_t frameDuration = 1;
    int framesPerSecond = 24;
    std::vector<AtomNode> extensions = {};
};
AtomNode Describe(const TimeCodeDescription& timeCode);

}  // namespace kvx_test
