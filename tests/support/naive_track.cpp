#include "support/naive_track.h"

#include <algorithm>

namespace kvx_test {

NaiveTrack::NaiveTrack(const TrackRecipe& recipe, int64_t movieTimeScale) {
    ExpandTimes(recipe);
    ExpandPlaces(recipe);
    ExpandDisplayOffsets(recipe);
    ExpandEdits(recipe, movieTimeScale);
    for (const int64_t sample : recipe.keyFrames) {
        mKeyFrames.push_back(sample - 1);
    }
}

void NaiveTrack::ExpandTimes(const TrackRecipe& recipe) {
    // The unit is the shortest duration that any entry names, but an entry that begins no earlier
    // than the last sample does not count; the first entry always does.
    const int64_t lastSample = recipe.SampleCount() - 1;
    mSampleDuration = recipe.durations.front().value;
    int64_t time = 0;
    for (const SampleRun& run : recipe.durations) {
        if (SampleCount() < lastSample) {
            mSampleDuration = std::min(mSampleDuration, run.value);
        }
        for (int64_t i = 0; i < run.count; ++i) {
            Sample sample;
            sample.time = time;
            sample.duration = run.value;
            mSamples.push_back(sample);
            time += run.value;
        }
    }
    mDurationBehindEnd = recipe.durations.back().value;
}

void NaiveTrack::ExpandPlaces(const TrackRecipe& recipe) {
    size_t sample = 0;
    int64_t previousEnd = -1;
    for (size_t chunk = 0; chunk < recipe.chunkOffsets.size(); ++chunk) {
        int64_t inChunk = 0;
        for (const ChunkRun& run : recipe.chunkRuns) {
            if (run.firstChunk <= static_cast<int64_t>(chunk) + 1) {
                inChunk = run.samplesPerChunk;
            }
        }
        int64_t offset = static_cast<int64_t>(recipe.chunkOffsets[chunk]);
        for (int64_t i = 0; i < inChunk; ++i, ++sample) {
            Sample& placed = mSamples.at(sample);
            placed.size = recipe.SampleSize(static_cast<int64_t>(sample));
            placed.offset = offset;
            placed.opensRun = offset != previousEnd;
            offset += static_cast<int64_t>(placed.size);
            previousEnd = offset;
        }
    }
}

void NaiveTrack::ExpandDisplayOffsets(const TrackRecipe& recipe) {
    size_t sample = 0;
    for (const SampleRun& run : recipe.displayOffsets) {
        mReorders = true;
        mMaxDisplayOffset = std::max(mMaxDisplayOffset, run.value);
        mMinDisplayOffset = std::min(mMinDisplayOffset, run.value);
        for (int64_t i = 0; i < run.count; ++i, ++sample) {
            mSamples.at(sample).displayOffset = run.value;
        }
        mDisplayOffsetBehindEnd = run.value;
    }
}

void NaiveTrack::ExpandEdits(const TrackRecipe& recipe, int64_t movieTimeScale) {
    const auto toTrackTime = [&](int64_t movieTime) {
        return recipe.mediaTimeScale * movieTime / movieTimeScale;
    };
    if (recipe.edits.empty()) {
        mTrackDuration = toTrackTime(recipe.headerDuration);
        mEdits = {{0, mTrackDuration, 0, 1.0}};
        return;
    }
    int64_t elapsed = 0;
    for (const EditEntry& entry : recipe.edits) {
        const int64_t start = toTrackTime(elapsed);
        elapsed += entry.duration;
        const Edit edit{start, toTrackTime(elapsed), entry.mediaTime, entry.rate / 65536.0};
        if (!mEdits.empty() && mEdits.back().start == start) {
            mEdits.back() = edit;
        } else {
            mEdits.push_back(edit);
        }
    }
    mTrackDuration = toTrackTime(elapsed);
}

uint64_t NaiveTrack::LargestSize() const {
    uint64_t largest = 0;
    for (const Sample& sample : mSamples) {
        largest = std::max(largest, sample.size);
    }
    return largest;
}

const NaiveTrack::Edit& NaiveTrack::EditAt(int64_t trackTime) const {
    const Edit* found = &mEdits.front();
    for (const Edit& edit : mEdits) {
        if (edit.start <= trackTime) {
            found = &edit;
        }
    }
    return *found;
}

int64_t NaiveTrack::TrackTimeToMediaTime(int64_t trackTime) const {
    const Edit& edit = EditAt(trackTime);
    const double into = static_cast<double>(trackTime - edit.start) * edit.rate;
    return static_cast<int64_t>(static_cast<double>(edit.mediaTime) + into);
}

int64_t NaiveTrack::RemainingInEdit(int64_t trackTime) const {
    return EditAt(trackTime).end - trackTime;
}

int64_t NaiveTrack::MediaTimeToMediaSample(int64_t mediaTime) const {
    if (mediaTime < 0) {
        return 0;
    }
    for (int64_t i = 0; i < SampleCount(); ++i) {
        const Sample& sample = mSamples[static_cast<size_t>(i)];
        if (mediaTime < sample.time + sample.duration) {
            return i;
        }
    }
    const int64_t end = mSamples.back().time + mSamples.back().duration;
    return SampleCount() + (mediaTime - end) / mDurationBehindEnd;
}

int64_t NaiveTrack::TrackSampleToMediaSample(int64_t trackSample) const {
    const int64_t mediaTime = TrackTimeToMediaTime(trackSample * mSampleDuration);
    return std::min(MediaTimeToMediaSample(mediaTime), SampleCount() - 1);
}

const NaiveTrack::Sample& NaiveTrack::SampleAt(int64_t trackSample) const {
    return mSamples.at(static_cast<size_t>(TrackSampleToMediaSample(trackSample)));
}

int64_t NaiveTrack::SamplesToBreak(int64_t mediaSample) const {
    int64_t next = mediaSample + 1;
    while (next < SampleCount() && !mSamples[static_cast<size_t>(next)].opensRun) {
        ++next;
    }
    return next - mediaSample;
}

int64_t NaiveTrack::ContiguousSamples(int64_t trackSample) const {
    const int64_t trackTime = trackSample * mSampleDuration;
    const int64_t first = TrackSampleToMediaSample(trackSample);
    const int64_t endTime = TrackTimeToMediaTime(trackTime) + RemainingInEdit(trackTime);
    return std::min(SamplesToBreak(first), MediaTimeToMediaSample(endTime) - first);
}

int64_t NaiveTrack::NextKeyFrame(int64_t mediaSample) const {
    for (const int64_t keyFrame : mKeyFrames) {
        if (keyFrame > mediaSample) {
            return keyFrame;
        }
    }
    return -1;
}

int64_t NaiveTrack::PrecedingKeyFrame(int64_t mediaSample) const {
    int64_t found = -1;
    for (const int64_t keyFrame : mKeyFrames) {
        if (keyFrame <= mediaSample) {
            found = keyFrame;
        }
    }
    return found;
}

int64_t NaiveTrack::DecodeToDisplay(int64_t decodeSample) const {
    const int64_t offset = decodeSample < SampleCount()
                               ? mSamples[static_cast<size_t>(decodeSample)].displayOffset
                               : mDisplayOffsetBehindEnd;
    return decodeSample + offset / mSampleDuration;
}

int64_t NaiveTrack::DisplayToDecode(int64_t displaySample) const {
    // Further away than the most negative offset nothing can come back.
    const int64_t last = displaySample - mMinDisplayOffset / mSampleDuration;
    for (int64_t decodeSample = 0; decodeSample <= last; ++decodeSample) {
        if (DecodeToDisplay(decodeSample) == displaySample) {
            return decodeSample;
        }
    }
    return -1;
}

}  // namespace kvx_test
