// Each ConvertTo beside a plain copy of the same source and destination bytes, one frame of each in
// turn, on one thread. The counter "share" is the copy's median time by the conversion's: 1 is the
// speed of memory.
#include <benchmark/benchmark.h>
#include <time.h>

#include <string>

#include "convert/video/r210.h"
#include "convert/video/uyvy.h"
#include "convert/video/v210.h"
#include "frame_ring.h"
#include "premiere/pixel_formats.h"

using namespace KVX::Converter::Video;

namespace {

using Converter = long (*)(const char*, int, int, char*, int, int, int, ColourSpace,
                           ConversionMode);

// Bytes of a row of `width` pixels, as files and the host have them.
int Row2vuy(int width) {
    return 2 * width;
}
int RowV210(int width) {
    return (width + 47) / 48 * 128;
}
int RowR210(int width) {
    return (4 * width + 255) / 256 * 256;
}
int RowBGRA8u(int width) {
    return 4 * width;
}
int RowBGRA16u(int width) {
    return 8 * width;
}
int RowBGRA32f(int width) {
    return 16 * width;
}

struct Pair {
    const char* mName;
    Converter mConvert;
    PrPixelFormat mDestination;
    int (*mSourceRow)(int width);
    int (*mDestinationRow)(int width);
};

constexpr Pair kPairs[] = {
    {"2vuy_to_BGRA_8u", uyvy::ConvertTo, PrPixelFormat_BGRA_4444_8u, Row2vuy, RowBGRA8u},
    {"2vuy_to_BGRA_16u", uyvy::ConvertTo, PrPixelFormat_BGRA_4444_16u, Row2vuy, RowBGRA16u},
    {"2vuy_to_BGRA_32f", uyvy::ConvertTo, PrPixelFormat_BGRA_4444_32f, Row2vuy, RowBGRA32f},
    {"v210_to_BGRA_8u", v210::ConvertTo, PrPixelFormat_BGRA_4444_8u, RowV210, RowBGRA8u},
    {"v210_to_BGRA_16u", v210::ConvertTo, PrPixelFormat_BGRA_4444_16u, RowV210, RowBGRA16u},
    {"v210_to_BGRA_32f", v210::ConvertTo, PrPixelFormat_BGRA_4444_32f, RowV210, RowBGRA32f},
    {"r210_to_BGRA_8u", r210::ConvertTo, PrPixelFormat_BGRA_4444_8u, RowR210, RowBGRA8u},
    {"r210_to_BGRA_16u", r210::ConvertTo, PrPixelFormat_BGRA_4444_16u, RowR210, RowBGRA16u},
    {"r210_to_BGRA_32f", r210::ConvertTo, PrPixelFormat_BGRA_4444_32f, RowR210, RowBGRA32f},
    {"r210_to_V210", r210::ConvertTo, PrPixelFormat_V210_422_10u_709, RowR210, RowV210},
};

struct Size {
    int mWidth;
    int mHeight;
};

constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}};

// Time that this thread ran: what else the machine does in between is not counted.
double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void MeasureConversion(benchmark::State& state, const Pair& pair, const Size& size) {
    const int sourceRow = pair.mSourceRow(size.mWidth);
    const int destinationRow = pair.mDestinationRow(size.mWidth);
    const size_t sourceBytes = static_cast<size_t>(sourceRow) * static_cast<size_t>(size.mHeight);
    const size_t destinationBytes =
        static_cast<size_t>(destinationRow) * static_cast<size_t>(size.mHeight);
    kvx_bench::FrameRing frames(sourceBytes, destinationBytes);
    kvx_bench::Timings timings;

    for (auto _ : state) {
        kvx_bench::FrameRing::Frame frame = frames.Next();
        double start = ThreadSeconds();
        kvx_bench::CopyAtTheLimit(frame.mSource, sourceBytes, frame.mDestination, destinationBytes);
        const double limit = ThreadSeconds() - start;

        frame = frames.Next();
        start = ThreadSeconds();
        const long status = pair.mConvert(
            frame.mSource, sourceRow, static_cast<int>(pair.mDestination), frame.mDestination,
            destinationRow, size.mWidth, size.mHeight, kColourSpaceAuto, kConversionModeAuto);
        const double conversion = ThreadSeconds() - start;
        if (status != 0) {
            state.SkipWithError("the conversion failed");
            break;
        }
        timings.Add(conversion, limit);
        state.SetIterationTime(conversion);
    }
    if (state.iterations() > 0) {
        state.counters["share"] = timings.Share();
        state.counters["median_ms"] = 1e3 * timings.ConversionMedian();
    }
}

bool RegisterConversions() {
    for (const Pair& pair : kPairs) {
        for (const Size& size : kSizes) {
            const std::string name = std::string("Convert/") + pair.mName + "/" +
                                     std::to_string(size.mWidth) + "x" +
                                     std::to_string(size.mHeight);
            benchmark::RegisterBenchmark(
                name.c_str(),
                [&pair, &size](benchmark::State& state) { MeasureConversion(state, pair, size); })
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}

const bool gConversionsRegistered = RegisterConversions();

}  // namespace
