// How fast frames reach the host's cache, beside plain threads that read the same bytes in the same
// run: the file lies in the system's cache, so that what is measured is the pipeline. `share` is
// the plain threads' time over the pipeline's, the median of all turns; 1 is as fast. Beside it,
// what the system counts for both, a frame: `switches` of threads and `faults` of memory.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/entry.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "support/movie_file.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Host;
using kvx_hostkit::Importer;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferSettings;
using Clock = std::chrono::steady_clock;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr size_t kRowBytes = 5120;
constexpr size_t kFrameSize = kRowBytes * kHeight;  // whole pages
constexpr int kFrames = 96;
constexpr int kPlainThreads = 8;
constexpr size_t kSlice = 0x100000;
constexpr std::chrono::seconds kPatience(60);

// One movie for all measurements, read once so that the system has it in its cache.
const std::string& MoviePath() {
    static const kvx_test::TempDirectory directory;
    static const std::string path = [] {
        kvx_test::MovieRecipe recipe;
        recipe.tracks.push_back(
            kvx_test::VideoTrackRecipe({"v210", kWidth, kHeight, 24}, kFrameSize, kFrames, 25, 1));
        const std::vector<kvx_test::FilePiece> media = {
            {kvx_test::kMediaOffset, kvx_test::Bytes(kFrameSize * kFrames, 'v')}};
        std::string file = directory.File("movie.mov");
        kvx_test::WriteMovieFile(file, kvx_test::BuildMoov(recipe), media);
        return file;
    }();
    return path;
}

struct Freer {
    void operator()(char* memory) const { std::free(memory); }
};
using PageMemory = std::unique_ptr<char, Freer>;

PageMemory AllocatePages(size_t size) {
    PageMemory memory(static_cast<char*>(std::aligned_alloc(4096, size)));
    std::memset(memory.get(), 1, size);
    return memory;
}

// The same work by eight threads and nothing else: no request, no queue, no host. A thread takes
// the next slice of the file in order, reads it with one `pread`, and on the copy road the thread
// that reads the last slice of a frame copies the frame, whole. At most `depth` frames are in
// flight, as in the pipeline: each has memory of its own to read into, and to copy into, that no
// other frame uses until it is done. The memory is there from the start and every page of it has
// been touched.
class PlainReader {
  public:
    PlainReader(const std::string& path, int depth, bool copies)
        : mFile(open(path.c_str(), O_RDONLY)), mDepth(depth), mCopies(copies) {
        for (int frame = 0; frame < depth; ++frame) {
            mFrames.push_back(AllocatePages(kFrameSize));
            mCopied.push_back(copies ? AllocatePages(kFrameSize) : nullptr);
        }
    }
    ~PlainReader() { close(mFile); }

    PlainReader(const PlainReader&) = delete;
    PlainReader& operator=(const PlainReader&) = delete;

    double Seconds() {
        mNextSlice = 0;
        mSlicesLeft.fill(kSlicesInFrame);
        const auto start = Clock::now();
        std::vector<std::thread> threads;
        threads.reserve(kPlainThreads);
        for (int thread = 0; thread < kPlainThreads; ++thread) {
            threads.emplace_back([this] { Work(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

  private:
    static constexpr int kSlicesInFrame = (kFrameSize + kSlice - 1) / kSlice;

    void Work() {
        std::unique_lock<std::mutex> lock(mLock);
        while (mNextSlice < kFrames * kSlicesInFrame) {
            const int slice = mNextSlice++;
            const int frame = slice / kSlicesInFrame;
            const int before = frame - mDepth;
            mFrameDone.wait(lock, [&] { return before < 0 || SlicesLeft(before) == kDone; });
            lock.unlock();
            Read(frame, slice % kSlicesInFrame);
            lock.lock();
            if (--SlicesLeft(frame) > 0) {
                continue;
            }
            if (mCopies) {
                lock.unlock();
                std::memcpy(Place(mCopied, frame), Place(mFrames, frame), kFrameSize);
                lock.lock();
            }
            SlicesLeft(frame) = kDone;
            mFrameDone.notify_all();
        }
    }

    void Read(int frame, int slice) {
        const size_t offset = static_cast<size_t>(slice) * kSlice;
        const size_t size = std::min(kSlice, kFrameSize - offset);
        const size_t fileOffset =
            kvx_test::kMediaOffset + static_cast<size_t>(frame) * kFrameSize + offset;
        if (pread(mFile, Place(mFrames, frame) + offset, size, static_cast<off_t>(fileOffset)) !=
            static_cast<ssize_t>(size)) {
            std::abort();
        }
    }

    int& SlicesLeft(int frame) { return mSlicesLeft[static_cast<size_t>(frame)]; }

    char* Place(const std::vector<PageMemory>& frames, int frame) const {
        return frames[static_cast<size_t>(frame % mDepth)].get();
    }

    static constexpr int kDone = -1;

    int mFile;
    int mDepth;
    bool mCopies;
    std::vector<PageMemory> mFrames;
    std::vector<PageMemory> mCopied;
    std::mutex mLock;  // of all that follows
    std::condition_variable mFrameDone;
    int mNextSlice = 0;
    std::array<int, kFrames> mSlicesLeft{};  // to read, or kDone
};

enum class Road { kDirect, kCopy, kCustom };

// A host that plays the movie from start to end with `depth` frames asked for ahead.
class Player {
  public:
    Player(Road road, int depth)
        : mDepth(depth),
          mFormats(
              {road == Road::kCustom ? kKVXCustomPixelFormat : PrPixelFormat_V210_422_10u_709}),
          mBuffers(mHost, SettingsOf(road)),
          mCache(mHost),
          mImporter(mHost, {&xImportEntry, &AsyncImportEntry}),
          mClip(mImporter, MoviePath()),
          mSource(mClip) {
        if (mClip.Open() != imNoErr || mSource.Open() != imNoErr) {
            std::abort();
        }
        mTicks = FrameSource::TicksPerFrame(mClip);
    }

    double Seconds() {
        mCache.Forget();
        const auto start = Clock::now();
        for (int frame = 0; frame < kFrames + mDepth; ++frame) {
            if (frame < kFrames && mSource.Request(frame * mTicks, mFormats) != aiNoError) {
                std::abort();
            }
            const int shown = frame - mDepth + 1;
            if (shown >= 0 && shown < kFrames) {
                if (!mCache.WaitForFrame(mClip.ImporterID(), shown, kPatience)) {
                    std::abort();
                }
                PixelBuffers::Dispose(mCache.Take(mClip.ImporterID(), shown));
            }
        }
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

  private:
    static PixelBufferSettings SettingsOf(Road road) {
        PixelBufferSettings settings;
        settings.misalignment = road == Road::kCopy ? 64 : 0;
        settings.fills = false;
        settings.recycles = true;
        return settings;
    }

    int mDepth;
    std::vector<PrPixelFormat> mFormats;
    Host mHost;
    PixelBuffers mBuffers;
    FrameCache mCache;
    Importer mImporter;
    Clip mClip;
    FrameSource mSource;
    int64_t mTicks = 0;
};

// What the system has counted for this process.
struct Counted {
    double switches = 0;
    double faults = 0;

    static Counted Now() {
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        return {static_cast<double>(usage.ru_nvcsw + usage.ru_nivcsw),
                static_cast<double>(usage.ru_minflt)};
    }
    void AddSince(const Counted& before) {
        const Counted now = Now();
        switches += now.switches - before.switches;
        faults += now.faults - before.faults;
    }
};

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

void BM_Frames(benchmark::State& state, Road road) {
    const int depth = static_cast<int>(state.range(0));
    PlainReader plain(MoviePath(), depth, road == Road::kCopy);
    Player player(road, depth);
    plain.Seconds();
    player.Seconds();
    std::vector<double> shares;
    Counted here;
    Counted there;
    for (auto _ : state) {
        const Counted beforePlain = Counted::Now();
        const double plainSeconds = plain.Seconds();
        there.AddSince(beforePlain);
        const Counted before = Counted::Now();
        const double seconds = player.Seconds();
        here.AddSince(before);
        shares.push_back(plainSeconds / seconds);
        state.SetIterationTime(seconds);
    }
    state.counters["share"] = Median(shares);
    const double frames = static_cast<double>(kFrames) * static_cast<double>(state.iterations());
    state.counters["switches"] = here.switches / frames;
    state.counters["faults"] = here.faults / frames;
    state.counters["plain_switches"] = there.switches / frames;
    state.counters["plain_faults"] = there.faults / frames;
    state.counters["frames/s"] = benchmark::Counter(frames, benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(BM_Frames, direct, Road::kDirect)
    ->ArgName("ahead")
    ->Arg(1)
    ->Arg(8)
    ->Arg(32)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Frames, copy, Road::kCopy)
    ->ArgName("ahead")
    ->Arg(1)
    ->Arg(8)
    ->Arg(32)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Frames, custom, Road::kCustom)
    ->ArgName("ahead")
    ->Arg(1)
    ->Arg(8)
    ->Arg(32)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace
