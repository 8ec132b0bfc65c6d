#include "cli/sound/waveform.h"

#include <algorithm>

namespace kvx_cli {

Waveform::Waveform(int channels, int64_t frames, int columns)
    : mFrames(std::max<int64_t>(frames, 1)),
      mRanges(static_cast<size_t>(channels),
              std::vector<SampleRange>(static_cast<size_t>(columns))) {}

void Waveform::Add(const float* const* planes, size_t count) {
    const size_t columns = mRanges.empty() ? 1 : mRanges[0].size();
    const auto wide = static_cast<double>(columns);
    const auto columnOf = [&](int64_t frame) {
        const auto position = static_cast<double>(std::min(frame, mFrames - 1));
        return std::min(static_cast<size_t>(position * wide / static_cast<double>(mFrames)),
                        columns - 1);
    };
    const int64_t first = mPosition;
    const int64_t past = first + static_cast<int64_t>(count);
    while (mPosition < past) {
        // As many as lie in one column: about so many, then as rounding has it.
        const size_t column = columnOf(mPosition);
        int64_t end = past;
        if (column + 1 < columns) {
            const double next = static_cast<double>(column + 1) / wide;
            end = static_cast<int64_t>(next * static_cast<double>(mFrames));
            end = std::clamp(end, mPosition + 1, past);
            for (; end < past && columnOf(end) == column; ++end) {
            }
            for (; end > mPosition + 1 && columnOf(end - 1) != column; --end) {
            }
        }
        for (size_t channel = 0; channel < mRanges.size(); ++channel) {
            SampleRange& range = mRanges[channel][column];
            for (int64_t frame = mPosition; frame < end; ++frame) {
                const float sample = planes[channel][frame - first];
                range.low = std::min(range.low, sample);
                range.high = std::max(range.high, sample);
            }
        }
        mPosition = end;
    }
}

}  // namespace kvx_cli
