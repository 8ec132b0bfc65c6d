#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/movie/module_log.h"
#include "cli/movie/refusal.h"
#include "cli/output/exit_code.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"

namespace kvx_cli {

// Delivers a movie's frames one after the other, as an editing host gets them: asked for ahead, a
// bounded number at a time, and then found in the host's cache. Takes the module's log while it
// lives: a frame that could not be read reaches the cache all the same, and only the log says so,
// without its number. Where the log reports a failure, frames are requested again, one at a time.
class FrameReader {
  public:
    // At most; fewer where frames are large. More would only take memory: the module reads with
    // eight threads.
    static constexpr size_t kFramesAhead = 8;

    struct Frame {
        int64_t number = 0;
        PPixHand ppix = nullptr;  // valid until the next call; null: it is not available
        std::string failure;      // then in words why not
    };

    // `clip` must outlive the reader. Delivers `frames`, no number twice, in the first of `formats`
    // that the module can give. `timeout` is how long a frame may take.
    FrameReader(const kvx_hostkit::Clip& clip, std::vector<int64_t> frames,
                std::vector<PrPixelFormat> formats, std::chrono::milliseconds timeout);
    ~FrameReader();

    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;

    // Says beforehand that the file ends before some of its frames: one that does not arrive is
    // then taken for such a frame.
    void ExpectMissingFrames() { mIsShort = true; }

    // Call it first.
    Problem Start();

    // The next frame, whether it is available or not. False at the end, and when nothing more is to
    // be expected, which GetProblem() distinguishes.
    bool Next(Frame& frame);

    // How many frames Next has returned.
    size_t Delivered() const { return mNext; }

    const Problem& GetProblem() const { return mProblem; }

  private:
    struct HostSide;

    using Clock = std::chrono::steady_clock;
    enum class Arrival { kArrived, kMissing, kTooLate };

    void RequestAhead();
    Arrival WaitFor(size_t index);
    void ReadLog();
    bool TakeFrame(int64_t number, Frame& frame);
    void RequestAgainOneByOne();
    void DisposeOfCached(int64_t number);
    void ReleaseFrame();

    struct Request {
        Clock::time_point time;
        int additions = 0;    // to the cache, of this frame, when it will be there
        std::string refusal;  // the module takes no such request
    };

    const kvx_hostkit::Clip* mClip;
    std::vector<int64_t> mFrames;
    std::vector<PrPixelFormat> mFormats;
    std::chrono::milliseconds mTimeout;
    ModuleLog mLog;
    std::unique_ptr<HostSide> mHostSide;
    kvx_hostkit::FrameCache* mCache;
    int mAdditionsBefore;  // to the cache, by earlier readers
    std::unique_ptr<kvx_hostkit::FrameSource> mSource;
    int64_t mTicksPerFrame = 0;
    std::vector<Request> mRequests;  // of the first of mFrames, in their order
    size_t mAhead = 1;               // how many are asked for
    size_t mNext = 0;                // of mFrames, how many were delivered
    size_t mCarefulEnd = 0;          // up to this one of mFrames, one at a time
    int mOutstanding = 0;            // additions to the cache that are still to come
    FailedFrame mFailure;            // what was logged since a frame was last taken
    bool mHasHitEnd = false;         // of the file, since the last request
    bool mIsShort = false;           // the log has reported the file's end, or the caller has
    bool mHasFailedOnce = false;     // the frame that is next, asked for alone
    PPixHand mFrame = nullptr;
    Problem mProblem;
};

}  // namespace kvx_cli
