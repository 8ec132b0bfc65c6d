#include <tmmintrin.h>

#include "convert/video/r210.h"
#include "convert/video/rgb_to_yuv.h"
#include "convert/video/row_walk.h"
#include "convert/video/vector_memory.h"
#include "convert/video/vectors.h"
#include "convert/video/yuv_layouts.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kSourceBytes = 4;  // of a pixel
constexpr int kStepPixels = 8;

constexpr int kBlack = 64;
constexpr int kWhite = 940;
constexpr int kSpan = kWhite - kBlack;

// Bytes 0 and 1 of the big-endian pixel, swapped, have R in bits 13-4, bytes 1 and 2 have G in bits
// 11-2, bytes 2 and 3 have B in bits 9-0; around them are unused bits and bits of the neighbours.
constexpr int kRawShiftR = 4;
constexpr int kRawShiftG = 2;
constexpr int kRawMaskR = 0x3FF << kRawShiftR;
constexpr int kRawMaskG = 0x3FF << kRawShiftG;
constexpr int kRawMaskB = 0x3FF;

// Vector white is one level below scalar white in 8u and in 16u: 254 and 32767.
struct To8u {
    static constexpr int kBytesPerPixel = 4;

    template <typename Source>
    static KVX_ALWAYS_INLINE void Convert(const char* from, char* to) {
        const __m128i low = Source::Load(from);
        const __m128i high = Source::Load(from + 16);
        // Packing raises what is below black to 0, and what is above white does not pass 255.
        const __m128i br = _mm_min_epu8(_mm_packus_epi16(ScaleBR(low), ScaleBR(high)),
                                        _mm_set1_epi8(static_cast<char>(kWhite8u)));
        const __m128i ga =
            _mm_or_si128(ScaleG(low, high), _mm_set1_epi16(static_cast<short>(0xFF00)));
        Stream(to, _mm_unpacklo_epi8(br, ga));
        Stream(to + 16, _mm_unpackhi_epi8(br, ga));
    }

  private:
    // 19077 / 65536 of the levels above black. No factor of 16 bits gives the same from a level
    // that is moved up in its word, so that R and G have to come down to bit 0 first.
    static constexpr int kScale = 19077;
    static constexpr int kWhite8u = 254;

    // B and R of four pixels in turn, without limits: from -19 to 279. All that is above a
    // component goes with the multiplication, all that is below it with the shift.
    static KVX_ALWAYS_INLINE __m128i ScaleBR(__m128i pixels) {
        constexpr int kRoomB = 6;
        constexpr int kRoomR = kRoomB - kRawShiftR;
        const __m128i words = _mm_shuffle_epi8(
            pixels, _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
        const __m128i highest =
            _mm_mullo_epi16(words, _mm_set1_epi32(1 << kRoomR << 16 | 1 << kRoomB));
        const __m128i levels = _mm_srli_epi16(highest, kRoomB);
        return _mm_mulhi_epi16(_mm_sub_epi16(levels, _mm_set1_epi16(kBlack)),
                               _mm_set1_epi16(kScale));
    }

    // G of eight pixels, from 0 to kWhite8u.
    static KVX_ALWAYS_INLINE __m128i ScaleG(__m128i low, __m128i high) {
        const __m128i kLow =
            _mm_setr_epi8(2, 1, 6, 5, 10, 9, 14, 13, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m128i kHigh =
            _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 2, 1, 6, 5, 10, 9, 14, 13);
        const __m128i words =
            _mm_or_si128(_mm_shuffle_epi8(low, kLow), _mm_shuffle_epi8(high, kHigh));
        const __m128i times4 = _mm_subs_epu16(_mm_and_si128(words, _mm_set1_epi16(kRawMaskG)),
                                              _mm_set1_epi16(kBlack << kRawShiftG));
        const __m128i scaled =
            _mm_mulhi_epu16(_mm_srli_epi16(times4, kRawShiftG), _mm_set1_epi16(kScale));
        return _mm_min_epi16(scaled, _mm_set1_epi16(kWhite8u));
    }
};

KVX_ALWAYS_INLINE __m128i BGRAWords(int b, int g, int r, int a) {
    const auto word = [](int value) { return static_cast<short>(value); };
    return _mm_setr_epi16(word(b), word(g), word(r), word(a), word(b), word(g), word(r), word(a));
}

KVX_ALWAYS_INLINE __m128i BGRAWords(int colour, int a) {
    return BGRAWords(colour, colour, colour, a);
}

// Two pixels in each vector, in words B, G, R and A, as the host has them: levels above black times
// 64, from 0 to kSpan times 64. A is kOpaqueWord, which becomes opaque by factors of its own.
constexpr int kVectors = kStepPixels / 2;
constexpr int kOpaqueWord = 0x8000;

// A processor takes words' minima four a cycle, but saturating sums no faster than products and in
// the same units: there is one of them, for the lower limit.
template <typename Source>
KVX_ALWAYS_INLINE Vectors<kVectors> LoadLevelsTimes64(const char* from) {
    constexpr int kScale = 64;
    const auto words = MakeVectors<kVectors>([from](auto i) {
        const __m128i kLow = _mm_setr_epi8(3, 2, 2, 1, 1, 0, -1, -1, 7, 6, 6, 5, 5, 4, -1, -1);
        const __m128i kHigh =
            _mm_setr_epi8(11, 10, 10, 9, 9, 8, -1, -1, 15, 14, 14, 13, 13, 12, -1, -1);
        return _mm_shuffle_epi8(Source::Load(from + 16 * (i / 2)), i % 2 == 0 ? kLow : kHigh);
    });
    const auto raw = ForEach(words, [](__m128i word) {
        return _mm_and_si128(word, BGRAWords(kRawMaskB, kRawMaskG, kRawMaskR, 0));
    });
    // The least of all signed words is a minimum by itself.
    const auto limited = ForEach(raw, [](__m128i level) {
        return _mm_min_epi16(
            level, BGRAWords(kWhite, kWhite << kRawShiftG, kWhite << kRawShiftR, kOpaqueWord));
    });
    const auto aboveBlack = ForEach(limited, [](__m128i level) {
        return _mm_subs_epu16(level,
                              BGRAWords(kBlack, kBlack << kRawShiftG, kBlack << kRawShiftR, 0));
    });
    return ForEach(aboveBlack, [](__m128i level) {
        return _mm_mullo_epi16(level,
                               BGRAWords(kScale, kScale >> kRawShiftG, kScale >> kRawShiftR, 1));
    });
}

struct To16u {
    static constexpr int kBytesPerPixel = 8;

    // t x 37 + t / 4 + t / 8 + t / 32, each quotient truncated, from t x 64. The first two terms
    // are t x 149 / 4 truncated once, the last two (t / 8) x 5 / 4. A is had as 0x7FFF and 1.
    template <typename Source>
    static KVX_ALWAYS_INLINE void Convert(const char* from, char* to) {
        const auto levels = LoadLevelsTimes64<Source>(from);
        const auto eighths = ForEach(
            levels, [](__m128i level) { return _mm_and_si128(level, BGRAWords(0xFE00, 0xFE00)); });
        const auto first = ForEach(levels, [](__m128i level) {
            return _mm_mulhi_epu16(level, BGRAWords(149 << 8, 0xFFFF));
        });
        const auto second = ForEach(
            eighths, [](__m128i eighth) { return _mm_mulhi_epu16(eighth, BGRAWords(5 << 5, 2)); });
        StreamAll(to, MakeVectors<kVectors>(
                          [&](auto i) { return _mm_add_epi16(first.v[i], second.v[i]); }));
    }
};

struct To32f {
    static constexpr int kBytesPerPixel = 16;

    // Multiplied by 1 / (876 x 19), t x 19 meets the correctly rounded t / 876 for every t from 0
    // to kSpan, which 1 / 876 does not; a division takes several times as long.
    template <typename Source>
    static KVX_ALWAYS_INLINE void Convert(const char* from, char* to) {
        constexpr int kFactor = 19;
        constexpr int kOne = kSpan * kFactor;
        const auto enlarged = ForEach(LoadLevelsTimes64<Source>(from), [](__m128i level) {
            return _mm_mulhi_epu16(level,
                                   BGRAWords(kFactor << (16 - 6), kOne * 0x10000 / kOpaqueWord));
        });
        const __m128i zero = _mm_setzero_si128();
        StreamAll(
            to, MakeVectors<kStepPixels>([&](auto i) {
                const __m128i two = enlarged.v[i / 2];
                const __m128i one =
                    i % 2 == 0 ? _mm_unpacklo_epi16(two, zero) : _mm_unpackhi_epi16(two, zero);
                return _mm_castps_si128(_mm_mul_ps(_mm_cvtepi32_ps(one), _mm_set1_ps(1.0f / kOne)));
            }));
    }
};

template <typename Source, int kPrefetchDistance, typename Finish>
void ConvertToBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height) {
    const ptrdiff_t written = WholeSteps(width, kStepPixels) * Finish::kBytesPerPixel;
    StreamRowsTurnedOver(src, srcRowBytes, dst, dstRowBytes, height, written,
                         [width](const char* from, char* to) {
                             for (int x = 0; x < width; x += kStepPixels) {
                                 PrefetchAhead<Source, kPrefetchDistance>(from);
                                 Finish::template Convert<Source>(from, to);
                                 from += kStepPixels * kSourceBytes;
                                 to += kStepPixels * Finish::kBytesPerPixel;
                             }
                         });
    EndStreams();
}

// r210 as a source of ConvertGroupsToYUV. The components keep their black at 64: studio RGB makes
// studio YUV.
template <typename Memory, typename SourceArithmetic>
struct YUVSource {
    using Arithmetic = SourceArithmetic;
    static constexpr int kBytesPerPixel = kSourceBytes;

    static KVX_ALWAYS_INLINE void PrefetchGroup(const char*) {}

    static KVX_ALWAYS_INLINE RGBWords LoadEight(const char* from) {
        const __m128i low = Memory::Load(from);
        const __m128i high = Memory::Load(from + 16);
        const __m128i kR = _mm_setr_epi8(1, 0, 5, 4, 9, 8, 13, 12, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m128i r = _mm_unpacklo_epi64(_mm_shuffle_epi8(low, kR), _mm_shuffle_epi8(high, kR));
        return {{LoadBG(low), LoadBG(high)}, _mm_and_si128(r, _mm_set1_epi16(kRawMaskR))};
    }

  private:
    // Both components moved to bits 13-4, where R is already, times the arithmetic's factor.
    static KVX_ALWAYS_INLINE __m128i LoadBG(__m128i pixels) {
        const __m128i kBG = _mm_setr_epi8(3, 2, 2, 1, 7, 6, 6, 5, 11, 10, 10, 9, 15, 14, 14, 13);
        const __m128i components = _mm_and_si128(_mm_shuffle_epi8(pixels, kBG),
                                                 _mm_set1_epi32(kRawMaskG << 16 | kRawMaskB));
        constexpr int kFactorB = Arithmetic::kBGFactor << kRawShiftR;
        constexpr int kFactorG = Arithmetic::kBGFactor << (kRawShiftR - kRawShiftG);
        return _mm_mullo_epi16(components, _mm_set1_epi32(kFactorG << 16 | kFactorB));
    }
};

using StudioV210Layout = V210Layout<YUVLevels<4, 0, 1023, 512>>;

template <typename Memory>
long ConvertToV210(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const TransformMatrix& matrix) {
    const RGBToYUVCoefficients coefficients(matrix);
    const ptrdiff_t groups = WholeSteps(width, kYUVGroupPixels) / kYUVGroupPixels;
    const auto convertFrame = [&](auto arithmetic) {
        using Source = YUVSource<Memory, decltype(arithmetic)>;
        WalkRows(src, srcRowBytes, dst, dstRowBytes, height, [&](const char* from, char* to) {
            ConvertGroupsToYUV<Source, StudioV210Layout>(from, to, groups, coefficients);
        });
    };
    if (NarrowArithmetic::Fits(coefficients)) {
        convertFrame(NarrowArithmetic());
    } else {
        convertFrame(WideArithmetic());
    }
    return 0;
}

// B, G and R of pixels in words, to r210's little-endian reading: each part of a component goes to
// its place by itself.
KVX_ALWAYS_INLINE __m128i PackWords(__m128i b, __m128i g, __m128i r) {
    const auto mask = [](__m128i value, int bits) {
        return _mm_and_si128(value, _mm_set1_epi32(bits));
    };
    const __m128i fromR = _mm_or_si128(_mm_srli_epi32(r, 4), mask(_mm_slli_epi32(r, 12), 0xF000));
    const __m128i fromG =
        _mm_or_si128(mask(_mm_slli_epi32(g, 2), 0xF00), mask(_mm_slli_epi32(g, 18), 0xFC0000));
    const __m128i fromB = _mm_or_si128(_mm_slli_epi32(b, 24), mask(_mm_slli_epi32(b, 8), 0x30000));
    return _mm_or_si128(_mm_or_si128(fromR, fromG), fromB);
}

// 16-bit levels of four pixels, B G R A each, two pixels in a register, to four r210 words.
KVX_ALWAYS_INLINE __m128i PackFour(__m128i low, __m128i high) {
    const __m128 lowFloats = _mm_castsi128_ps(low);
    const __m128 highFloats = _mm_castsi128_ps(high);
    const __m128i bg =
        _mm_castps_si128(_mm_shuffle_ps(lowFloats, highFloats, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i ra =
        _mm_castps_si128(_mm_shuffle_ps(lowFloats, highFloats, _MM_SHUFFLE(3, 1, 3, 1)));
    const __m128i lowWord = _mm_set1_epi32(0xFFFF);
    return PackWords(_mm_and_si128(bg, lowWord), _mm_srli_epi32(bg, 16),
                     _mm_and_si128(ra, lowWord));
}

KVX_ALWAYS_INLINE __m128i AddBlack(__m128i level) {
    return _mm_add_epi16(level, _mm_set1_epi16(kBlack));
}

constexpr int kScale16u = 1752;  // 876 x 65536 / 32768

struct From8u {
    static constexpr int kBytesPerPixel = 4;
    static constexpr int kPixels = 8;

    // The addend makes every byte meet the level that the scalar table has for it.
    static KVX_ALWAYS_INLINE __m128i Scale(__m128i words) {
        const __m128i scaled = _mm_add_epi16(_mm_slli_epi16(words, 7), _mm_set1_epi16(19));
        return AddBlack(_mm_mulhi_epu16(scaled, _mm_set1_epi16(kScale16u)));
    }

    template <typename Source>
    static KVX_ALWAYS_INLINE void Store(char* to, const char* from) {
        const __m128i zero = _mm_setzero_si128();
        for (int i = 0; i < 2; ++i) {
            const __m128i four = Source::Load(from + 16 * i);
            Stream(to + 16 * i, PackFour(Scale(_mm_unpacklo_epi8(four, zero)),
                                         Scale(_mm_unpackhi_epi8(four, zero))));
        }
    }
};

struct From16u {
    static constexpr int kBytesPerPixel = 8;
    static constexpr int kPixels = 4;

    // Truncates where the scalar table rounds.
    static KVX_ALWAYS_INLINE __m128i Scale(__m128i words) {
        return AddBlack(_mm_mulhi_epu16(words, _mm_set1_epi16(kScale16u)));
    }

    template <typename Source>
    static KVX_ALWAYS_INLINE void Store(char* to, const char* from) {
        Stream(to, PackFour(Scale(Source::Load(from)), Scale(Source::Load(from + 16))));
    }
};

struct From32f {
    static constexpr int kBytesPerPixel = 16;
    static constexpr int kPixels = 4;

    static KVX_ALWAYS_INLINE __m128i Scale(__m128i pixel) {
        const __m128 limited =
            _mm_min_ps(_mm_max_ps(_mm_castsi128_ps(pixel), _mm_setzero_ps()), _mm_set1_ps(1.0f));
        const __m128i level = _mm_cvtps_epi32(_mm_mul_ps(limited, _mm_set1_ps(876.0f)));
        return _mm_add_epi32(level, _mm_set1_epi32(kBlack));
    }

    template <typename Source>
    static KVX_ALWAYS_INLINE void Store(char* to, const char* from) {
        const __m128i low =
            _mm_packs_epi32(Scale(Source::Load(from)), Scale(Source::Load(from + 16)));
        const __m128i high =
            _mm_packs_epi32(Scale(Source::Load(from + 32)), Scale(Source::Load(from + 48)));
        Stream(to, PackFour(low, high));
    }
};

template <typename Source, typename Start, int... kPrefetchDistances>
void CreateFromBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                    int height) {
    const ptrdiff_t written = WholeSteps(width, Start::kPixels) * kSourceBytes;
    StreamRowsTurnedOver(src, srcRowBytes, dst, dstRowBytes, height, written,
                         [width](const char* from, char* to) {
                             for (int x = 0; x < width; x += Start::kPixels) {
                                 PrefetchAhead<Source, kPrefetchDistances...>(from);
                                 Start::template Store<Source>(to, from);
                                 from += Start::kPixels * Start::kBytesPerPixel;
                                 to += Start::kPixels * kSourceBytes;
                             }
                         });
    EndStreams();
}

}  // namespace

void r210::VectorConvertTo8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                             int width, int height) {
    ConvertToBGRA<AlignedSource, 256, To8u>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

void r210::VectorConvertTo8uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                   int width, int height) {
    ConvertToBGRA<MisalignedSource, 224, To8u>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

void r210::VectorConvertTo16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height) {
    ConvertToBGRA<AlignedSource, 128, To16u>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

void r210::VectorConvertTo16uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height) {
    ConvertToBGRA<MisalignedSource, 192, To16u>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

void r210::VectorConvertTo32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height) {
    ConvertToBGRA<AlignedSource, 96, To32f>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

long r210::VectorConvertToV210(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height, TransformMatrix* matrix) {
    return ConvertToV210<AlignedSource>(src, srcRowBytes, dst, dstRowBytes, width, height, *matrix);
}

long r210::VectorConvertToV210MisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                     int width, int height, TransformMatrix* matrix) {
    return ConvertToV210<MisalignedSource>(src, srcRowBytes, dst, dstRowBytes, width, height,
                                           *matrix);
}

void r210::VectorCreateFrom8u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                              int width, int height) {
    CreateFromBGRA<AlignedSource, From8u, 192>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

void r210::VectorCreateFrom8uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                    int width, int height) {
    CreateFromBGRA<MisalignedSource, From8u, 160>(src, srcRowBytes, dst, dstRowBytes, width,
                                                  height);
}

void r210::VectorCreateFrom16u(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height) {
    CreateFromBGRA<AlignedSource, From16u, 416>(src, srcRowBytes, dst, dstRowBytes, width, height);
}

void r210::VectorCreateFrom16uMisSrc(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                                     int width, int height) {
    CreateFromBGRA<MisalignedSource, From16u, 224>(src, srcRowBytes, dst, dstRowBytes, width,
                                                   height);
}

void r210::VectorCreateFrom32f(const char* src, int srcRowBytes, char* dst, int dstRowBytes,
                               int width, int height) {
    CreateFromBGRA<AlignedSource, From32f, 480, 512>(src, srcRowBytes, dst, dstRowBytes, width,
                                                     height);
}

}  // namespace KVX::Converter::Video
