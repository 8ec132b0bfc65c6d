// How long a movie takes to open: by the number of its samples, by the number of its runs, and
// beside other readers, whose counters are their median times over ours. Closing is not counted.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quicktime/movie.h"
#include "race.h"
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
constexpr int kTurns = 61;

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

// Each reader opens the file, and closes what it has opened once the time is taken.
using kvx_bench::Contender;

Contender Here(const std::string& path) {
    const auto movie = std::make_shared<std::unique_ptr<KVX::QT::Movie>>();
    return {"kvx",
            [=] {
                movie->reset(KVX::QT::Movie::Create(path));
                return *movie != nullptr && (*movie)->mVideoTracks.size() == 1;
            },
            [=] { movie->reset(); }};
}

#if defined(KVX_BENCH_LIBQUICKTIME)
Contender WithLibquicktime(const std::string& path) {
    const auto file = std::make_shared<quicktime_t*>();
    return {"libquicktime",
            [=] {
                *file = lqt_open_read(path.c_str());
                return *file != nullptr && quicktime_video_tracks(*file) == 1;
            },
            [=] { quicktime_close(*file); }};
}
#endif

#if defined(KVX_BENCH_LIBAVFORMAT)
Contender WithLibavformat(const std::string& path) {
    const auto context = std::make_shared<AVFormatContext*>();
    return {"libavformat",
            [=] {
                return avformat_open_input(context.get(), path.c_str(), nullptr, nullptr) == 0 &&
                       (*context)->nb_streams == 1;
            },
            [=] { avformat_close_input(context.get()); }};
}
#endif

void OpenMovie(benchmark::State& state, const MovieKind& kind) {
    const std::string path = PathOf(kind);
    std::vector<Contender> readers = {Here(path)};
#if defined(KVX_BENCH_LIBQUICKTIME)
    readers.push_back(WithLibquicktime(path));
#endif
#if defined(KVX_BENCH_LIBAVFORMAT)
    readers.push_back(WithLibavformat(path));
#endif
    kvx_bench::Race(state, readers);
}

bool RegisterAll() {
    for (const MovieKind& kind : kMovieKinds) {
        const std::string name = std::string("OpenMovie/") + kind.name;
        benchmark::RegisterBenchmark(name.c_str(), OpenMovie, kind)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond)
            ->Iterations(kTurns);
    }
    return true;
}

[[maybe_unused]] const bool kRegistered = RegisterAll();

}  // namespace
