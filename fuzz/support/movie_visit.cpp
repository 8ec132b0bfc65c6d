#include "fuzz/support/movie_visit.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "fuzz/support/require.h"
#include "quicktime/audio_track.h"
#include "quicktime/timecode_track.h"
#include "quicktime/video_track.h"
#include "timecode/ctimecode.h"
#include "util/printer.h"

namespace kvx_fuzz {

namespace {

using namespace KVX;

// Keeps the optimiser from leaving out a look-up.
volatile long long gSink;

// Reads a whole block that a track lends.
void Touch(const void* block, size_t size) {
    const auto* bytes = static_cast<const volatile unsigned char*>(block);
    long long sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum += bytes[i];
    }
    gSink = sum;
}

void VisitPlace(const QT::Track& track, long long place) {
    long long sum = track.GetSampleSize(place);
    sum ^= track.TrackSampleToMediaSample(place);
    sum ^= track.GetSampleOffset(place);
    sum ^= track.TrackSampleToContiguousSampleCount(place);
    long long contiguous = 0;
    sum ^= track.MediaSampleToFileOffset(place, nullptr);
    Require(track.MediaSampleToFileOffset(place, &contiguous) ==
            track.MediaSampleToFileOffset(place, nullptr));
    long long remaining = 0;
    Require(track.TrackTimeToMediaTime(place, &remaining) ==
            track.TrackTimeToMediaTime(place, nullptr));
    // The clamped sample is one that reads are made of.
    Require(track.MediaTimeToMediaSample(place, true) < std::max(track.mSampleCount, 1LL));
    sum ^= track.MediaTimeToMediaSample(place, false);
    sum ^= track.GetPrecedingKeyFrame(place);
    sum ^= track.GetNextKeyFrame(place);
    sum ^= track.DecodeSampleToDisplaySample(place);
    sum ^= track.DisplaySampleToDecodeSample(place);
    gSink = sum ^ contiguous ^ remaining;
}

void VisitTrack(const QT::Track& track) {
    using Limits = std::numeric_limits<long long>;
    const long long last = track.mSampleCount - 1;
    for (const long long place : {-1LL, 0LL, 1LL, last / 2, last, last + 1, 1LL << 31,
                                  Limits::max(), Limits::min(), track.mTrackDuration}) {
        VisitPlace(track, place);
    }
    gSink = static_cast<unsigned char>(Util::Printer::Fcc(static_cast<int>(track.mFormat))[0]);
}

}  // namespace

void VisitMovie(const QT::Movie& movie) {
    for (QT::VideoTrack* track : movie.mVideoTracks) {
        VisitTrack(*track);
        Touch(track->mImageDescription, static_cast<size_t>(track->mImageDescriptionSize));
        char* data = nullptr;
        long size = 0;
        if (track->GetAvccData(&data, &size)) {
            Touch(data, static_cast<size_t>(size));
        }
    }
    for (QT::AudioTrack* track : movie.mAudioTracks) {
        VisitTrack(*track);
        char* data = nullptr;
        long size = 0;
        if (track->GetEsdsData(&data, &size)) {
            Touch(data, static_cast<size_t>(size));
        }
    }
    for (QT::TimeCodeTrack* track : movie.mTimeCodeTracks) {
        VisitTrack(*track);
        Util::CTimeCode timeCode(Util::tcfNone);
        if (track->GetFirstTimeCode(timeCode)) {
            Require(timeCode.ToString(false).size() == std::strlen("00:00:00:00"));
        }
    }
}

}  // namespace kvx_fuzz
