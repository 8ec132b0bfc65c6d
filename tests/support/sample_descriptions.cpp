#include "support/sample_descriptions.h"

#include <utility>

namespace kvx_test {

namespace {

// Six reserved bytes and the data reference index open every sample description.
Bytes CommonFields() {
    return zeros(6) + big16(1);
}

// A Pascal string in a field of fixed length.
Bytes PascalField(const Bytes& text, size_t length) {
    Bytes field(1, static_cast<char>(text.size()));
    field += text;
    field.resize(length);
    return field;
}

Bytes SoundFields(int version, int64_t channels, int64_t bits, int compressionID, int64_t rate) {
    return CommonFields() + big16(version) + big16(0) + big32(0) +  // revision, vendor
           big16(channels) + big16(bits) + big16(compressionID) + big16(0) + big32(rate);
}

}  // namespace

AtomNode Describe(const VideoDescription& video) {
    const Bytes fields = CommonFields() + big16(0) + big16(0) +
                         "appl" +                                    // version, revision, vendor
                         big32(0) + big32(0x3FF) +                   // qualities
                         big16(video.width) + big16(video.height) +  //
                         big32(72 << 16) + big32(72 << 16) +         // pixels per inch
                         big32(0) + big16(1) +                       // data size, frame count
                         PascalField(video.compressorName, 32) +     //
                         big16(video.depth) + big16(-1);             // no colour table
    return {video.format, fields, video.extensions};
}

AtomNode PixelAspect(uint32_t horizontal, uint32_t vertical) {
    return {"pasp", big32(horizontal) + big32(vertical)};
}

AtomNode FieldHandling(uint8_t fieldCount, uint8_t detail) {
    return {"fiel", big16(fieldCount << 8 | detail)};
}

AtomNode Describe(const SoundDescriptionV0& sound) {
    return {sound.format, SoundFields(0, sound.channels, sound.bits, 0, sound.rate),
            sound.extensions};
}

AtomNode Describe(const SoundDescriptionV1& sound) {
    const Bytes fields = SoundFields(1, sound.channels, sound.bits, 0, sound.rate) +
                         big32(sound.samplesPerPacket) + big32(sound.bytesPerPacket) +
                         big32(sound.bytesPerFrame) + big32(sound.bytesPerSample);
    return {sound.format, fields, sound.extensions};
}

AtomNode Describe(const SoundDescriptionV2& sound) {
    // The fields of the older versions hold fixed numbers that make old readers refuse the entry.
    const Bytes fields = SoundFields(2, 3, 16, -2, 0x00010000) + big32(sound.structSize) +
                         bigDouble(sound.rate) + big32(sound.channels) + big32(0x7F000000) +
                         big32(sound.bits) + big32(sound.formatFlags) +
                         big32(sound.bytesPerPacket) + big32(sound.framesPerPacket);
    return {sound.format, fields, sound.extensions};
}

AtomNode ChannelLayout(uint32_t layoutTag, uint32_t bitmap) {
    return {"chan", big32(0) + big32(layoutTag) + big32(bitmap) + big32(0)};
}

AtomNode Endianness(bool littleEndian) {
    return {"enda", big16(littleEndian ? 1 : 0)};
}

AtomNode ElementaryStream(const Bytes& payload) {
    return {"esds", payload};
}

AtomNode Wave(std::vector<AtomNode> children) {
    return {"wave", {}, std::move(children)};
}

AtomNode Describe(const TimeCodeDescription& timeCode) {
    const Bytes fields = CommonFields() + big32(0) + big32(timeCode.flags) +
                         big32(timeCode.timeScale) + big32(timeCode.frameDuration) +
                         big16(timeCode.framesPerSecond << 8);
    return {"tmcd", fields, timeCode.extensions};
}

}  // namespace kvx_test
