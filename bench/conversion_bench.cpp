// Each conversion of video beside a plain copy of the same source and destination bytes, one
// thread. `copy` is the copy's median time over the conversion's: 1 is the speed of memory.
//
// Convert/... has the two alone, for work on a conversion; Compare/... has all the libraries that
// were found, and is what the tables of docs/performance.md are made from.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "conversions.h"
#include "copy_limit.h"
#include "frame_ring.h"
#include "race.h"
#include "rivals.h"

namespace kvx_bench {

namespace {

struct Rings {
    FrameRing mSources;
    FrameRing mDestinations;
};

std::vector<Contender> OursAndCopy(const Conversion& conversion, const Size& size) {
    const size_t sourceBytes = FrameBytes(conversion.mSource, size);
    const size_t destinationBytes = FrameBytes(conversion.mDestination, size);
    const auto rings =
        std::make_shared<Rings>(Rings{FrameRing(sourceBytes), FrameRing(destinationBytes)});
    return {{"ours",
             [=] {
                 return conversion.mConvert(conversion, rings->mSources.Next(),
                                            rings->mDestinations.Next(), size);
             }},
            {"copy", [=] {
                 CopyAtTheLimit(rings->mSources.Next(), sourceBytes, rings->mDestinations.Next(),
                                destinationBytes);
                 return true;
             }}};
}

void BesideCopy(benchmark::State& state, const Conversion& conversion, const Size& size) {
    Race(state, OursAndCopy(conversion, size));
}

void BesideAll(benchmark::State& state, const Conversion& conversion, const Size& size) {
    std::vector<Contender> contenders = OursAndCopy(conversion, size);
#if defined(KVX_BENCH_LIBYUV)
    AddLibyuv(contenders, conversion, size);
#endif
#if defined(KVX_BENCH_ZIMG)
    AddZimg(contenders, conversion, size);
#endif
#if defined(KVX_BENCH_LIBSWSCALE)
    AddLibswscale(contenders, conversion, size);
#endif
    Race(state, contenders);
}

bool RegisterAll() {
    using Measure = void(benchmark::State & state, const Conversion& conversion, const Size& size);
    struct Kind {
        const char* mName;
        Measure* mMeasure;
    };
    for (const Kind& kind : {Kind{"Convert/", BesideCopy}, Kind{"Compare/", BesideAll}}) {
        for (const Conversion& conversion : AllConversions()) {
            for (const Size& size : kSizes) {
                const std::string name = kind.mName + std::string(conversion.mName) + "/" +
                                         std::to_string(size.mWidth) + "x" +
                                         std::to_string(size.mHeight);
                benchmark::RegisterBenchmark(name.c_str(), kind.mMeasure, conversion, size)
                    ->UseManualTime()
                    ->Unit(benchmark::kMillisecond)
                    ->Iterations(size.mTurns);
            }
        }
    }
    return true;
}

[[maybe_unused]] const bool kRegistered = RegisterAll();

}  // namespace

}  // namespace kvx_bench
