// Changes a movie's file while its frames are on their way: cuts it, lets it grow, writes over it,
// replaces it, takes it away and puts it back, with quiet and reopen in between, on a file system
// that now and then is slow, fails or reads less than asked. Two threads ask for frames, a third
// for sound. Each moment ends with a reckoning, from what the system answered to each read and from
// how long the file was, which frames must have come, with which bytes, and which must not; and
// that nothing else is left over.
//
//     kvx_file_changes [MOMENTS [SEED]]      1000 moments from seed 1 by default
//
// Moment n of a run is the first one of a run with the seed n higher; threads meet as they like.
// The environment variable KVX_TEST_MODULE names a module to be played with, in place of the
// importer that is linked into the program. Of that less is seen: each frame is asked for once, and
// is read at once.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>
#include <vector>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "stress/file_changes/changing_file.h"
#include "stress/file_changes/check.h"
#include "stress/file_changes/moment.h"
#include "stress/file_changes/movie_image.h"
#include "stress/file_changes/reckoning.h"
#include "support/entries_under_test.h"
#include "support/log_capture.h"
#include "support/open_descriptors.h"
#include "support/random.h"
#include "support/sanitizers.h"
#include "support/temp_directory.h"

namespace kvx_stress {

int64_t gMoment = 0;

void Fail(const std::string& what) {
    std::printf("file_changes: moment %lld: %s\n", static_cast<long long>(gMoment), what.c_str());
    std::fflush(stdout);
    std::_Exit(1);
}

}  // namespace kvx_stress

namespace {

using namespace kvx_stress;
using kvx_hostkit::Clip;
using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Host;
using kvx_hostkit::Importer;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::Random;

void Play(const Stage& stage, const Movie& movie, uint64_t seed, Tally& tally) {
    Moment moment(stage, movie, seed);
    const std::set<int> descriptors = kvx_test::OpenDescriptors();
    {
        const kvx_test::LogCapture log;
        moment.Play();
        if (!kvx_test::IsLinkedIn()) {
            WaitForLines(stage, moment.WhatWasPlayed(), log);
        }
        Reckon(stage, moment.WhatWasPlayed(), log.Text(), tally);
    }
    Require(kvx_test::OpenDescriptors() == descriptors, "descriptors are left, or gone");
}

// The frames of a movie that nobody changes, as they are converted.
void Convert(const Stage& stage, Movie& movie) {
    const ChangingFile file(stage.path, movie.image, movie.edges);
    Clip clip(stage.importer, stage.path);
    FrameSource source(clip);
    Require(clip.Open() == imNoErr && source.Open() == imNoErr, "the movie does not open");
    const int64_t ticks = FrameSource::TicksPerFrame(clip);
    for (int frame = 0; frame < movie.frames; ++frame) {
        Require(source.Request(frame * ticks, {PrPixelFormat_BGRA_4444_8u}) == aiNoError,
                "a request is refused");
        Require(stage.cache.WaitForFrame(clip.ImporterID(), frame, kPatience),
                "a frame never arrives");
        const PPixHand ppix = stage.cache.Take(clip.ImporterID(), frame);
        const PixelBufferView view = PixelBuffers::View(ppix);
        movie.converted.emplace_back(view.pixels, view.dataSize);
        PixelBuffers::Dispose(ppix);
    }
    stage.cache.Forget();
    Require(ComesTrue([&] { return stage.buffers.LiveCount() == 0; }), "pixel buffers are left");
}

constexpr long kReadThreads = 8;

// The thread sanitizer starts one beside the first of the program's.
long CountSanitizerThreads() {
    return kvx_test::IsUnderThreadSanitizer() ? 1 : 0;
}

long CountThreads() {
    long count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        count += entry.exists() ? 1 : 0;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    const int64_t moments = argc > 1 ? std::atoll(argv[1]) : 1000;
    const int64_t seed = argc > 2 ? std::atoll(argv[2]) : 1;
    // With the pools', which start with the first frame. Those that give buffers back to the system
    // end by themselves.
    const long threads = CountThreads() + kReadThreads + std::thread::hardware_concurrency() +
                         CountSanitizerThreads();

    const kvx_test::TempDirectory directory;
    std::vector<Movie> movies;
    movies.push_back(MakeMovie(directory, 64, 32, 8, 0));      // pages
    movies.push_back(MakeMovie(directory, 64, 32, 8, 100));    // beside pages
    movies.push_back(MakeMovie(directory, 1024, 1600, 2, 0));  // four slices each
    // Frames in flight call the host until they have ended, so that it goes last.
    Host host;
    PixelBuffers buffers(host);
    FrameCache cache(host);
    const Importer importer(host, kvx_test::EntriesUnderTest());
    const Stage stage = {importer, cache, buffers, directory.File("movie.mov")};
    for (Movie& movie : movies) {
        Convert(stage, movie);
    }

    Tally tally;
    for (gMoment = seed; gMoment < seed + moments; ++gMoment) {
        Random random(static_cast<uint64_t>(gMoment));
        const size_t movie =
            random.OneIn(24) && kvx_test::IsLinkedIn() ? 2 : static_cast<size_t>(random.Pick(0, 1));
        Play(stage, movies[movie], static_cast<uint64_t>(random.Pick(0, INT64_MAX)), tally);
    }
    Require(ComesTrue([&] { return CountThreads() == threads; }), "threads are left, or gone");
    std::printf(
        "%lld moments: %lld frames whole, %lld failed, %lld never, %lld refused or there; "
        "%lld certain by the file's length; %lld times sound\n",
        static_cast<long long>(moments), static_cast<long long>(tally.whole),
        static_cast<long long>(tally.failed), static_cast<long long>(tally.never),
        static_cast<long long>(tally.refused), static_cast<long long>(tally.certain),
        static_cast<long long>(tally.sounds));
    // Each kind of end is met in any hundred moments.
    Require(moments < 100 || (tally.whole > 0 && tally.failed > 0 && tally.never > 0 &&
                              tally.refused > 0 && tally.certain > 0),
            "not everything was tried");
    return 0;
}
