#pragma once

#include <map>
#include <string>
#include <vector>

namespace KVX::QT {

struct Atom;

// One entry of an edit list: from its key on, a track time maps to mediaTime plus rate times the
// distance from the key.
struct MediaTimeRate {
    long long mediaTime;
    double rate;
};

// A run of samples of one duration; the key is the media time of its first sample.
struct SampleDuration {
    long long firstSample;
    long long duration;
};

// A run of samples of one size; the key is its first media sample.
struct SizeOffset {
    unsigned int size;
    long long offset;
};

// What all tracks share: time scales, the run-length tables that map time to samples and samples to
// file bytes, and a descriptor of the file that holds the media.
class Track {
  public:
    Track() = default;
    virtual ~Track();
    virtual long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    static long GetMediaType(Atom* trakAtom, int& mediaType);

    long SetEditList(Atom* trakAtom);
    long SetFilePath(const std::string& path, Atom* mdiaAtom);
    long SetSampleLayout(Atom* mdiaAtom);
    long OpenFile();
    void CloseFile();

    unsigned int GetSampleSize(long long trackSample);
    long long TrackSampleToMediaSample(long long trackSample);
    long long GetSampleOffset(long long trackSample);
    long long MediaSampleToFileOffset(long long mediaSample, long long* contiguous);
    long long TrackSampleToContiguousSampleCount(long long trackSample);
    long long TrackTimeToMediaTime(long long trackTime, long long* remaining);
    long long MediaTimeToMediaSample(long long mediaTime, bool clamp);
    long long GetNextKeyFrame(long long mediaSample);
    long long GetPrecedingKeyFrame(long long mediaSample);
    long long DecodeSampleToDisplaySample(long long decodeSample);
    long long DisplaySampleToDecodeSample(long long displaySample);

    long long mFormat = 0;
    long long mMediaTimeScale = 0;
    long long mSampleDuration = 0;
    unsigned int mFixedSampleSize = 0;
    std::string mFilePath;
    int mFileDescriptor = -1;
    long long mFileSize = 0;
    unsigned int mMovieDuration = 0;
    long long mMovieTimeScale = 0;
    long long mTrackDuration = 0;
    unsigned int mMediaDuration = 0;
    long long mSampleCount = 0;
    unsigned int mMaxSampleSize = 0;
    long long mMaxDisplayOffset = 0;
    long long mMinDisplayOffset = 0;
    std::map<long long, MediaTimeRate*> mEditRates;
    std::map<long long, SampleDuration*> mSampleDurations;
    std::map<long long, long long> mChunkOffsets;
    std::map<long long, SizeOffset*> mSizeOffsets;
    std::map<long long, long long> mDisplayOffsets;
    std::vector<long long> mKeyFrames;
};

}  // namespace KVX::QT
