#include <tmmintrin.h>

#include "convert/video/bgra_source.h"
#include "convert/video/pack.h"
#include "convert/video/rgb_to_yuv.h"
#include "convert/video/row_walk.h"
#include "convert/video/uyvy.h"
#include "convert/video/vector_memory.h"
#include "convert/video/yuv_layouts.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kStepPixels = 16;
constexpr int kStepBytes = 2 * kStepPixels;

using Coefficients = YUVToRGBCoefficients<8>;

__m128i LessBlack(__m128i words) {
    return _mm_add_epi16(words, _mm_setr_epi16(-128, -16, -128, -16, -128, -16, -128, -16));
}

template <typename Source, int kPrefetchDistance, typename Pack>
void ConvertToBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const TransformMatrix& matrix) {
    const Coefficients coefficients(matrix);
    WalkRowsTurnedOver(src, srcRowBytes, dst, dstRowBytes, height, [&](const char* from, char* to) {
        const __m128i zero = _mm_setzero_si128();
        for (int x = 0; x < width; x += kStepPixels) {
            Source::Prefetch(from + kPrefetchDistance);
            for (int half = 0; half < 2; ++half) {
                const __m128i bytes = Source::Load(from + 16 * half);
                Pack::Store(to, coefficients.Sum(LessBlack(_mm_unpacklo_epi8(bytes, zero))));
                to += 4 * Pack::kBytesPerPixel;
                Pack::Store(to, coefficients.Sum(LessBlack(_mm_unpackhi_epi8(bytes, zero))));
                to += 4 * Pack::kBytesPerPixel;
            }
            from += kStepBytes;
        }
    });
    EndStreams();
}

// The remainder of the last row is taken from four times its true offset: other pixels of the
// frame than its own. Known, and kept as it is.
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
    ConvertToBGRA<AlignedSource, 192, Pack8u>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                              *matrix);
}

void uyvy::VectorConvertTo8uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<MisalignedSource, 160, Pack8u>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                                 *matrix);
}

void uyvy::VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<AlignedSource, 160, Pack16u>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                               *matrix);
}

void uyvy::VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<AlignedSource, 416, Pack32f>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                               *matrix);
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
