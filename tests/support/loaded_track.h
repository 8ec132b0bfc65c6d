#pragma once

#include "quicktime/track.h"
#include "support/movie_builder.h"

namespace kvx_test {

// A bare track, without the sample description that the classes above it read, initialised from the
// first "trak" of a movie. The "moov" bytes lie in a block of exactly their length while it lasts,
// so that an address sanitizer sees every read outside.
class LoadedTrack {
  public:
    // Takes over what a sample description would have settled: the recipe's `frameSize`.
    explicit LoadedTrack(const MovieRecipe& recipe);

    // What Track::Init returned.
    long Status() const { return mStatus; }

    KVX::QT::Track& operator*() { return mTrack; }
    KVX::QT::Track* operator->() { return &mTrack; }

  private:
    KVX::QT::Track mTrack;
    long mStatus;
};

}  // namespace kvx_test
