#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kvx_cli {

// The lowest and the highest sample of a stretch of sound; nothing of it yet: low above high.
struct SampleRange {
    float low = 1.0F;
    float high = -1.0F;
};

// A sound as a picture shows it: each channel in as many parts as the picture has columns.
class Waveform {
  public:
    // `frames` is the whole length of the sound, `columns` at least 1.
    Waveform(int channels, int64_t frames, int columns);

    // Takes the next `count` frames, as planes[channel][0..count). What lies beyond the length
    // belongs to the last column.
    void Add(const float* const* planes, size_t count);

    // What is added next begins with this frame.
    void GoTo(int64_t frame) { mPosition = frame; }

    int Channels() const { return static_cast<int>(mRanges.size()); }
    const std::vector<SampleRange>& Columns(int channel) const {
        return mRanges[static_cast<size_t>(channel)];
    }

  private:
    int64_t mFrames;
    int64_t mPosition = 0;
    std::vector<std::vector<SampleRange>> mRanges;  // of each channel
};

}  // namespace kvx_cli
