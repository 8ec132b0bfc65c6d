#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/movie/time_limit.h"
#include "cli/output/exit_code.h"
#include "hostkit/clip.h"

namespace kvx_cli {

// Reads one sound stream from its start, block by block, as the host's planes of floats.
class SoundReader {
  public:
    // `clip` and `limit` must outlive the reader. `streamID` and `info` belong to a stream with
    // sound.
    SoundReader(const kvx_hostkit::Clip& clip, int32_t streamID, const imFileInfoRec8& info,
                TimeLimit& limit);

    // Whether the importer can deliver this sound at all. GetProblem() says why not. Call it
    // first.
    bool Start();

    // The frames that will be delivered. A stream's stated length is rounded to the movie's time
    // scale and may pass the last sample.
    int64_t FindLength();

    // The next block: the number of frames in Planes(), 0 at the end or after a failure, which
    // GetProblem() distinguishes.
    size_t ReadBlock();

    // Up to `frames` frames, at most kBlockFrames, from any position: the number of those in
    // Planes(). Moves nothing of what ReadBlock is at.
    size_t ReadAt(int64_t position, size_t frames);

    // As the stream states it.
    int64_t StatedLength() const { return mLength; }

    const float* const* Planes() const { return mBuffer->planes.data(); }

    const Problem& GetProblem() const { return mProblem; }

    // After a call that did not end in time the module is still at work on the clip, so that
    // nothing may be closed: the program is to end at once.
    bool HasTimedOut() const { return mHasTimedOut; }

    static constexpr size_t kBlockFrames = 1 << 16;

  private:
    // Outlives the reader when a call is abandoned.
    struct Buffer {
        std::vector<float> samples;
        std::vector<float*> planes;
    };

    bool Call(int64_t position, size_t frames);
    size_t Deliver(int64_t position, size_t frames);

    const kvx_hostkit::Clip* mClip;
    int32_t mStreamID;
    TimeLimit* mLimit;
    size_t mChannels;
    int64_t mLength;
    int64_t mPosition = 0;
    bool mAtEnd = false;
    bool mHasTimedOut = false;
    std::shared_ptr<Buffer> mBuffer;
    Problem mProblem;
};

}  // namespace kvx_cli
