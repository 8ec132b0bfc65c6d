#include "convert/video/bgra_source.h"
#include "convert/video/pack.h"
#include "convert/video/planar_yuv.h"
#include "convert/video/rgb_to_yuv.h"
#include "convert/video/row_walk.h"
#include "convert/video/uyvy.h"
#include "convert/video/vector_memory.h"
#include "convert/video/yuv_layouts.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kStepPixels = kPlanarPixels;
constexpr int kStepBytes = 2 * kStepPixels;

KVX_ALWAYS_INLINE Integers LessBlack(Integers words) {
    return AddWords(words, MakeWords(-128, -16, -128, -16, -128, -16, -128, -16));
}

// A step as planes: bytes U Y0 and V Y1 are words, of which each kind is gathered first.
template <typename Source>
KVX_ALWAYS_INLINE PlanarYUV LoadPlanes(const char* from) {
    const Integers kSplit = MakeBytes(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
    const Integers low = ShuffleBytes(Source::Load(from), kSplit);
    const Integers high = ShuffleBytes(Source::Load(from + 16), kSplit);
    const Integers uy = InterleaveLowQwords(low, high);
    const Integers vy = InterleaveHighQwords(low, high);
    const auto chroma = [](Integers words) {
        return Xor(ShiftWordsLeft<8>(words), EveryWord(0x8000));
    };
    const auto luma = [](Integers words) {
        const Integers times128 = And(ShiftUnsignedWordsRight<1>(words), EveryWord(0x7F80));
        return SubtractWords(times128, EveryWord(16 << 7));
    };
    return {chroma(uy), chroma(vy), luma(uy), luma(vy)};
}

template <typename Source, int kPrefetchDistance, typename PlanarPack>
KVX_ALWAYS_INLINE void ConvertRowInPlanes(const char* from, char* to, ptrdiff_t steps,
                                          const PlanarCoefficients& coefficients) {
    constexpr ptrdiff_t kStoredBytes = kStepPixels * PlanarPack::Pack::kBytesPerPixel;
    for (; steps > 0; --steps) {
        PrefetchAhead<Source, kPrefetchDistance>(from);
        PlanarPack::Store(to, coefficients.Sum<PlanarPack::kSaturates>(LoadPlanes<Source>(from)));
        from += kStepBytes;
        to += kStoredBytes;
    }
}

// For any matrix.
template <typename Source, int kPrefetchDistance, typename Pack>
KVX_ALWAYS_INLINE void ConvertRow(const char* from, char* to, ptrdiff_t steps,
                                  const YUVToRGBCoefficients<8>& coefficients) {
    const Integers zero = Zero();
    for (; steps > 0; --steps) {
        PrefetchAhead<Source, kPrefetchDistance>(from);
        for (int half = 0; half < 2; ++half) {
            const Integers bytes = Source::Load(from + 16 * half);
            Pack::Store(to, coefficients.Sum(LessBlack(InterleaveLowBytes(bytes, zero))));
            to += 4 * Pack::kBytesPerPixel;
            Pack::Store(to, coefficients.Sum(LessBlack(InterleaveHighBytes(bytes, zero))));
            to += 4 * Pack::kBytesPerPixel;
        }
        from += kStepBytes;
    }
}

template <typename Source, int kPrefetchDistance, typename PlanarPack>
void ConvertToBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const TransformMatrix& matrix) {
    using Pack = typename PlanarPack::Pack;
    const ptrdiff_t pixels = WholeSteps(width, kStepPixels);
    const auto convertFrame = [=](const auto& convertRow) {
        StreamRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, pixels * Pack::kBytesPerPixel,
                          convertRow);
        EndStreams();
    };
    const ptrdiff_t steps = pixels / kStepPixels;
    const PlanarCoefficients planar(matrix);
    if (planar.Fits()) {
        convertFrame([&planar, steps](const char* from, char* to) {
            ConvertRowInPlanes<Source, kPrefetchDistance, PlanarPack>(from, to, steps, planar);
        });
    } else {
        const YUVToRGBCoefficients<8> general(matrix);
        convertFrame([&general, steps](const char* from, char* to) {
            ConvertRow<Source, kPrefetchDistance, Pack>(from, to, steps, general);
        });
    }
}

// The remainder of the last row is read at four times its true offset, from other pixels of the
// frame. Frames made so exist, and this stays.
constexpr int kRemainderOffsetFactor = 4;

template <typename Source>
void CreateFromBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                    int height, const TransformMatrix& matrix) {
    const RGBToYUVCoefficients coefficients(matrix);
    const GroupLayout layout = {kYUVGroupPixels, 2,
                                kRemainderOffsetFactor * kYUVGroupPixels * Source::kBytesPerPixel};
    WalkRowsWithinFrame(src, srcRowBytes, dst, dstRowBytes, width, height, layout,
                        [&](const char* from, char* to, ptrdiff_t groups) {
                            ConvertGroupsToYUV<Source, UYVYLayout>(from, to, groups, coefficients);
                        });
    EndStreams();
}

}  // namespace

void uyvy::VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                             int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<AlignedSource, 192, PlanarPack8u>(src, srcRowBytes, dst, dstRowBytes, width,
                                                    height, *matrix);
}

void uyvy::VectorConvertTo8uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<MisalignedSource, 160, PlanarPack8u>(src, srcRowBytes, dst, dstRowBytes, width,
                                                       height, *matrix);
}

void uyvy::VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<AlignedSource, 160, PlanarPack16u>(src, srcRowBytes, dst, dstRowBytes, width,
                                                     height, *matrix);
}

void uyvy::VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<AlignedSource, 416, PlanarPack32f>(src, srcRowBytes, dst, dstRowBytes, width,
                                                     height, *matrix);
}

void uyvy::VectorCreateFrom8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA8uSource<AlignedSource, 224>>(src, srcRowBytes, dst, dstRowBytes, width,
                                                     height, *matrix);
}

void uyvy::VectorCreateFrom8uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA8uSource<MisalignedSource, 160>>(src, srcRowBytes, dst, dstRowBytes, width,
                                                        height, *matrix);
}

void uyvy::VectorCreateFrom16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA16uSource<AlignedSource, 288>>(src, srcRowBytes, dst, dstRowBytes, width,
                                                      height, *matrix);
}

void uyvy::VectorCreateFrom32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height, TransformMatrix* matrix) {
    CreateFromBGRA<BGRA32fSource<AlignedSource, 224, 256>>(src, srcRowBytes, dst, dstRowBytes,
                                                           width, height, *matrix);
}

}  // namespace KVX::Converter::Video
