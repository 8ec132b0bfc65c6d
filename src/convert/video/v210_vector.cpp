#include "convert/video/bgra_source.h"
#include "convert/video/pack.h"
#include "convert/video/planar_yuv.h"
#include "convert/video/rgb_to_yuv.h"
#include "convert/video/row_walk.h"
#include "convert/video/v210.h"
#include "convert/video/vector_memory.h"
#include "convert/video/yuv_layouts.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kGroupPixels = 24;
constexpr int kGroupBytes = 64;

using Coefficients = YUVToRGBCoefficients<10>;

// Two pairs of pixels as U Y0 V Y1 U Y0 V Y1, less their black. A sample is in the low, middle or
// high third of its 32-bit word; the two bytes that hold it are shuffled into place and moved to
// the top of a 16-bit word, which pushes out what is above it, and back.
KVX_ALWAYS_INLINE Integers TakeRun(Integers words, Integers bytes, Integers factors) {
    const Integers atTop = MultiplyWordsLow(ShuffleBytes(words, bytes), factors);
    return SubtractWords(ShiftUnsignedWordsRight<6>(atTop),
                         MakeWords(512, 64, 512, 64, 512, 64, 512, 64));
}

constexpr short kLow = 1 << 6;
constexpr short kMiddle = 1 << 4;
constexpr short kHigh = 1 << 2;

KVX_ALWAYS_INLINE Integers LoadWords(const char* from) {
    return MisalignedSource::Load(from);
}

// Six pairs from eight words.
template <typename Pack>
KVX_ALWAYS_INLINE void ConvertTwelve(const char* from, char* to, const Coefficients& coefficients) {
    const Integers first =
        TakeRun(LoadWords(from), MakeBytes(0, 1, 1, 2, 2, 3, 4, 5, 5, 6, 6, 7, 8, 9, 9, 10),
                MakeWords(kLow, kMiddle, kHigh, kLow, kMiddle, kHigh, kLow, kMiddle));
    // Words 2 to 5: the third pair of a block and the first of the next.
    const Integers second =
        TakeRun(LoadWords(from + 8), MakeBytes(2, 3, 4, 5, 5, 6, 6, 7, 8, 9, 9, 10, 10, 11, 12, 13),
                MakeWords(kHigh, kLow, kMiddle, kHigh, kLow, kMiddle, kHigh, kLow));
    // Words 4 to 7: the other two pairs of that block.
    const Integers third = TakeRun(
        LoadWords(from + 16), MakeBytes(5, 6, 6, 7, 8, 9, 9, 10, 10, 11, 12, 13, 13, 14, 14, 15),
        MakeWords(kMiddle, kHigh, kLow, kMiddle, kHigh, kLow, kMiddle, kHigh));
    Pack::Store(to, coefficients.Sum(first));
    Pack::Store(to + 4 * Pack::kBytesPerPixel, coefficients.Sum(second));
    Pack::Store(to + 8 * Pack::kBytesPerPixel, coefficients.Sum(third));
}

// Where the samples of two pairs lie in sixteen bytes: each in two of them, at one of three places.
struct RunBytes {
    signed char mFirst[8];  // the first byte of U U V V Y0 Y0 Y1 Y1
    short mFactors[8];      // that move a sample to the top of its word
};

// Two pairs at a time, of the three ways in which they lie in the file: the beginning of a block of
// six pixels, its last pair with the first of the next block, and the end of that one.
constexpr RunBytes kRuns[3] = {
    {{0, 5, 2, 8, 1, 6, 4, 9}, {kLow, kMiddle, kHigh, kLow, kMiddle, kHigh, kLow, kMiddle}},
    {{2, 8, 5, 10, 4, 9, 6, 12}, {kHigh, kLow, kMiddle, kHigh, kLow, kMiddle, kHigh, kLow}},
    {{5, 10, 8, 13, 6, 12, 9, 14}, {kMiddle, kHigh, kLow, kMiddle, kHigh, kLow, kMiddle, kHigh}},
};

// U U V V, times 64, and Y0 Y0 Y1 Y1, times 32.
template <int kRun>
KVX_ALWAYS_INLINE Integers TakePlanarRun(const char* from) {
    constexpr const signed char(&b)[8] = kRuns[kRun].mFirst;
    constexpr const short(&f)[8] = kRuns[kRun].mFactors;
    const Integers bytes =
        MakeBytes(b[0], b[0] + 1, b[1], b[1] + 1, b[2], b[2] + 1, b[3], b[3] + 1, b[4], b[4] + 1,
                  b[5], b[5] + 1, b[6], b[6] + 1, b[7], b[7] + 1);
    const auto mask = [](short factor) { return static_cast<short>((0x3FF << 6) / factor); };
    const Integers masks = MakeWords(mask(f[0]), mask(f[1]), mask(f[2]), mask(f[3]), mask(f[4]),
                                     mask(f[5]), mask(f[6]), mask(f[7]));
    const Integers factors =
        MakeWords(f[0], f[1], f[2], f[3], f[4] / 2, f[5] / 2, f[6] / 2, f[7] / 2);
    const Integers samples = And(ShuffleBytes(LoadWords(from), bytes), masks);
    return MultiplyWordsLow(samples, factors);
}

// Sixteen pixels from four runs, the first of which is of kind kFirstRun.
template <int kFirstRun>
KVX_ALWAYS_INLINE PlanarYUV LoadPlanes(const char* from) {
    constexpr int kRunBytes = 32;  // of three runs
    const auto offset = [](int run) { return run / 3 * kRunBytes + run % 3 * 8; };
    const Integers a = TakePlanarRun<kFirstRun>(from + offset(kFirstRun));
    const Integers b = TakePlanarRun<(kFirstRun + 1) % 3>(from + offset(kFirstRun + 1));
    const Integers c = TakePlanarRun<(kFirstRun + 2) % 3>(from + offset(kFirstRun + 2));
    const Integers d = TakePlanarRun<kFirstRun>(from + offset(kFirstRun + 3));
    const Integers chromaAB = InterleaveLowDwords(a, b);
    const Integers chromaCD = InterleaveLowDwords(c, d);
    const Integers lumaAB = InterleaveHighDwords(a, b);
    const Integers lumaCD = InterleaveHighDwords(c, d);
    const auto chroma = [](Integers times64) {
        return SubtractWords(times64, EveryWord(512 << 6));
    };
    const auto luma = [](Integers times32) { return SubtractWords(times32, EveryWord(64 << 5)); };
    return {chroma(InterleaveLowQwords(chromaAB, chromaCD)),
            chroma(InterleaveHighQwords(chromaAB, chromaCD)),
            luma(InterleaveLowQwords(lumaAB, lumaCD)), luma(InterleaveHighQwords(lumaAB, lumaCD))};
}

template <typename PlanarPack, int kFirstRun>
KVX_ALWAYS_INLINE void ConvertSixteen(const char* from, char* to,
                                      const PlanarCoefficients& coefficients) {
    PlanarPack::Store(to, coefficients.Sum<PlanarPack::kSaturates>(LoadPlanes<kFirstRun>(from)));
}

template <int... kPrefetchDistances>
KVX_ALWAYS_INLINE void PrefetchGroup(const char* from) {
    PrefetchAhead<MisalignedSource, kPrefetchDistances...>(from);
}

template <typename PlanarPack, int... kPrefetchDistances>
void ConvertToBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const TransformMatrix& matrix) {
    using Pack = typename PlanarPack::Pack;
    constexpr int kStoredGroupBytes = kGroupPixels * Pack::kBytesPerPixel;
    constexpr int kStoredStepBytes = kPlanarPixels * Pack::kBytesPerPixel;
    const Coefficients coefficients(matrix);
    const PlanarCoefficients planar(matrix);
    const bool planarFits = planar.Fits();

    const auto convertGroups = [&](const char* from, char* to, ptrdiff_t groups) {
        // Two groups are three steps of sixteen pixels.
        for (; planarFits && groups >= 2; groups -= 2) {
            PrefetchGroup<kPrefetchDistances...>(from);
            ConvertSixteen<PlanarPack, 0>(from, to, planar);
            PrefetchGroup<kPrefetchDistances...>(from + kGroupBytes);
            ConvertSixteen<PlanarPack, 1>(from + 32, to + kStoredStepBytes, planar);
            ConvertSixteen<PlanarPack, 2>(from + 64, to + 2 * kStoredStepBytes, planar);
            from += 2 * kGroupBytes;
            to += 2 * kStoredGroupBytes;
        }
        for (; groups > 0; --groups) {
            PrefetchGroup<kPrefetchDistances...>(from);
            ConvertTwelve<Pack>(from, to, coefficients);
            ConvertTwelve<Pack>(from + kGroupBytes / 2, to + kStoredGroupBytes / 2, coefficients);
            from += kGroupBytes;
            to += kStoredGroupBytes;
        }
    };
    const GroupLayout layout = {kGroupPixels, Pack::kBytesPerPixel, kGroupBytes};
    WalkRowsWithinFrame(src, srcRowBytes, dst, dstRowBytes, width, height, layout, convertGroups);
    EndStreams();
}

using VideoV210Layout = V210Layout<YUVLevels<4, 64, 1023, 512>>;

template <typename Source>
void CreateFromBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                    int height, const TransformMatrix& matrix) {
    const RGBToYUVCoefficients coefficients(matrix);
    const ptrdiff_t groups = WholeSteps(width, kYUVGroupPixels) / kYUVGroupPixels;
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, [&](const char* from, char* to) {
        ConvertGroupsToYUV<Source, VideoV210Layout>(from, to, groups, coefficients);
    });
}

}  // namespace

void v210::VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                             int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<PlanarPack8u>(src, srcRowBytes, dst, dstRowBytes, width, height, *matrix);
}

void v210::VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<PlanarPack16u, 128, 136>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                           *matrix);
}

void v210::VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<PlanarPack32f, 168, 176>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                           *matrix);
}

void v210::VectorCreateFrom8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA8uSource<AlignedSource, 288>>(src, srcRowBytes, dst, dstRowBytes, width,
                                                     height, *matrix);
}

void v210::VectorCreateFrom8uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA8uSource<MisalignedSource, 384>>(src, srcRowBytes, dst, dstRowBytes, width,
                                                        height, *matrix);
}

void v210::VectorCreateFrom16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA16uSource<AlignedSource, 416>>(src, srcRowBytes, dst, dstRowBytes, width,
                                                      height, *matrix);
}

void v210::VectorCreateFrom32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA32fSource<AlignedSource, 736, 768>>(src, srcRowBytes, dst, dstRowBytes,
                                                           width, height, *matrix);
}

}  // namespace KVX::Converter::Video
