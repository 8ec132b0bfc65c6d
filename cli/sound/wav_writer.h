// Sound files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/output/exit_code.h"
#include "cli/output/input_files.h"
#include "cli/output/output_file.h"

namespace kvx_cli {

struct WavFormat {
    int channels;
    int sampleRate;
    int bits = 32;  // 8, 16, 24, 32 or 64
    bool isFloat = true;
    // Of up to two channels above 16 bits: described by the short form, which is not meant for it
    // and understood everywhere, or by the extensible one.
    bool isShortAbove16Bits = true;
    // Mono, stereo and 5.1 say in the extensible form which speaker each channel is for.
    bool namesSpeakers = true;
    // Samples from midnight to the first, for the broadcast extension; without it there is none.
    std::optional<uint64_t> timeReference = std::nullopt;
};

size_t BytesPerFrame(const WavFormat& format);

// What precedes the samples of a file of `frames` frames. The size of the header does not
// depend on `frames`: up to 4 GiB it is a RIFF file with a JUNK chunk in the place where a larger
// one, an RF64 file, has its ds64 chunk of 64-bit sizes (EBU Tech 3306).
std::vector<uint8_t> WavHeader(const WavFormat& format, uint64_t frames);

// Brings `frames` frames from the host's planes into the order of a sound file. The two orders
// differ for six channels: the host has left, right, left surround, right surround, centre, LFE,
// the file left, right, centre, LFE, left surround, right surround.
void Interleave(const float* const* planes, int channels, size_t frames, float* interleaved);

// Writes a file block by block, without ever going back in it.
class WavWriter {
  public:
    // Writes the header for `frames` frames. "-" is standard output. Refuses a place that is one of
    // `inputs`, and a length that no file has.
    Problem Open(const std::string& place, const InputFiles& inputs, const WavFormat& format,
                 uint64_t frames);
    // `interleaved` as the file has them.
    Problem Write(const void* interleaved, size_t frames);

    // The file gets its name here. All the frames that the header announces must have been written.
    Problem Finish();

  private:
    OutputFile mFile;
    WavFormat mFormat = {};
    uint64_t mFramesLeft = 0;
    bool mIsPadded = false;
};

}  // namespace kvx_cli
