// One moment: a movie is opened, frames and sound are asked for, and the file changes meanwhile.
#pragma once

#include <cstdint>
#include <shared_mutex>
#include <string>
#include <vector>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "stress/file_changes/changing_file.h"
#include "stress/file_changes/movie_image.h"
#include "stress/file_changes/watched_reads.h"
#include "support/random.h"

namespace kvx_stress {

// Where all moments are played.
struct Stage {
    const kvx_hostkit::Importer& importer;
    kvx_hostkit::FrameCache& cache;
    kvx_hostkit::PixelBuffers& buffers;
    const std::string path;
};

// A frame that the host asked for.
struct Asked {
    int frame = 0;
    PrPixelFormat format = PrPixelFormat_Invalid;
    long answer = 0;
    int64_t knownLength = 0;
    uint64_t begin = 0;  // by the file's clock
    std::vector<Slice> slices;
};

// A stretch of sound likewise.
struct Heard {
    long answer = 0;
    uint64_t begin = 0;
    uint64_t end = 0;
    WatchedReads reads;
    std::vector<float> planes[2];
};

enum class Fate { kOnItsWay, kDelivered, kFailed, kNever };

// What was played, for the reckoning.
struct Played {
    Played(const Stage& stage, const Movie& playedMovie);

    // Whether the importer has taken the frame on. Of one that is linked into the program, its
    // request tells; of another, its answer, as then each frame is asked for once.
    bool IsTakenOn(size_t index) const;

    // What must become of a frame, by what its reads were answered.
    Fate Foresee(size_t index) const;

    // What the file was while a frame was on its way.
    ChangingFile::Span SpanOf(size_t index) const;

    const Movie& movie;
    ChangingFile file;
    kvx_hostkit::Clip clip;
    const void* track = nullptr;  // as the log names it; null if the importer is loaded
    std::vector<Asked> asked;
    std::vector<WatchedFrame> frames;  // of `asked`
    Heard heard[3];
    int failedReopens = 0;
    bool isClosedInFlight = false;
};

class Moment {
  public:
    Moment(const Stage& stage, const Movie& movie, uint64_t seed);

    // Plays it until the pipeline has done with every frame and the movie is closed.
    void Play();

    Played& WhatWasPlayed() { return mPlayed; }

  private:
    void PlayWatched();
    void Ask(int thread, uint64_t seed);
    bool IsSettled(size_t index) const;
    void Listen(uint64_t seed);
    void ChangeTheFile();
    void LetReadsEnd();
    // Waits for it.
    void Settle(size_t index) const;
    void CloseFile();
    uint64_t Seed() { return static_cast<uint64_t>(mRandom.Pick(0, INT64_MAX)); }

    const Stage& mStage;
    kvx_test::Random mRandom;
    Played mPlayed;
    std::vector<int> mDeck;  // all frames, in some order
    kvx_hostkit::FrameSource mSource;
    int64_t mTicks = 0;
    std::shared_mutex mSleep;  // whole while the file is put to sleep and woken up
};

}  // namespace kvx_stress
