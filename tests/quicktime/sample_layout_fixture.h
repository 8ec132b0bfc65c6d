#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "quicktime/track.h"
#include "support/atom_buffer.h"
#include "support/log_capture.h"
#include "support/movie_builder.h"

namespace kvx_test {

// Sets the sample layout of a track from a recipe's "mdia".
class SampleLayout : public testing::Test {
  protected:
    long Set(const TrackRecipe& recipe,
             const std::function<void(AtomNode& stbl)>& change = nullptr) {
        AtomNode trak = BuildTrak(recipe);
        if (change) {
            change(trak.At("mdia/minf/stbl"));
        }
        return SetFromMedia(trak.At("mdia"));
    }

    long SetFromMedia(const AtomNode& mdia) {
        const AtomBuffer buffer(mdia);
        return mTrack.SetSampleLayout(buffer.Get());
    }

    struct Duration {
        long long time;
        long long firstSample;
        long long duration;
        bool operator==(const Duration& o) const {
            return time == o.time && firstSample == o.firstSample && duration == o.duration;
        }
    };
    std::vector<Duration> Durations() const {
        std::vector<Duration> rows;
        for (const auto& [time, run] : mTrack.mSampleDurations) {
            rows.push_back({time, run->firstSample, run->duration});
        }
        return rows;
    }

    struct Size {
        long long sample;
        unsigned int size;
        long long offset;
        bool operator==(const Size& o) const {
            return sample == o.sample && size == o.size && offset == o.offset;
        }
    };
    std::vector<Size> Sizes() const {
        std::vector<Size> rows;
        for (const auto& [sample, run] : mTrack.mSizeOffsets) {
            rows.push_back({sample, run->size, run->offset});
        }
        return rows;
    }

    using Pairs = std::vector<std::pair<long long, long long>>;
    static Pairs Rows(const KVX::QT::RunMap<long long>& runs) { return {runs.begin(), runs.end()}; }

    KVX::QT::Track mTrack;
    LogCapture mLog;
};

}  // namespace kvx_test
