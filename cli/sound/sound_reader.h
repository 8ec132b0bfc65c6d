#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hostkit/clip.h"

namespace kvx_cli {

// Reads one sound stream from its start, block by block, as the host's planes of floats.
class SoundReader {
  public:
    // `clip` must outlive the reader. `streamID` and `info` belong to a stream with sound.
    SoundReader(const kvx_hostkit::Clip& clip, int32_t streamID, const imFileInfoRec8& info);

    // Whether the importer can deliver this sound at all. Problem() tells why not. Call it first.
    bool Start();

    // The next block: the number of frames in Planes(), 0 at the end or after a failure, which
    // Problem() tells apart.
    size_t ReadBlock();

    const float* const* Planes() const { return mPlanePointers.data(); }

    // Empty as long as all went well.
    const std::string& Problem() const { return mProblem; }

    static constexpr size_t kBlockFrames = 1 << 16;

  private:
    bool Call(int64_t position, size_t frames);
    size_t DeliveredFrames(size_t frames) const;

    const kvx_hostkit::Clip* mClip;
    int32_t mStreamID;
    size_t mChannels;
    int64_t mLength;
    int64_t mPosition = 0;
    bool mAtEnd = false;
    std::vector<float> mSamples;
    std::vector<float*> mPlanePointers;
    std::string mProblem;
};

}  // namespace kvx_cli
