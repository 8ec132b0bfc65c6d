#pragma once

#include <vector>

#include "quicktime/run_map.h"

namespace KVX::QT {

struct Atom;

// One entry of an edit list: from its key on, a track time maps to mediaTime plus rate times the
// distance from the key. An empty edit, which has a media time of -1, is stored as it is.
struct MediaTimeRate {
    long long mediaTime;
    double rate;
};

// A run of samples of one duration; the key is the media time of its first sample.
struct SampleDuration {
    long long firstSample;
    long long duration;
};

// A run of samples of one size; the key is its first media sample. The file offset is that of the
// run's first sample.
struct SizeOffset {
    unsigned int size;
    long long offset;
};

template <>
struct PackedAs<HeldRecord<SizeOffset>> {
    static constexpr bool kIsPacked = true;
    static constexpr bool kHasSize = true;
    static long long Offset(const HeldRecord<SizeOffset>& run) { return run->offset; }
    static unsigned int Size(const HeldRecord<SizeOffset>& run) { return run->size; }
    static HeldRecord<SizeOffset> Of(long long offset, unsigned int size) {
        return SizeOffset{size, offset};
    }
};

// The tables of a track, as runs, that map its time to samples and its samples to file bytes.
//
// Positions are of three kinds. A track sample is a place on the edited timeline in units of
// mSampleDuration. Track time and media time are in units of the track's media time scale, before
// and after the edit list. A media sample is an index into the samples, from 0.
//
// Nothing changes once a track is made, so the look-ups take no lock.
class SampleTable {
  public:
    SampleTable() = default;
    SampleTable(const SampleTable&) = delete;
    SampleTable& operator=(const SampleTable&) = delete;

    // Fills all but the edit list from the "stbl" atom of an "mdia". A constant sample size that is
    // set already, as a description may tell it, wins over the table's. Returns 0, 2 or 22, and
    // leaves what was built until a failure.
    long SetSampleLayout(Atom* mdiaAtom);

    // Look-ups, safe on any thread. On a track without tables all offsets, sizes and counts are 0.
    // Places before the first sample get the first entry of the table they are
    // looked up in.

    // Bytes of the media sample under a track sample. A track sample beyond the end counts as the
    // last one, here and in GetSampleOffset and TrackSampleToMediaSample.
    unsigned int GetSampleSize(long long trackSample) const;
    long long TrackSampleToMediaSample(long long trackSample) const;

    // File offset of the media sample under a track sample.
    long long GetSampleOffset(long long trackSample) const;

    // File offset of a media sample. `contiguous`, which may be null, takes the number of samples
    // from there to the next break in the file.
    long long MediaSampleToFileOffset(long long mediaSample, long long* contiguous) const;

    // Samples from a track sample on that lie back to back in the file and in one edit. They may
    // differ in size. The end of the track is not told by this: there, it is 1.
    long long TrackSampleToContiguousSampleCount(long long trackSample) const;

    // `remaining`, which may be null, takes the track time that is left of the edit. A time beyond
    // the last edit extends it.
    long long TrackTimeToMediaTime(long long trackTime, long long* remaining) const;

    // A time inside a sample gives that sample. `clamp` ends the result at the last sample; without
    // it the last run extends without limit, as the exclusive end of a range needs.
    long long MediaTimeToMediaSample(long long mediaTime, bool clamp) const;

    // The first key frame after a media sample, and the last one not after it; -1 if there is
    // none, and when every sample is a key frame.
    long long GetNextKeyFrame(long long mediaSample) const;
    long long GetPrecedingKeyFrame(long long mediaSample) const;

    // Between decode order and display order. DisplaySampleToDecodeSample returns -1, after a log
    // line, if no sample is displayed there.
    long long DecodeSampleToDisplaySample(long long decodeSample) const;
    long long DisplaySampleToDecodeSample(long long displaySample) const;

    long long mSampleDuration = 0;      // the track's sample unit, in media time
    unsigned int mFixedSampleSize = 0;  // bytes of every sample, 0 if they differ
    long long mTrackDuration = 0;       // length of the edited timeline, in media time units
    long long mSampleCount = 0;         // media samples
    unsigned int mMaxSampleSize = 0;
    long long mMaxDisplayOffset = 0;  // never below 0
    long long mMinDisplayOffset = 0;  // never above 0

    RecordMap<MediaTimeRate> mEditRates;         // by track time, in media time units
    RecordMap<SampleDuration> mSampleDurations;  // by media time
    RunMap<long long> mChunkOffsets;     // by first media sample of chunks that lie back to back
    RecordMap<SizeOffset> mSizeOffsets;  // by first media sample
    RunMap<long long> mDisplayOffsets;   // by first decode sample, in media time units
    std::vector<long long> mKeyFrames;   // media samples; empty if all are key frames

  private:
    // Steps of SetSampleLayout. Optional atoms may be null.
    void ClearLayout();
    long SetFixedSize(const Atom* stszAtom);
    long SetDurations(const Atom* sttsAtom);
    long SetChunksOfEqualSamples(const Atom* stscAtom, const Atom* chunksAtom,
                                 const Atom* stszAtom);
    long SetChunksAndSizes(const Atom* stscAtom, const Atom* chunksAtom, const Atom* stszAtom);
    long SetDisplayOffsets(const Atom* cttsAtom);
    long SetKeyFrames(const Atom* stssAtom);
};

}  // namespace KVX::QT
