// Sound files of 32-bit float samples.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace kvx_cli {

struct WavFormat {
    int channels;  // 1, 2 or 6
    int sampleRate;
};

// What stands before the samples of a file of `frames` frames. The size of the header does not
// depend on `frames`: up to 4 GiB it is a RIFF file with a JUNK chunk in the place where a larger
// one, an RF64 file, has its ds64 chunk of 64-bit sizes (EBU Tech 3306).
std::vector<uint8_t> WavHeader(const WavFormat& format, uint64_t frames);

// Brings `frames` frames from the host's planes into the order of a sound file. The two orders
// differ for six channels: the host has left, right, left surround, right surround, centre, LFE,
// the file left, right, centre, LFE, left surround, right surround.
void Interleave(const float* const* planes, int channels, size_t frames, float* interleaved);

// Writes a file block by block. Each operation answers false when it failed; Problem() then tells
// why, and the incomplete file is removed when the writer goes.
class WavWriter {
  public:
    WavWriter() = default;
    ~WavWriter();

    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    bool Open(const std::string& path, const WavFormat& format);
    bool Write(const float* interleaved, size_t frames);

    // Writes the header that fits what has been written, and closes the file.
    bool Finish();

    const std::string& Problem() const { return mProblem; }

  private:
    bool Fail();  // for the reason in errno
    bool WriteHeader(uint64_t frames);

    std::FILE* mFile = nullptr;
    std::string mPath;
    std::string mProblem;
    WavFormat mFormat = {};
    uint64_t mFrames = 0;
};

}  // namespace kvx_cli
