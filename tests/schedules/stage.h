// What the scenarios play on: movies, a host, and what must hold when the host has left.
#pragma once

#include <pthread.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "support/temp_directory.h"

namespace kvx_schedules {

// Movies on disk, made once for all runs.
class Movies {
  public:
    static constexpr int kFrames = 4;

    Movies();

  private:
    kvx_test::TempDirectory mDirectory;

  public:
    // "2vuy" of one page a frame, which lies on a page of the file.
    std::string inPlace;
    // The same layout beside the pages.
    std::string copied;
    // 3 MiB a frame, so that several threads read one.
    std::string large;
    // Of a size that memory is kept for, beside the pages.
    std::string kept;
};

// A thread of the host. Ends before its object does.
class HostThread {
  public:
    explicit HostThread(std::function<void()> body);
    ~HostThread() { Join(); }

    HostThread(const HostThread&) = delete;
    HostThread& operator=(const HostThread&) = delete;

    void Join();

  private:
    static void* Run(void* thread);

    std::function<void()> mBody;
    pthread_t mThread{};
    bool mRuns = true;
};

// The host with one clip or several. Frames are known by their numbers.
class Stage {
  public:
    // Of a host whose cache holds so many frames.
    explicit Stage(size_t cached = kvx_hostkit::FrameCache::kUnbounded);
    ~Stage();

    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // A clip with its asynchronous importer, both open. They are closed by Leave.
    struct Show {
        explicit Show(const kvx_hostkit::Importer& importer, const std::string& movie)
            : path(movie), clip(importer, movie), source(clip) {}
        std::string path;
        kvx_hostkit::Clip clip;
        kvx_hostkit::FrameSource source;
        int64_t ticks = 0;
    };
    Show& Open(const std::string& movie);

    // Brings frame 0, so that the threads of the pools wait for work: where it is not their start
    // that differs from run to run.
    void StartPools(Show& show);

    // Ends the run unless `holds`.
    static void Require(bool holds, const std::string& what);

    // Asks for a frame. Answers the importer's status.
    static long Ask(Show& show, int frame, PrPixelFormat format);

    // Waits until no thread of the importer can go on. From then on the frame must have been added
    // to the cache `times` times, whole if `isWhole`: as it is in the file, or converted.
    void RequireFrame(Show& show, int frame, int times = 1, bool isWhole = true);

    // For importers opened from now on: WaitForCall returns when one of them is in the middle of a
    // call, which has just asked for a frame in the cache.
    void SignalCalls();
    void WaitForCall();

    // Closes what is open, waits, empties the cache: nothing may be left.
    void Leave();

    // No frame, request, ticket or pixel buffer is left, whatever else is.
    void RequireNothingLeft();

    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers;
    kvx_hostkit::FrameCache cache;
    kvx_hostkit::Importer importer;
    std::vector<std::unique_ptr<Show>> shows;

  private:
    static int32_t SignalAndGetFrame(uint32_t importerID, int32_t stream, int32_t frameIndex,
                                     int32_t formatCount, imFrameFormat* formats, PPixHand* ppix,
                                     void* preferences, int32_t preferencesSize);

    // How the host counts the calls of its suites makes no difference as long as it stays: a
    // scenario in which it goes says so to the scheduler.
    static void HostStays();

    // The suites' functions have no argument that would tell whose they are.
    static Stage* sStage;

    const PrSDKPPixCacheSuite* mCacheSuite = nullptr;
    PrSDKPPixCacheSuite mSignallingSuite{};
    std::mutex mLock;
    std::condition_variable mCalled;
    bool mIsCalled = false;
};

}  // namespace kvx_schedules
