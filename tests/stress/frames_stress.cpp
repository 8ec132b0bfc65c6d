// Plays a nervous host: several threads that ask for frames of several movies in every format, ask
// again, find them in a small cache, put files to sleep or close them with frames in flight, and
// between frames ask for anything else that a movie can tell.
// Every frame that was started must reach the cache once, with the file's own bytes or with what
// the plain models of the conversions make of them, and at the end no pixel buffer may be left.
//
//     kvx_frames_stress [FRAMES [SECONDS]]      50000 frames, without a limit of time, by default
//
// Meant for the thread sanitizer and the address sanitizer.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "convert/geometry/roads.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "pipeline/import_frame.h"
#include "support/entries_under_test.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/random.h"
#include "support/sample_descriptions.h"
#include "support/sanitizers.h"
#include "support/temp_directory.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Host;
using kvx_hostkit::Importer;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::Random;
using kvx_test::geometry::Road;

using Clock = std::chrono::steady_clock;

constexpr int kHostThreads = 4;
constexpr int kMoviesOfAPicture = 2;
constexpr int kFramesInMovie = 200;
constexpr int64_t kSoundFrames = 48000;
constexpr int kPrefetch = 12;
constexpr size_t kCachedFrames = 64;
constexpr std::chrono::seconds kPatience(60);

struct Picture {
    const char* format;
    int width;
    int height;
    int rowBytes;
    std::vector<PrPixelFormat> destinations;  // each a choice of its own
};

const std::vector<Picture>& Pictures() {
    static const std::vector<Picture> pictures = {
        // Whole pages, which may land in the host's pixels.
        {"v210",
         96,
         16,
         256,
         {PrPixelFormat_V210_422_10u_709, kKVXCustomPixelFormat, PrPixelFormat_BGRA_4444_8u}},
        {"2vuy",
         64,
         32,
         128,
         {PrPixelFormat_UYVY_422_8u_601, kKVXCustomPixelFormat, PrPixelFormat_BGRA_4444_32f}},
        // Odd sizes, which are copied.
        {"2Vuy",
         33,
         7,
         66,
         {PrPixelFormat_UYVY_422_8u_709, kKVXCustomPixelFormat, PrPixelFormat_BGRA_4444_16u}},
        {"r210",
         20,
         5,
         256,
         {kKVXCustomPixelFormat, PrPixelFormat_RGB_444_10u, PrPixelFormat_BGRA_4444_8u}},
    };
    return pictures;
}

[[noreturn]] void Fail(const std::string& what) {
    std::printf("frames_stress: %s\n", what.c_str());
    std::fflush(stdout);
    std::_Exit(1);
}

void Require(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

std::string WritePicture(const kvx_test::TempDirectory& directory, const Picture& picture,
                         const std::string& name) {
    const auto frameBytes = static_cast<uint32_t>(picture.rowBytes * picture.height);
    const uint64_t behindThePictures =
        kvx_test::kMediaOffset + uint64_t{frameBytes} * kFramesInMovie;
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {kvx_test::VideoTrackRecipe({picture.format, picture.width, picture.height, 24},
                                                frameBytes, kFramesInMovie),
                     kvx_test::SoundTrackRecipe(kvx_test::Describe(kvx_test::SoundDescriptionV0{}),
                                                4, kSoundFrames, 48000, behindThePictures)};
    return kvx_test::WriteMovie(directory, recipe, {}, name);
}

// The rows of a frame that the host looks at, one after the other.
using Rows = std::vector<char>;

// Frame `frame` of the picture's movies, in the host's format, from the plain models.
Rows MakeRows(const Picture& picture, PrPixelFormat format, int frame) {
    const kvx_test::Bytes sample = kvx_test::PatternSample(
        0, frame, static_cast<uint64_t>(picture.rowBytes) * static_cast<uint64_t>(picture.height));
    const Road road = kvx_test::geometry::RoadOf(picture.format, format);
    if (road == Road::kFileBytes || road == Road::kCopied) {
        return {sample.begin(), sample.end()};
    }
    constexpr size_t kSlack = 4096;  // steps of the models go past the last row
    Rows source(sample.begin(), sample.end());
    source.resize(source.size() + kSlack);
    // As this host lays out its buffers: pages, and rows without padding.
    const int rowBytes = kvx_hostkit::TightRowBytes(format, picture.width);
    const bool isAligned = rowBytes % 16 == 0;
    const uint64_t offset = kvx_test::kMediaOffset + static_cast<uint64_t>(frame) * sample.size();
    const bool isSourceAligned = offset % 16 == 0 && picture.rowBytes % 16 == 0;
    const size_t size = static_cast<size_t>(rowBytes) * static_cast<size_t>(picture.height);
    Rows rows(size + kSlack);
    const bool vector =
        kvx_test::geometry::TakesVectorCode(picture.format, road, isSourceAligned, isAligned);
    kvx_test::geometry::RoutineFor(picture.format, road, vector)
        .mModel(source.data(), picture.rowBytes, rows.data(), rowBytes, picture.width,
                picture.height, kvx_test::geometry::Matrix::k601);
    rows.resize(size);
    return rows;
}

// All that is asked for, made before the threads start.
class ExpectedRows {
  public:
    ExpectedRows() {
        for (const Picture& picture : Pictures()) {
            for (const PrPixelFormat format : picture.destinations) {
                std::vector<Rows>& frames = mRows[{&picture, format}];
                for (int frame = 0; frame < kFramesInMovie; ++frame) {
                    frames.push_back(MakeRows(picture, format, frame));
                }
            }
        }
    }

    const Rows& Of(const Picture& picture, PrPixelFormat format, int frame) const {
        return mRows.at({&picture, format}).at(static_cast<size_t>(frame));
    }

  private:
    std::map<std::pair<const Picture*, PrPixelFormat>, std::vector<Rows>> mRows;
};

void CheckFrame(const Picture& picture, const ExpectedRows& expected, PPixHand ppix, int frame) {
    const PixelBufferView view = PixelBuffers::View(ppix);
    const Rows& rows = expected.Of(picture, view.format, frame);
    const char* pixels = view.pixels;
    if (view.format == kKVXCustomPixelFormat) {
        KVX::CustomFrameHeader header;
        std::memcpy(&header, pixels, sizeof(header));
        pixels += header.dataOffset + header.skew;
        Require(std::memcmp(pixels, rows.data(), rows.size()) == 0,
                "a frame with other bytes than the file's");
        return;
    }
    const auto step = static_cast<ptrdiff_t>(rows.size()) / picture.height;
    const auto visible = static_cast<size_t>(kvx_test::geometry::VisibleBytes(
        picture.format, kvx_test::geometry::RoadOf(picture.format, view.format), picture.width));
    const bool isConverted = view.format != picture.destinations.front();
    for (int row = 0; row < picture.height; ++row) {
        // The last pixel of an odd width takes one of its colours from what follows in the file; in
        // the file's last row, which is the first here, that is no part of the frame.
        const bool endsOutside = isConverted && row == 0 && picture.width % 2 != 0;
        const size_t size =
            visible - (endsOutside ? visible / static_cast<size_t>(picture.width) : 0);
        Require(std::memcmp(pixels + row * view.rowBytes, rows.data() + row * step, size) == 0,
                "a frame with other pixels than the model's");
    }
}

// Two channels of 16 big-endian bits.
void CheckSound(const float* const* planes, int64_t position, uint32_t count) {
    for (uint32_t index = 0; index < count; ++index) {
        const kvx_test::Bytes bytes = kvx_test::PatternSample(1, position + index, 4);
        for (size_t channel = 0; channel < 2; ++channel) {
            const int level = static_cast<signed char>(bytes[2 * channel]) * 256 +
                              static_cast<unsigned char>(bytes[2 * channel + 1]);
            Require(planes[channel][index] == static_cast<float>(level) / 32767.0f,
                    "sound with other samples than the file's");
        }
    }
}

class HostThread {
  public:
    HostThread(const Importer& importer, FrameCache& cache, const std::vector<std::string>& movies,
               const ExpectedRows& expected, uint64_t seed)
        : mImporter(importer), mCache(cache), mMovies(movies), mExpected(expected), mRandom(seed) {}

    // Until `frames` have been asked for or the time is up.
    void Run(int frames, Clock::time_point end) {
        for (const std::string& movie : mMovies) {
            mClips.push_back(std::make_unique<Clip>(mImporter, movie));
            Require(mClips.back()->Open() == imNoErr, "a movie does not open");
            mSources.push_back(std::make_unique<FrameSource>(*mClips.back()));
            Require(mSources.back()->Open() == imNoErr, "no asynchronous importer");
        }
        while (mAsked < frames && Clock::now() < end) {
            const auto movie =
                static_cast<size_t>(mRandom.Pick(0, static_cast<int64_t>(mMovies.size()) - 1));
            if (mRandom.OneIn(4)) {
                AskForOtherThings(*mClips[movie]);
            }
            if (mRandom.OneIn(8)) {
                LeaveInFlight(movie);
            } else {
                Prefetch(movie, *mClips[movie], *mSources[movie]);
            }
        }
    }

  private:
    int64_t TicksPerFrame(const Clip& clip) {
        const int64_t ticks = FrameSource::TicksPerFrame(clip);
        Require(ticks > 0, "no ticks per frame");
        return ticks;
    }

    static const Picture& PictureOf(size_t movie) { return Pictures()[movie / kMoviesOfAPicture]; }

    void AskForOtherThings(const Clip& clip) {
        switch (mRandom.Pick(0, 3)) {
            case 0:
                Require(clip.Streams().size() == 1, "not one stream");
                return;
            case 1:
                Require(!clip.PixelFormats().empty(), "no pixel formats");
                return;
            case 2: {
                imTimeInfoRec8 time = {};
                Require(clip.GetTimeInfo(&time) == imNoTimecode, "a timecode");
                return;
            }
            default: {
                constexpr uint32_t kCount = 40;
                float left[kCount];
                float right[kCount];
                float* planes[] = {left, right};
                const int64_t position = mRandom.Pick(0, kSoundFrames - kCount);
                Require(clip.ReadAudio(0, position, kCount, planes) == imNoErr, "no sound");
                CheckSound(planes, position, kCount);
            }
        }
    }

    // Asks for a stretch of frames, for some of them twice, and waits for all.
    void Prefetch(size_t movie, const Clip& clip, const FrameSource& source) {
        const Picture& picture = PictureOf(movie);
        const std::vector<PrPixelFormat> formats = {mRandom.AnyOf(picture.destinations)};
        const int64_t ticks = TicksPerFrame(clip);
        const auto first = static_cast<int>(mRandom.Pick(0, kFramesInMovie - kPrefetch));
        std::vector<int> wanted;
        for (int frame = first; frame < first + kPrefetch; ++frame) {
            wanted.insert(wanted.end(), mRandom.OneIn(4) ? 2 : 1, frame);
        }
        for (const int frame : wanted) {
            Require(source.Request(frame * ticks, formats) == aiNoError, "a request is refused");
            ++mAsked;
        }
        for (const int frame : wanted) {
            WaitAndCheck(picture, clip, source, frame, frame * ticks, formats);
        }
    }

    // The small cache may have let go of a frame before it is looked for; then it is asked for
    // anew.
    void WaitAndCheck(const Picture& picture, const Clip& clip, const FrameSource& source,
                      int frame, int64_t time, const std::vector<PrPixelFormat>& formats) {
        Require(mCache.WaitForFrame(clip.ImporterID(), frame, kPatience), "a frame never arrives");
        PPixHand ppix = nullptr;
        const long result = source.Get(time, formats, &ppix);
        if (result == aiFrameNotFound) {
            return;
        }
        Require(result == aiNoError, "the cache refuses");
        CheckFrame(picture, mExpected, ppix, frame);
        PixelBuffers::Dispose(ppix);
    }

    // Opens the movie for itself, asks for frames and turns away without waiting: quiet, quiet and
    // back, the async importer closed, or all closed.
    void LeaveInFlight(size_t movie) {
        const Picture& picture = PictureOf(movie);
        Clip clip(mImporter, mMovies[movie]);
        Require(clip.Open() == imNoErr, "a movie does not open again");
        FrameSource source(clip);
        Require(source.Open() == imNoErr, "no further asynchronous importer");
        const int64_t ticks = TicksPerFrame(clip);
        const int64_t turn = mRandom.Pick(0, 3);
        std::vector<int> started;
        for (int frame = 0; frame < kPrefetch; ++frame) {
            // Once the file is quiet a request is refused.
            if (source.Request(frame * ticks, {mRandom.AnyOf(picture.destinations)}) == aiNoError) {
                started.push_back(frame);
            }
            ++mAsked;
            if (frame == kPrefetch / 2 && turn != 3) {
                LetReadsEnd(clip, started);
                clip.Quiet();
                if (turn == 1) {
                    clip.Reopen();
                } else if (turn == 2) {
                    break;
                }
            }
        }
        source.Close();
        LetReadsEnd(clip, started);
    }

    // A host may close a descriptor under a read: the read fails, or reads what has the number
    // next. The thread sanitizer calls that a race, and of descriptors it is one, so that under it
    // the files close when their reads have ended; the address sanitizer sees them close at once.
    void LetReadsEnd(const Clip& clip, const std::vector<int>& started) {
        if (!kvx_test::IsUnderThreadSanitizer()) {
            return;
        }
        for (const int frame : started) {
            Require(mCache.WaitForFrame(clip.ImporterID(), frame, kPatience),
                    "a frame never arrives");
        }
    }

    const Importer& mImporter;
    FrameCache& mCache;
    const std::vector<std::string>& mMovies;
    const ExpectedRows& mExpected;
    Random mRandom;
    int mAsked = 0;
    // Open until the thread's frames have all arrived.
    std::vector<std::unique_ptr<Clip>> mClips;
    std::vector<std::unique_ptr<FrameSource>> mSources;
};

bool Settles(FrameCache& cache, const PixelBuffers& buffers) {
    const auto limit = Clock::now() + kPatience;
    while (cache.Additions() != buffers.CreatedCount() && Clock::now() < limit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return cache.Additions() == buffers.CreatedCount();
}

bool IsEmptied(const PixelBuffers& buffers) {
    const auto limit = Clock::now() + kPatience;
    while (buffers.LiveCount() != 0 && Clock::now() < limit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return buffers.LiveCount() == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int frames = argc > 1 ? std::atoi(argv[1]) : 50000;
    const auto end = argc > 2 ? Clock::now() + std::chrono::seconds(std::atoi(argv[2]))
                              : Clock::time_point::max();

    const kvx_test::TempDirectory directory;
    std::vector<std::string> movies;
    for (const Picture& picture : Pictures()) {
        for (int copy = 0; copy < kMoviesOfAPicture; ++copy) {
            movies.push_back(
                WritePicture(directory, picture, "movie" + std::to_string(movies.size()) + ".mov"));
        }
    }
    // Frames in flight call the host until they have ended, so that it goes last.
    Host host;
    PixelBuffers buffers(host);
    FrameCache cache(host, kCachedFrames);
    const Importer importer(host, kvx_test::EntriesUnderTest());

    const ExpectedRows expected;
    std::vector<std::unique_ptr<HostThread>> hosts;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kHostThreads; ++thread) {
        hosts.push_back(std::make_unique<HostThread>(importer, cache, movies, expected,
                                                     static_cast<uint64_t>(thread)));
        threads.emplace_back(
            [host = hosts.back().get(), frames, end] { host->Run(frames / kHostThreads, end); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Require(Settles(cache, buffers), "frames were started and not delivered once each");
    const int delivered = cache.Additions();
    cache.Forget();
    Require(IsEmptied(buffers), "pixel buffers are left");
    Require(buffers.DamagedCount() == 0, "bytes around a frame's pixels were written");
    std::printf("%d frames delivered\n", delivered);
    return 0;
}
