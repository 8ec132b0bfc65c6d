// Interleaved samples to planes of float, a second of 48 kHz at a time, beside libavcodec's decoder
// with libswresample behind it where they are installed. `libav` is its median time over ours.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "convert/audio/pcm.h"
#include "race.h"
#include "rivals.h"

namespace kvx_bench {

namespace {

using KVX::Converter::Audio::PCM;
using KVX::Converter::Audio::SInt24;

using Write = void(char* samples, bool swap, float** planes, unsigned channels, unsigned frames,
                   KVX::QT::SampleOrder order);

struct Kind {
    const char* mName;  // as libavcodec has it, behind "pcm_"
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

constexpr unsigned kFrames = 48000;

void WriteSamples(benchmark::State& state, const Kind& kind, unsigned channels) {
    // Noise. Floats of any size do, but not those that processors are slow with.
    auto samples = std::make_shared<std::vector<char>>(kFrames * channels * kind.mBytes);
    std::mt19937 noise(1);
    for (char& byte : *samples) {
        byte = static_cast<char>(0x20 + noise() % 0x40);
    }
    auto memory = std::make_shared<std::vector<float>>(kFrames * channels);
    std::vector<float*> planes;
    for (unsigned channel = 0; channel < channels; ++channel) {
        planes.push_back(memory->data() + channel * kFrames);
    }
    std::vector<Contender> contenders = {{"ours", [=]() mutable {
                                              kind.mWrite(samples->data(), kind.mSwap,
                                                          planes.data(), channels, kFrames,
                                                          KVX::QT::SampleOrder51B);
                                              return true;
                                          }}};
#if defined(KVX_BENCH_LIBSWRESAMPLE)
    AddLibav(contenders, kind.mName, *samples, channels, planes);
#endif
    Race(state, contenders);
}

bool RegisterAll() {
    for (const Kind& kind : kKinds) {
        for (const unsigned channels : {1U, 2U, 6U}) {
            const std::string name =
                std::string("Pcm/") + kind.mName + "/" + std::to_string(channels);
            benchmark::RegisterBenchmark(name.c_str(), WriteSamples, kind, channels)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond)
                ->Iterations(501);
        }
    }
    return true;
}

[[maybe_unused]] const bool kRegistered = RegisterAll();

}  // namespace

}  // namespace kvx_bench
