// Each conversion of the pixel family beside a plain copy of the same source and destination bytes,
// one frame of each in turn, on one thread. The counter "share" is the copy's median time by the
// conversion's: 1 is the speed of memory.
#include <benchmark/benchmark.h>

#include <string>

#include "convert/video/pixel_conversion.h"
#include "frame_ring.h"

using namespace KVX::PixelConversion;

namespace {

using Convert = void(unsigned int width, unsigned int height, void* dst, unsigned int dstRowBytes,
                     void* src, unsigned int srcRowBytes);

struct Conversion {
    const char* mName;
    Convert* mConvert;
    // Bytes that so many pixels come to, for widths that divide by them.
    unsigned int mPixels;
    unsigned int mBytes;
};

constexpr Conversion kConversions[] = {
    {"8YUV422_SD", Convert_10XRGB_BE_SMPTE_To_8YUV422_SD, 2, 4},
    {"8YUV422_HD", Convert_10XRGB_BE_SMPTE_To_8YUV422_HD, 2, 4},
    {"10YUV422_LE_SD", Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_SD, 6, 16},
    {"10YUV422_LE_HD", Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_HD, 6, 16},
    {"8ARGB_FULL", Convert_10XRGB_BE_SMPTE_To_8ARGB_FULL, 1, 4},
    {"8BGRA_FULL", Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL, 1, 4},
    {"8BGRA_FULL_Scalar", Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL_Scalar, 1, 4},
    {"8RGBA_FULL", Convert_10XRGB_BE_SMPTE_To_8RGBA_FULL, 1, 4},
    {"10RGBX_LE_SMPTE", Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_SMPTE, 1, 4},
    {"10RGBX_BE_SMPTE", Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_SMPTE, 1, 4},
    {"10RGBX_LE_FULL", Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL, 1, 4},
    {"10RGBX_BE_FULL", Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_FULL, 1, 4},
    {"10RGBA_BE_FULL", Convert_10XRGB_BE_SMPTE_To_10RGBA_BE_FULL, 1, 4},
    {"8RGB_FULL", Convert_10XRGB_BE_SMPTE_To_8RGB_FULL, 1, 3},
    {"10XRGB_BE_FULL", Convert_10XRGB_BE_SMPTE_To_10XRGB_BE_FULL, 1, 4},
};

struct Size {
    unsigned int mWidth;
    unsigned int mHeight;
};

constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}};

void MeasureConversion(benchmark::State& state, const Conversion& conversion, const Size& size) {
    const unsigned int sourceRow = 4 * size.mWidth;
    const unsigned int destinationRow = size.mWidth / conversion.mPixels * conversion.mBytes;
    const size_t sourceBytes = static_cast<size_t>(sourceRow) * size.mHeight;
    const size_t destinationBytes = static_cast<size_t>(destinationRow) * size.mHeight;
    kvx_bench::FrameRing frames(sourceBytes, destinationBytes);
    kvx_bench::Timings timings;

    for (auto _ : state) {
        kvx_bench::FrameRing::Frame frame = frames.Next();
        double start = kvx_bench::ThreadSeconds();
        kvx_bench::CopyAtTheLimit(frame.mSource, sourceBytes, frame.mDestination, destinationBytes);
        const double limit = kvx_bench::ThreadSeconds() - start;

        frame = frames.Next();
        start = kvx_bench::ThreadSeconds();
        conversion.mConvert(size.mWidth, size.mHeight, frame.mDestination, destinationRow,
                            const_cast<char*>(frame.mSource), sourceRow);
        const double seconds = kvx_bench::ThreadSeconds() - start;
        timings.Add(seconds, limit);
        state.SetIterationTime(seconds);
    }
    state.counters["share"] = timings.Share();
    state.counters["median_ms"] = 1e3 * timings.ConversionMedian();
}

bool RegisterFamily() {
    for (const Conversion& conversion : kConversions) {
        for (const Size& size : kSizes) {
            const std::string name = std::string("PixelFamily/") + conversion.mName + "/" +
                                     std::to_string(size.mWidth) + "x" +
                                     std::to_string(size.mHeight);
            benchmark::RegisterBenchmark(name.c_str(),
                                         [&conversion, &size](benchmark::State& state) {
                                             MeasureConversion(state, conversion, size);
                                         })
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}

[[maybe_unused]] const bool kRegistered = RegisterFamily();

}  // namespace
