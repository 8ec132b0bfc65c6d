// How long a movie takes to open: by the number of its samples, by the number of its runs, and
// beside other readers. Closing is not counted.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "quicktime/movie.h"
#include "support/movie_file.h"

#if defined(KVX_BENCH_LIBQUICKTIME)
#include <lqt.h>
#endif
#if defined(KVX_BENCH_LIBAVFORMAT)
extern "C" {
#include <libavformat/avformat.h>
}
#endif

using namespace kvx_test;

namespace {

constexpr uint32_t kFrameSize = 256;  // v210, 48 by 2
constexpr int64_t kManySamples = 400'000;

struct MovieKind {
    const char* name;
    int64_t samples;
    int64_t samplesPerChunk;
    uint64_t gap;  // unused bytes between chunks
    bool sizesVary;
};

constexpr MovieKind kMovieKinds[] = {
    {"1_sample", 1, 1, 0, false},
    {"400000_samples", kManySamples, kManySamples, 0, false},
    {"400000_adjacent_chunks", kManySamples, 1, 0, false},
    {"400000_separate_chunks", kManySamples, 1, 16, false},
    {"400000_separate_chunks_of_varying_sizes", kManySamples, 1, 16, true},
};

// Written once for all readers, in a directory that goes with the process.
const std::string& PathOf(const MovieKind& kind) {
    static const TempDirectory directory;
    static std::map<const MovieKind*, std::string> paths;
    std::string& path = paths[&kind];
    if (path.empty()) {
        path = directory.File(std::string(kind.name) + ".mov");
        TrackRecipe track = VideoTrackRecipe({"v210", 48, 2, 24}, kFrameSize, kind.samples);
        if (kind.sizesVary) {
            track.constantSize = 0;
            for (int64_t sample = 0; sample < kind.samples; ++sample) {
                track.sizes.push_back(kFrameSize + static_cast<uint32_t>(sample % 5));
            }
        }
        const uint64_t end = track.PlaceSamples(kMediaOffset, kind.samplesPerChunk, kind.gap);
        MovieRecipe recipe;
        recipe.tracks = {track};
        WriteMovieFile(path, BuildMoov(recipe), {{end - 1, zeros(1)}});
    }
    return path;
}

// Each reader opens the file, takes the time when it has, and closes it again.
using Clock = std::chrono::steady_clock;
using OpenFunction = bool (*)(const std::string& path, Clock::time_point& opened);

bool OpenHere(const std::string& path, Clock::time_point& opened) {
    KVX::QT::Movie* const movie = KVX::QT::Movie::Create(path);
    opened = Clock::now();
    const bool isGood = movie != nullptr && movie->mVideoTracks.size() == 1;
    delete movie;
    return isGood;
}

#if defined(KVX_BENCH_LIBQUICKTIME)
bool OpenWithLibquicktime(const std::string& path, Clock::time_point& opened) {
    quicktime_t* const file = lqt_open_read(path.c_str());
    opened = Clock::now();
    const bool isGood = file != nullptr && quicktime_video_tracks(file) == 1;
    if (file != nullptr) {
        quicktime_close(file);
    }
    return isGood;
}
#endif

#if defined(KVX_BENCH_LIBAVFORMAT)
bool OpenWithLibavformat(const std::string& path, Clock::time_point& opened) {
    AVFormatContext* context = nullptr;
    const int status = avformat_open_input(&context, path.c_str(), nullptr, nullptr);
    opened = Clock::now();
    const bool isGood = status == 0 && context->nb_streams == 1;
    avformat_close_input(&context);
    return isGood;
}
#endif

struct Reader {
    const char* name;
    OpenFunction open;
};

constexpr Reader kReaders[] = {
    {"kvx", OpenHere},
#if defined(KVX_BENCH_LIBQUICKTIME)
    {"libquicktime", OpenWithLibquicktime},
#endif
#if defined(KVX_BENCH_LIBAVFORMAT)
    {"libavformat", OpenWithLibavformat},
#endif
};

void OpenMovie(benchmark::State& state, const Reader& reader, const MovieKind& kind) {
    const std::string& path = PathOf(kind);
    Clock::time_point opened;
    reader.open(path, opened);  // what a library loads with its first file does not count
    while (state.KeepRunning()) {
        const Clock::time_point start = Clock::now();
        if (!reader.open(path, opened)) {
            state.SkipWithError("did not open");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(opened - start).count());
    }
}

bool RegisterAll() {
    for (const MovieKind& kind : kMovieKinds) {
        for (const Reader& reader : kReaders) {
            const std::string name = std::string("OpenMovie/") + kind.name + "/" + reader.name;
            benchmark::RegisterBenchmark(name.c_str(), OpenMovie, reader, kind)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
    return true;
}

[[maybe_unused]] const bool kRegistered = RegisterAll();

}  // namespace
