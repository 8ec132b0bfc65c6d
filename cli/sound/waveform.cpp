#include "cli/sound/waveform.h"

#include <algorithm>

namespace kvx_cli {

Waveform::Waveform(int channels, int64_t frames, int columns)
    : mFrames(std::max<int64_t>(frames, 1)),
      mRanges(static_cast<size_t>(channels),
              std::vector<SampleRange>(static_cast<size_t>(columns))) {}

void Waveform::Add(const float* const* planes, size_t count) {
    for (size_t frame = 0; frame < count; ++frame, ++mPosition) {
        const int64_t position = std::min(mPosition, mFrames - 1);
        for (size_t channel = 0; channel < mRanges.size(); ++channel) {
            std::vector<SampleRange>& columns = mRanges[channel];
            const auto wide = static_cast<double>(columns.size());
            const auto column = static_cast<size_t>(static_cast<double>(position) * wide /
                                                    static_cast<double>(mFrames));
            SampleRange& range = columns[std::min(column, columns.size() - 1)];
            range.low = std::min(range.low, planes[channel][frame]);
            range.high = std::max(range.high, planes[channel][frame]);
        }
    }
}

}  // namespace kvx_cli
