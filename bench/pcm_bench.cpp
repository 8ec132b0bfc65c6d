// Interleaved samples to planes of float, in a stream and in the cache, beside libavcodec's decoder
// with libswresample behind it where they are installed. `libav` is its median time over ours.
#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "convert/audio/pcm.h"
#include "frame_ring.h"
#include "race.h"
#include "rivals.h"

namespace kvx_bench {

namespace {

using KVX::Converter::Audio::PCM;
using KVX::Converter::Audio::SInt24;

using Write = void(char* samples, bool swap, float** planes, unsigned channels, unsigned frames,
                   KVX::QT::SampleOrder order);

struct Kind {
    const char* mName;  // as libavcodec has it, after "pcm_"
    size_t mBytes;
    bool mSwap;
    Write* mWrite;
};

constexpr Kind kKinds[] = {
    {"s8", 1, false, PCM::Write<signed char>}, {"u8", 1, false, PCM::Write<unsigned char>},
    {"s16be", 2, true, PCM::Write<short>},     {"s16le", 2, false, PCM::Write<short>},
    {"s24be", 3, true, PCM::Write<SInt24>},    {"s24le", 3, false, PCM::Write<SInt24>},
    {"s32be", 4, true, PCM::Write<int>},       {"s32le", 4, false, PCM::Write<int>},
    {"f32be", 4, true, PCM::Write<float>},     {"f32le", 4, false, PCM::Write<float>},
    {"f64be", 8, true, PCM::Write<double>},    {"f64le", 8, false, PCM::Write<double>},
};

// Sound that streams is a second at a time, and nobody finds any of it in a cache. Sound in the
// cache is as much as a host asks for with a few pictures, again and again.
constexpr unsigned kStreamedFrames = 48000;
constexpr unsigned kCachedFrames = 4800;

// Noise. Floats of any size do, but not those that processors are slow with.
constexpr unsigned kNoiseMask = 0x1F1F;
constexpr unsigned kNoiseBase = 0x2020;

struct Rings {
    FrameRing mSamples;
    FrameRing mPlanes;
};

// Where the next samples are and where they go, to `work`; always the same in the cache.
template <typename Work>
std::function<bool()> EachTurn(const std::shared_ptr<Rings>& rings, unsigned channels,
                               unsigned frames, bool isStream, Work work) {
    char* const firstSamples = rings->mSamples.Next();
    char* const firstPlanes = rings->mPlanes.Next();
    return [=]() mutable {
        char* const samples = isStream ? rings->mSamples.Next() : firstSamples;
        auto* const floats =
            reinterpret_cast<float*>(isStream ? rings->mPlanes.Next() : firstPlanes);
        std::vector<float*> planes;
        for (unsigned channel = 0; channel < channels; ++channel) {
            planes.push_back(floats + size_t{channel} * frames);
        }
        return work(samples, planes);
    };
}

void WriteSamples(benchmark::State& state, const Kind& kind, unsigned channels, bool isStream) {
    const unsigned frames = isStream ? kStreamedFrames : kCachedFrames;
    const size_t bytes = size_t{frames} * channels * kind.mBytes;
    const auto rings =
        std::make_shared<Rings>(Rings{FrameRing(bytes, kNoiseMask, kNoiseBase),
                                      FrameRing(size_t{frames} * channels * sizeof(float))});
    std::vector<Contender> contenders = {
        {"ours", EachTurn(rings, channels, frames, isStream,
                          [=](char* samples, std::vector<float*>& planes) {
                              kind.mWrite(samples, kind.mSwap, planes.data(), channels, frames,
                                          KVX::QT::SampleOrder51B);
                              return true;
                          })}};
#if defined(KVX_BENCH_LIBSWRESAMPLE)
    const std::shared_ptr<AudioRival> libav = MakeLibav(kind.mName, channels);
    contenders.push_back({"libav", EachTurn(rings, channels, frames, isStream,
                                            [=](char* samples, std::vector<float*>& planes) {
                                                return libav->Run(samples, bytes, planes);
                                            })});
#endif
    Race(state, contenders);
}

bool RegisterAll() {
    for (const bool isStream : {true, false}) {
        for (const Kind& kind : kKinds) {
            for (const unsigned channels : {1U, 2U, 6U}) {
                const std::string name = std::string(isStream ? "PcmStream/" : "PcmCache/") +
                                         kind.mName + "/" + std::to_string(channels);
                benchmark::RegisterBenchmark(name.c_str(), WriteSamples, kind, channels, isStream)
                    ->UseManualTime()
                    ->Unit(benchmark::kMicrosecond)
                    ->Iterations(isStream ? 101 : 501);
            }
        }
    }
    return true;
}

[[maybe_unused]] const bool kRegistered = RegisterAll();

}  // namespace

}  // namespace kvx_bench
