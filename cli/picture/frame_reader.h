#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/movie/module_log.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// Delivers a movie's frames one after the other, as an editing host gets them: asked for ahead, a
// bounded number at a time, and then found in the host's cache. Takes the module's log while it
// lives: a frame that could not be read reaches the cache all the same, and only the log tells.
class FrameReader {
  public:
    // More would only take memory: the module reads with eight threads.
    static constexpr size_t kFramesAhead = 8;

    // `clip` must outlive the reader. Delivers `frames`, no number twice, in the first of `formats`
    // that the module can give. `patience` is how long a frame may take.
    FrameReader(const kvx_hostkit::Clip& clip, std::vector<int64_t> frames,
                std::vector<PrPixelFormat> formats, std::chrono::milliseconds patience);
    ~FrameReader();

    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;

    // False if the module has no frames to give. Problem() tells why. Call it first.
    bool Start();

    // The next frame, valid until the next call; null at the end or after a failure,
    // which Problem() tells apart.
    PPixHand Next();

    // The number of the frame that Next answered last, and how many it has answered.
    int64_t FrameNumber() const { return mFrames[mNext - 1]; }
    size_t Delivered() const { return mNext; }

    // Empty as long as all went well.
    const std::string& Problem() const { return mProblem; }

  private:
    bool AskAhead();
    PPixHand Fetch(int64_t frame);
    std::string WhyLate(int64_t frame) const;
    void LetGo();

    const kvx_hostkit::Clip* mClip;
    std::vector<int64_t> mFrames;
    std::vector<PrPixelFormat> mFormats;
    std::chrono::milliseconds mPatience;
    ModuleLog mLog;
    std::unique_ptr<kvx_hostkit::PixelBuffers> mBuffers;
    std::unique_ptr<kvx_hostkit::FrameCache> mCache;
    std::unique_ptr<kvx_hostkit::FrameSource> mSource;
    int64_t mTicksPerFrame = 0;
    size_t mAsked = 0;  // how many of mFrames were asked for
    size_t mNext = 0;   // and how many delivered
    PPixHand mFrame = nullptr;
    std::string mProblem;
};

}  // namespace kvx_cli
