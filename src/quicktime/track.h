#pragma once

#include <string>
#include <vector>

#include "quicktime/run_map.h"

namespace KVX::QT {

struct Atom;

// One entry of an edit list: from its key on, a track time maps to mediaTime plus rate times the
// distance from the key. An empty edit, which has a media time of -1, is stored as it stands.
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

// What all tracks share: time scales, the run-length tables that map time to samples and samples to
// file bytes, and a descriptor of the file that holds the media.
//
// Positions are of three kinds. A track sample is a place on the edited timeline in units of
// mSampleDuration. Track time and media time are in units of mMediaTimeScale, before and after the
// edit list. A media sample is an index into the samples, from 0.
//
// After Init only the descriptor and the file size change, with OpenFile and CloseFile. So the
// look-ups take no lock, and reads with pread may share the descriptor.
class Track {
  public:
    Track() = default;
    virtual ~Track();

    // Reads the headers, the edit list, the data reference and the sample tables, and opens the
    // media's file. `path` is the movie's. Subclasses read their sample description first and end
    // with this. Answers 0; 2 for a missing header; 22 for a missing or unusable table, a field
    // outside its atom or a time scale of 0; or the status of a step. Each leaves log lines.
    virtual long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    // Gives the component subtype of the media handler in native order, as 'vide'. Answers 0, or 22
    // after a log line.
    static long GetMediaType(Atom* trakAtom, int& mediaType);

    // Fills mEditRates and mTrackDuration; both time scales must be set. A track without an edit
    // list gets one edit that maps time to itself. Answers 0, 2 or 22.
    long SetEditList(Atom* trakAtom);

    // Settles mFilePath from the data references. Answers 0, 2, 12, 22, or what the platform said
    // about an alias.
    long SetFilePath(const std::string& path, Atom* mdiaAtom);

    // Fills the tables from the "stbl" atom. A constant sample size that a subclass has set wins
    // over the file's. Answers 0, 2 or 22, and leaves what was built until a failure.
    long SetSampleLayout(Atom* mdiaAtom);

    // Opens mFilePath, unless it is open, with the system's caching off. Answers 0, 22 if it does
    // not open or is not a regular file, or the result of the call that failed.
    long OpenFile();
    void CloseFile();

    // Look-ups, safe on any thread. On a track without tables all offsets, sizes and counts are 0.
    // Places in front of the first sample are answered with the first entry of the table they are
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

    // The first key frame behind a media sample, and the last one not behind it; -1 if there is
    // none, and when every sample is a key frame.
    long long GetNextKeyFrame(long long mediaSample) const;
    long long GetPrecedingKeyFrame(long long mediaSample) const;

    // Between decode order and display order. DisplaySampleToDecodeSample answers -1, after a log
    // line, if no sample is displayed there.
    long long DecodeSampleToDisplaySample(long long decodeSample) const;
    long long DisplaySampleToDecodeSample(long long displaySample) const;

    long long mFormat = 0;              // first sample description's code; 0 on a timecode track
    long long mMediaTimeScale = 0;      // units a second
    long long mSampleDuration = 0;      // the track's sample unit, in media time
    unsigned int mFixedSampleSize = 0;  // bytes of every sample, 0 if they differ
    std::string mFilePath;
    int mFileDescriptor = -1;  // -2 once closed
    long long mFileSize = 0;   // bytes, when it was opened
    unsigned int mMovieDuration = 0;
    long long mMovieTimeScale = 0;
    long long mTrackDuration = 0;  // length of the edited timeline, in media time units
    unsigned int mMediaDuration = 0;
    long long mSampleCount = 0;  // media samples
    unsigned int mMaxSampleSize = 0;
    long long mMaxDisplayOffset = 0;  // never below 0
    long long mMinDisplayOffset = 0;  // never above 0

    RecordMap<MediaTimeRate> mEditRates;         // by track time, in media time units
    RecordMap<SampleDuration> mSampleDurations;  // by media time
    RunMap<long long> mChunkOffsets;     // by first media sample of chunks that lie back to back
    RecordMap<SizeOffset> mSizeOffsets;  // by first media sample
    RunMap<long long> mDisplayOffsets;   // by first decode sample, in media time units
    std::vector<long long> mKeyFrames;   // media samples; empty if all are key frames
};

}  // namespace KVX::QT
