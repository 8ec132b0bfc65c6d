#include "cli/sound/wav_writer.h"

#include <cerrno>
#include <cstdio>

namespace kvx_cli {

namespace {

constexpr int kBytesPerSample = 4;
constexpr uint32_t kSizeInDs64 = 0xFFFFFFFF;
constexpr uint32_t kDs64Size = 28;

constexpr uint16_t kFormatFloat = 3;
constexpr uint16_t kFormatExtensible = 0xFFFE;
// The float format as the extensible form's identifier: 00000003-0000-0010-8000-00AA00389B71.
constexpr uint8_t kFloatIdentifier[16] = {0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                          0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
// Front left, right and centre, LFE, side left and right.
constexpr uint32_t kSpeakers51 = 0x60F;

// For each channel of a six-channel file, the host's plane.
constexpr int kPlanes51[6] = {0, 1, 4, 5, 2, 3};

class HeaderBytes {
  public:
    void Text(const char* text) { mBytes.insert(mBytes.end(), text, text + 4); }
    void U16(uint64_t value) { LittleEndian(value, 2); }
    void U32(uint64_t value) { LittleEndian(value, 4); }
    void U64(uint64_t value) { LittleEndian(value, 8); }
    void Raw(const uint8_t* bytes, size_t count) {
        mBytes.insert(mBytes.end(), bytes, bytes + count);
    }
    std::vector<uint8_t> mBytes;

  private:
    void LittleEndian(uint64_t value, int count) {
        for (int i = 0; i < count; ++i) {
            mBytes.push_back(static_cast<uint8_t>(value >> 8 * i));
        }
    }
};

void AppendFormat(HeaderBytes& header, const WavFormat& format) {
    const bool extensible = format.channels > 2;
    const int bytesPerFrame = format.channels * kBytesPerSample;
    header.Text("fmt ");
    header.U32(extensible ? 40 : 18);
    header.U16(extensible ? kFormatExtensible : kFormatFloat);
    header.U16(static_cast<uint64_t>(format.channels));
    header.U32(static_cast<uint64_t>(format.sampleRate));
    header.U32(static_cast<uint64_t>(format.sampleRate) * static_cast<uint64_t>(bytesPerFrame));
    header.U16(static_cast<uint64_t>(bytesPerFrame));
    header.U16(8 * kBytesPerSample);
    header.U16(extensible ? 22 : 0);
    if (extensible) {
        header.U16(8 * kBytesPerSample);
        header.U32(kSpeakers51);
        header.Raw(kFloatIdentifier, sizeof kFloatIdentifier);
    }
}

}  // namespace

std::vector<uint8_t> WavHeader(const WavFormat& format, uint64_t frames) {
    const uint64_t dataSize = frames * static_cast<uint64_t>(format.channels) * kBytesPerSample;
    const uint32_t formatSize = format.channels > 2 ? 40 : 18;
    // "WAVE" and the chunks in the order below, each with its head of 8 bytes.
    const uint64_t riffSize = 4 + (8 + kDs64Size) + (8 + formatSize) + (8 + 4) + 8 + dataSize;
    const bool large = riffSize >= kSizeInDs64;

    HeaderBytes header;
    header.Text(large ? "RF64" : "RIFF");
    header.U32(large ? kSizeInDs64 : riffSize);
    header.Text("WAVE");
    header.Text(large ? "ds64" : "JUNK");
    header.U32(kDs64Size);
    header.U64(large ? riffSize : 0);
    header.U64(large ? dataSize : 0);
    header.U64(large ? frames : 0);
    header.U32(0);
    AppendFormat(header, format);
    header.Text("fact");
    header.U32(4);
    header.U32(frames < kSizeInDs64 ? frames : kSizeInDs64);
    header.Text("data");
    header.U32(large ? kSizeInDs64 : dataSize);
    return header.mBytes;
}

void Interleave(const float* const* planes, int channels, size_t frames, float* interleaved) {
    for (size_t frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            const int plane = channels == 6 ? kPlanes51[channel] : channel;
            *interleaved++ = planes[plane][frame];
        }
    }
}

Problem WavWriter::Open(const std::string& place, const InputFiles& inputs, const WavFormat& format,
                        uint64_t frames) {
    mFormat = format;
    mFramesLeft = frames;
    if (Problem problem = mFile.Open(place, inputs)) {
        return problem;
    }
    const std::vector<uint8_t> header = WavHeader(mFormat, frames);
    errno = 0;
    const bool isWritten =
        std::fwrite(header.data(), 1, header.size(), mFile.Stream()) == header.size();
    return isWritten ? Problem() : mFile.Failure();
}

Problem WavWriter::Write(const float* interleaved, size_t frames) {
    // The file is little-endian, as is every processor that this is built for.
    const size_t samples = frames * static_cast<size_t>(mFormat.channels);
    if (frames > mFramesLeft) {
        return {kExitFailed, "it has become longer meanwhile"};
    }
    mFramesLeft -= frames;
    errno = 0;
    const bool isWritten =
        std::fwrite(interleaved, kBytesPerSample, samples, mFile.Stream()) == samples;
    return isWritten ? Problem() : mFile.Failure();
}

Problem WavWriter::Finish() {
    return mFramesLeft == 0 ? mFile.Finish()
                            : Problem(kExitFailed, "it has become shorter meanwhile");
}

}  // namespace kvx_cli
