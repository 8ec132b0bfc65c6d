#include <tmmintrin.h>

#include "convert/video/bgra_source.h"
#include "convert/video/pack.h"
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

// Two pairs of pixels as U Y0 V Y1 U Y0 V Y1, less their black. A sample stands in the low, middle
// or high third of its 32-bit word; the two bytes that hold it are shuffled into place and moved to
// the top of a 16-bit word, which pushes out what is above it, and back.
__m128i TakeRun(__m128i words, __m128i bytes, __m128i factors) {
    const __m128i atTop = _mm_mullo_epi16(_mm_shuffle_epi8(words, bytes), factors);
    return _mm_sub_epi16(_mm_srli_epi16(atTop, 6),
                         _mm_setr_epi16(512, 64, 512, 64, 512, 64, 512, 64));
}

constexpr short kLow = 1 << 6;
constexpr short kMiddle = 1 << 4;
constexpr short kHigh = 1 << 2;

__m128i LoadWords(const char* from) {
    return MisalignedSource::Load(from);
}

// Six pairs from eight words.
template <typename Pack>
void ConvertTwelve(const char* from, char* to, const Coefficients& coefficients) {
    const __m128i first =
        TakeRun(LoadWords(from), _mm_setr_epi8(0, 1, 1, 2, 2, 3, 4, 5, 5, 6, 6, 7, 8, 9, 9, 10),
                _mm_setr_epi16(kLow, kMiddle, kHigh, kLow, kMiddle, kHigh, kLow, kMiddle));
    // Words 2 to 5: the third pair of a block and the first of the next.
    const __m128i second = TakeRun(
        LoadWords(from + 8), _mm_setr_epi8(2, 3, 4, 5, 5, 6, 6, 7, 8, 9, 9, 10, 10, 11, 12, 13),
        _mm_setr_epi16(kHigh, kLow, kMiddle, kHigh, kLow, kMiddle, kHigh, kLow));
    // Words 4 to 7: the other two pairs of that block.
    const __m128i third =
        TakeRun(LoadWords(from + 16),
                _mm_setr_epi8(5, 6, 6, 7, 8, 9, 9, 10, 10, 11, 12, 13, 13, 14, 14, 15),
                _mm_setr_epi16(kMiddle, kHigh, kLow, kMiddle, kHigh, kLow, kMiddle, kHigh));
    Pack::Store(to, coefficients.Sum(first));
    Pack::Store(to + 4 * Pack::kBytesPerPixel, coefficients.Sum(second));
    Pack::Store(to + 8 * Pack::kBytesPerPixel, coefficients.Sum(third));
}

template <typename Pack, int... kPrefetchDistances>
void ConvertToBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const TransformMatrix& matrix) {
    const Coefficients coefficients(matrix);
    const GroupLayout layout = {kGroupPixels, Pack::kBytesPerPixel, kGroupBytes};
    WalkRowsWithinFrame(src, srcRowBytes, dst, dstRowBytes, width, height, layout,
                        [&](const char* from, char* to, ptrdiff_t groups) {
                            for (ptrdiff_t group = 0; group < groups; ++group) {
                                (MisalignedSource::Prefetch(from + kPrefetchDistances), ...);
                                ConvertTwelve<Pack>(from, to, coefficients);
                                ConvertTwelve<Pack>(from + kGroupBytes / 2,
                                                    to + 12 * Pack::kBytesPerPixel, coefficients);
                                from += kGroupBytes;
                                to += kGroupPixels * Pack::kBytesPerPixel;
                            }
                        });
    EndStreams();
}

using VideoV210Layout = V210Layout<YUVLevels<4, 64, 1023, 512>>;

template <typename Source>
void CreateFromBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                    int height, const TransformMatrix& matrix) {
    const RGBToYUVCoefficients coefficients(matrix);
    const ptrdiff_t groups =
        (static_cast<ptrdiff_t>(width) + kYUVGroupPixels - 1) / kYUVGroupPixels;
    WalkRowsTurnedOver(src, srcRowBytes, dst, dstRowBytes, height, [&](const char* from, char* to) {
        ConvertGroupsToYUV<Source, VideoV210Layout>(from, to, groups, coefficients);
    });
}

}  // namespace

void v210::VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                             int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<Pack8u>(src, srcRowBytes, dst, dstRowBytes, width, height, *matrix);
}

void v210::VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<Pack16u, 128, 136>(src, srcRowBytes, dst, dstRowBytes, width, height, *matrix);
}

void v210::VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height, TransformMatrix* matrix) {
    ConvertToBGRA<Pack32f, 168, 176>(src, srcRowBytes, dst, dstRowBytes, width, height, *matrix);
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
