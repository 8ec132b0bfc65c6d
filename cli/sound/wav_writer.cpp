#include "cli/sound/wav_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

namespace kvx_cli {

namespace {

constexpr uint32_t kSizeInDs64 = 0xFFFFFFFF;
constexpr uint32_t kDs64Size = 28;

constexpr uint16_t kFormatPcm = 1;
constexpr uint16_t kFormatFloat = 3;
constexpr uint16_t kFormatExtensible = 0xFFFE;
// A format as the extensible form's identifier, after its number: the rest of
// 00000003-0000-0010-8000-00AA00389B71.
constexpr uint8_t kIdentifierRest[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                         0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
constexpr uint32_t kSpeakersMono = 0x4;    // front centre
constexpr uint32_t kSpeakersStereo = 0x3;  // front left and right
// Front left, right and centre, LFE, side left and right.
constexpr uint32_t kSpeakers51 = 0x60F;

// The broadcast extension, version 1 (EBU Tech 3285): the fields before and after the ones that
// are set.
constexpr uint32_t kBextSize = 602;
constexpr size_t kBextOriginator = 256;
constexpr size_t kBextTimeReference = 338;
constexpr size_t kBextVersion = 346;

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
    void Zeros(size_t count) { mBytes.resize(mBytes.size() + count); }
    std::vector<uint8_t> mBytes;

  private:
    void LittleEndian(uint64_t value, int count) {
        for (int i = 0; i < count; ++i) {
            mBytes.push_back(static_cast<uint8_t>(value >> 8 * i));
        }
    }
};

bool IsExtensible(const WavFormat& format) {
    return format.channels > 2 || (format.bits > 16 && !format.isShortAbove16Bits);
}

uint16_t FormatNumber(const WavFormat& format) {
    return format.isFloat ? kFormatFloat : kFormatPcm;
}

uint32_t FormatSize(const WavFormat& format) {
    return IsExtensible(format) ? 40 : format.isFloat ? 18 : 16;
}

uint32_t Speakers(const WavFormat& format) {
    switch (format.namesSpeakers ? format.channels : 0) {
        case 1:
            return kSpeakersMono;
        case 2:
            return kSpeakersStereo;
        case 6:
            return kSpeakers51;
        default:
            return 0;
    }
}

void AppendFormat(HeaderBytes& header, const WavFormat& format) {
    const bool extensible = IsExtensible(format);
    const uint64_t bytesPerFrame = BytesPerFrame(format);
    header.Text("fmt ");
    header.U32(FormatSize(format));
    header.U16(extensible ? kFormatExtensible : FormatNumber(format));
    header.U16(static_cast<uint64_t>(format.channels));
    header.U32(static_cast<uint64_t>(format.sampleRate));
    const uint64_t bytesPerSecond = static_cast<uint64_t>(format.sampleRate) * bytesPerFrame;
    header.U32(std::min<uint64_t>(bytesPerSecond, std::numeric_limits<uint32_t>::max()));
    header.U16(bytesPerFrame);
    header.U16(static_cast<uint64_t>(format.bits));
    if (extensible) {
        header.U16(22);
        header.U16(static_cast<uint64_t>(format.bits));
        header.U32(Speakers(format));
        header.U16(FormatNumber(format));
        header.Raw(kIdentifierRest, sizeof kIdentifierRest);
    } else if (format.isFloat) {
        header.U16(0);
    }
}

void AppendBroadcastExtension(HeaderBytes& header, uint64_t timeReference) {
    header.Text("bext");
    header.U32(kBextSize);
    const size_t start = header.mBytes.size();
    header.Zeros(kBextOriginator);
    header.Text("kvx");  // with the zero that ends it
    header.Zeros(start + kBextTimeReference - header.mBytes.size());
    header.U64(timeReference);
    header.U16(1);
    static_assert(kBextVersion == kBextTimeReference + 8);
    header.Zeros(start + kBextSize - header.mBytes.size());
}

// With a header before it and a byte after it, what a signed offset reaches.
constexpr uint64_t kMostDataBytes = (uint64_t{1} << 63) - 4096;

// Chunks begin on even places.
bool NeedsPadding(const WavFormat& format, uint64_t frames) {
    return frames * BytesPerFrame(format) % 2 != 0;
}

}  // namespace

size_t BytesPerFrame(const WavFormat& format) {
    return static_cast<size_t>(format.channels) * static_cast<size_t>(format.bits / 8);
}

std::vector<uint8_t> WavHeader(const WavFormat& format, uint64_t frames) {
    const uint64_t dataSize = frames * BytesPerFrame(format);
    const uint32_t bextSize = format.timeReference ? 8 + kBextSize : 0;
    // "WAVE" and the chunks in the order below, each with its head of 8 bytes.
    const uint64_t riffSize = 4 + (8 + kDs64Size) + bextSize + (8 + FormatSize(format)) + (8 + 4) +
                              8 + dataSize + dataSize % 2;
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
    if (format.timeReference) {
        AppendBroadcastExtension(header, *format.timeReference);
    }
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
    mIsPadded = NeedsPadding(format, frames);
    if (frames > kMostDataBytes / BytesPerFrame(format)) {
        return {kExitRefused, "its sound is longer than a file can be"};
    }
    if (Problem problem = mFile.Open(place, inputs)) {
        return problem;
    }
    const std::vector<uint8_t> header = WavHeader(mFormat, frames);
    errno = 0;
    const bool isWritten =
        std::fwrite(header.data(), 1, header.size(), mFile.Stream()) == header.size();
    return isWritten ? Problem() : mFile.Failure();
}

Problem WavWriter::Write(const void* interleaved, size_t frames) {
    if (frames > mFramesLeft) {
        return {kExitFailed, "it has become longer meanwhile"};
    }
    mFramesLeft -= frames;
    errno = 0;
    const bool isWritten =
        std::fwrite(interleaved, BytesPerFrame(mFormat), frames, mFile.Stream()) == frames;
    return isWritten ? Problem() : mFile.Failure();
}

Problem WavWriter::Finish() {
    if (mFramesLeft != 0) {
        return {kExitFailed, "it has become shorter meanwhile"};
    }
    errno = 0;
    if (mIsPadded && std::fputc(0, mFile.Stream()) == EOF) {
        return mFile.Failure();
    }
    return mFile.Finish();
}

}  // namespace kvx_cli
