#include <algorithm>
#include <iterator>
#include <limits>

#include "core/log.h"
#include "quicktime/sample_table.h"
#include "quicktime/wrapping.h"

namespace KVX::QT {

namespace {

constexpr long long kNoSample = -1;

// Truncates toward zero; a time that 64 bits do not hold becomes the nearest that they do.
long long ToTime(double time) {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    if (time >= kLimit) {
        return std::numeric_limits<long long>::max();
    }
    if (time < -kLimit) {
        return std::numeric_limits<long long>::min();
    }
    return static_cast<long long>(time);
}

}  // namespace

unsigned int SampleTable::GetSampleSize(long long trackSample) const {
    if (mSizeOffsets.empty()) {
        return 0;
    }
    return mSizeOffsets.RunAt(TrackSampleToMediaSample(trackSample)).second->size;
}

long long SampleTable::TrackSampleToMediaSample(long long trackSample) const {
    const long long trackTime = WrappingProduct(trackSample, mSampleDuration);
    return MediaTimeToMediaSample(TrackTimeToMediaTime(trackTime, nullptr), true);
}

long long SampleTable::GetSampleOffset(long long trackSample) const {
    return MediaSampleToFileOffset(TrackSampleToMediaSample(trackSample), nullptr);
}

long long SampleTable::MediaSampleToFileOffset(long long mediaSample, long long* contiguous) const {
    if (mChunkOffsets.empty() || mSizeOffsets.empty()) {
        if (contiguous != nullptr) {
            *contiguous = 0;
        }
        return 0;
    }
    const auto [chunkKey, chunkOffset] = mChunkOffsets.RunAt(mediaSample);
    mediaSample = std::max(mediaSample, chunkKey);
    if (contiguous != nullptr) {
        const long long end = mChunkOffsets.KeyAfter(mediaSample, mSampleCount);
        *contiguous = WrappingDifference(end, mediaSample);
    }
    const auto [sizeKey, sizes] = mSizeOffsets.RunAt(mediaSample);
    // Inside both runs at once the samples are adjacent and of one size, so the later start is the
    // nearest place with a known offset.
    const bool fromChunk = sizeKey <= chunkKey;
    const long long key = fromChunk ? chunkKey : sizeKey;
    const long long offset = fromChunk ? chunkOffset : sizes->offset;
    return WrappingSum(offset, WrappingProduct(sizes->size, WrappingDifference(mediaSample, key)));
}

long long SampleTable::TrackSampleToContiguousSampleCount(long long trackSample) const {
    long long remaining = 0;
    const long long mediaTime =
        TrackTimeToMediaTime(WrappingProduct(trackSample, mSampleDuration), &remaining);
    const long long first = MediaTimeToMediaSample(mediaTime, true);
    // `remaining` is track time, and stands for as much media time whatever the edit's rate.
    const long long end = MediaTimeToMediaSample(WrappingSum(mediaTime, remaining), false);
    long long toBreak = 0;
    MediaSampleToFileOffset(first, &toBreak);
    return std::min(toBreak, WrappingDifference(end, first));
}

long long SampleTable::TrackTimeToMediaTime(long long trackTime, long long* remaining) const {
    if (mEditRates.empty()) {
        if (remaining != nullptr) {
            *remaining = 0;
        }
        return 0;
    }
    const auto edit = mEditRates.AtOrBefore(trackTime);
    if (remaining != nullptr) {
        const auto next = std::next(edit);
        const long long end = next == mEditRates.end() ? mTrackDuration : next->first;
        *remaining = WrappingDifference(end, trackTime);
    }
    const auto& [key, mapping] = *edit;
    return ToTime(static_cast<double>(mapping->mediaTime) +
                  static_cast<double>(WrappingDifference(trackTime, key)) * mapping->rate);
}

long long SampleTable::MediaTimeToMediaSample(long long mediaTime, bool clamp) const {
    if (mSampleDurations.empty()) {
        return 0;
    }
    const auto& [key, run] = *mSampleDurations.AtOrBefore(mediaTime);
    // Only a time in front of all runs lies before its run's key.
    const long long distance = mediaTime < key ? 0 : WrappingDifference(mediaTime, key);
    const long long sample =
        WrappingSum(run->firstSample, WrappingQuotient(distance, run->duration));
    return clamp && sample >= mSampleCount ? mSampleCount - 1 : sample;
}

long long SampleTable::GetNextKeyFrame(long long mediaSample) const {
    const auto next = std::upper_bound(mKeyFrames.begin(), mKeyFrames.end(), mediaSample);
    return next == mKeyFrames.end() ? kNoSample : *next;
}

long long SampleTable::GetPrecedingKeyFrame(long long mediaSample) const {
    const auto next = std::upper_bound(mKeyFrames.begin(), mKeyFrames.end(), mediaSample);
    return next == mKeyFrames.begin() ? kNoSample : *std::prev(next);
}

long long SampleTable::DecodeSampleToDisplaySample(long long decodeSample) const {
    if (mDisplayOffsets.empty()) {
        return decodeSample;
    }
    const long long offset = mDisplayOffsets.AtOrBefore(decodeSample)->second;
    return WrappingSum(decodeSample, WrappingQuotient(offset, mSampleDuration));
}

long long SampleTable::DisplaySampleToDecodeSample(long long displaySample) const {
    const long long lowest = std::max(
        0LL,
        WrappingDifference(displaySample, WrappingQuotient(mMaxDisplayOffset, mSampleDuration)));
    const long long highest =
        WrappingDifference(displaySample, WrappingQuotient(mMinDisplayOffset, mSampleDuration));
    if (mDisplayOffsets.empty()) {
        if (lowest <= displaySample && displaySample <= highest) {
            return displaySample;
        }
    } else {
        // Inside a run the offset is one, so only one of its samples can be the answer.
        for (auto run = mDisplayOffsets.AtOrBefore(lowest);
             run != mDisplayOffsets.end() && run->first <= highest; ++run) {
            const long long candidate =
                WrappingDifference(displaySample, WrappingQuotient(run->second, mSampleDuration));
            const auto next = std::next(run);
            if (std::max(lowest, run->first) <= candidate && candidate <= highest &&
                (next == mDisplayOffsets.end() || candidate < next->first)) {
                return candidate;
            }
        }
    }
    KVX_LOG("Failed to locate decode sample for display sample %lld\n", displaySample);
    return kNoSample;
}

}  // namespace KVX::QT
