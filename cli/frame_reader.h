#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "cli/frame_range.h"
#include "cli/module_log.h"
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
    static constexpr int64_t kFramesAhead = 8;

    // `clip` must outlive the reader. Frames come in `format`. `patience` is how long a frame may
    // take.
    FrameReader(const kvx_hostkit::Clip& clip, FrameRange range, PrPixelFormat format,
                std::chrono::milliseconds patience);
    ~FrameReader();

    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;

    // False if the module has no frames to give. Problem() tells why. Call it first.
    bool Start();

    // The next frame of the range, valid until the next call; null at the end or after a failure,
    // which Problem() tells apart.
    PPixHand Next();

    // The number of the frame that Next answered last.
    int64_t FrameNumber() const { return mNext - 1; }

    // Empty as long as all went well.
    const std::string& Problem() const { return mProblem; }

  private:
    bool AskAhead();
    PPixHand Fetch(int64_t frame);
    std::string WhyLate(int64_t frame) const;
    void LetGo();

    const kvx_hostkit::Clip* mClip;
    FrameRange mRange;
    PrPixelFormat mFormat;
    std::chrono::milliseconds mPatience;
    ModuleLog mLog;
    std::unique_ptr<kvx_hostkit::PixelBuffers> mBuffers;
    std::unique_ptr<kvx_hostkit::FrameCache> mCache;
    std::unique_ptr<kvx_hostkit::FrameSource> mSource;
    int64_t mTicksPerFrame = 0;
    int64_t mAsked;  // the next frame to ask for
    int64_t mNext;   // the next frame to deliver
    PPixHand mFrame = nullptr;
    std::string mProblem;
};

}  // namespace kvx_cli
