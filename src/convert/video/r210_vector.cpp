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
        const Integers low = Source::Load(from);
        const Integers high = Source::Load(from + 16);
        // Packing raises what is below black to 0, and what is above white does not pass 255.
        const Integers br = MinUnsignedBytes(PackWordsToUnsignedBytes(ScaleBR(low), ScaleBR(high)),
                                             EveryByte(kWhite8u));
        const Integers ga = Or(ScaleG(low, high), EveryWord(0xFF00));
        Stream(to, InterleaveLowBytes(br, ga));
        Stream(to + 16, InterleaveHighBytes(br, ga));
    }

  private:
    // 19077 / 65536 of the levels above black. No factor of 16 bits gives the same from a level
    // that is moved up in its word, so that R and G have to come down to bit 0 first.
    static constexpr int kScale = 19077;
    static constexpr int kWhite8u = 254;

    // B and R of four pixels, interleaved and not clamped: from -19 to 279. All that is above a
    // component goes with the multiplication, all that is below it with the shift.
    static KVX_ALWAYS_INLINE Integers ScaleBR(Integers pixels) {
        constexpr int kRoomB = 6;
        constexpr int kRoomR = kRoomB - kRawShiftR;
        const Integers words =
            ShuffleBytes(pixels, MakeBytes(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
        const Integers highest =
            MultiplyWordsLow(words, EveryDword(1 << kRoomR << 16 | 1 << kRoomB));
        const Integers levels = ShiftUnsignedWordsRight<kRoomB>(highest);
        return MultiplyWordsHigh(SubtractWords(levels, EveryWord(kBlack)), EveryWord(kScale));
    }

    // G of eight pixels, from 0 to kWhite8u.
    static KVX_ALWAYS_INLINE Integers ScaleG(Integers low, Integers high) {
        const Integers kLow = MakeBytes(2, 1, 6, 5, 10, 9, 14, 13, -1, -1, -1, -1, -1, -1, -1, -1);
        const Integers kHigh = MakeBytes(-1, -1, -1, -1, -1, -1, -1, -1, 2, 1, 6, 5, 10, 9, 14, 13);
        const Integers words = Or(ShuffleBytes(low, kLow), ShuffleBytes(high, kHigh));
        const Integers times4 = SubtractSaturatingUnsignedWords(And(words, EveryWord(kRawMaskG)),
                                                                EveryWord(kBlack << kRawShiftG));
        const Integers scaled = MultiplyUnsignedWordsHigh(
            ShiftUnsignedWordsRight<kRawShiftG>(times4), EveryWord(kScale));
        return MinWords(scaled, EveryWord(kWhite8u));
    }
};

KVX_ALWAYS_INLINE Integers BGRAWords(int b, int g, int r, int a) {
    const auto word = [](int value) { return static_cast<short>(value); };
    return MakeWords(word(b), word(g), word(r), word(a), word(b), word(g), word(r), word(a));
}

KVX_ALWAYS_INLINE Integers BGRAWords(int colour, int a) {
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
        const Integers kLow = MakeBytes(3, 2, 2, 1, 1, 0, -1, -1, 7, 6, 6, 5, 5, 4, -1, -1);
        const Integers kHigh =
            MakeBytes(11, 10, 10, 9, 9, 8, -1, -1, 15, 14, 14, 13, 13, 12, -1, -1);
        return ShuffleBytes(Source::Load(from + 16 * (i / 2)), i % 2 == 0 ? kLow : kHigh);
    });
    const auto raw = ForEach(words, [](Integers word) {
        return And(word, BGRAWords(kRawMaskB, kRawMaskG, kRawMaskR, 0));
    });
    // The least of all signed words is a minimum by itself.
    const auto limited = ForEach(raw, [](Integers level) {
        return MinWords(level,
                        BGRAWords(kWhite, kWhite << kRawShiftG, kWhite << kRawShiftR, kOpaqueWord));
    });
    const auto aboveBlack = ForEach(limited, [](Integers level) {
        return SubtractSaturatingUnsignedWords(
            level, BGRAWords(kBlack, kBlack << kRawShiftG, kBlack << kRawShiftR, 0));
    });
    return ForEach(aboveBlack, [](Integers level) {
        return MultiplyWordsLow(level,
                                BGRAWords(kScale, kScale >> kRawShiftG, kScale >> kRawShiftR, 1));
    });
}

struct To16u {
    static constexpr int kBytesPerPixel = 8;

    // t x 37 + t / 4 + t / 8 + t / 32, each quotient truncated, from t x 64. The first two terms
    // are t x 149 / 4 truncated once, the last two (t / 8) x 5 / 4. A is made as 0x7FFF plus 1.
    template <typename Source>
    static KVX_ALWAYS_INLINE void Convert(const char* from, char* to) {
        const auto levels = LoadLevelsTimes64<Source>(from);
        const auto eighths =
            ForEach(levels, [](Integers level) { return And(level, BGRAWords(0xFE00, 0xFE00)); });
        const auto first = ForEach(levels, [](Integers level) {
            return MultiplyUnsignedWordsHigh(level, BGRAWords(149 << 8, 0xFFFF));
        });
        const auto second = ForEach(eighths, [](Integers eighth) {
            return MultiplyUnsignedWordsHigh(eighth, BGRAWords(5 << 5, 2));
        });
        StreamAll(to,
                  MakeVectors<kVectors>([&](auto i) { return AddWords(first.v[i], second.v[i]); }));
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
        const auto enlarged = ForEach(LoadLevelsTimes64<Source>(from), [](Integers level) {
            return MultiplyUnsignedWordsHigh(
                level, BGRAWords(kFactor << (16 - 6), kOne * 0x10000 / kOpaqueWord));
        });
        const Integers zero = Zero();
        StreamAll(to, MakeVectors<kStepPixels>([&](auto i) {
                      const Integers two = enlarged.v[i / 2];
                      const Integers one = i % 2 == 0 ? InterleaveLowWords(two, zero)
                                                      : InterleaveHighWords(two, zero);
                      return AsIntegers(MultiplyFloats(ToFloats(one), EveryFloat(1.0f / kOne)));
                  }));
    }
};

template <typename Source, int kPrefetchDistance, typename Finish>
void ConvertToBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height) {
    const ptrdiff_t written = WholeSteps(width, kStepPixels) * Finish::kBytesPerPixel;
    StreamRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, written,
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
        const Integers low = Memory::Load(from);
        const Integers high = Memory::Load(from + 16);
        const Integers kR = MakeBytes(1, 0, 5, 4, 9, 8, 13, 12, -1, -1, -1, -1, -1, -1, -1, -1);
        const Integers r = InterleaveLowQwords(ShuffleBytes(low, kR), ShuffleBytes(high, kR));
        return {{LoadBG(low), LoadBG(high)}, And(r, EveryWord(kRawMaskR))};
    }

  private:
    // Both components moved to bits 13-4, where R is already, times the arithmetic's factor.
    static KVX_ALWAYS_INLINE Integers LoadBG(Integers pixels) {
        const Integers kBG = MakeBytes(3, 2, 2, 1, 7, 6, 6, 5, 11, 10, 10, 9, 15, 14, 14, 13);
        const Integers components =
            And(ShuffleBytes(pixels, kBG), EveryDword(kRawMaskG << 16 | kRawMaskB));
        constexpr int kFactorB = Arithmetic::kBGFactor << kRawShiftR;
        constexpr int kFactorG = Arithmetic::kBGFactor << (kRawShiftR - kRawShiftG);
        return MultiplyWordsLow(components, EveryDword(kFactorG << 16 | kFactorB));
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
KVX_ALWAYS_INLINE Integers PackWords(Integers b, Integers g, Integers r) {
    const auto mask = [](Integers value, int bits) { return And(value, EveryDword(bits)); };
    const Integers fromR = Or(ShiftUnsignedDwordsRight<4>(r), mask(ShiftDwordsLeft<12>(r), 0xF000));
    const Integers fromG =
        Or(mask(ShiftDwordsLeft<2>(g), 0xF00), mask(ShiftDwordsLeft<18>(g), 0xFC0000));
    const Integers fromB = Or(ShiftDwordsLeft<24>(b), mask(ShiftDwordsLeft<8>(b), 0x30000));
    return Or(Or(fromR, fromG), fromB);
}

// 16-bit levels of four pixels, B G R A each, two pixels in a register, to four r210 words.
KVX_ALWAYS_INLINE Integers PackFour(Integers low, Integers high) {
    const Integers bg = TakeDwords<0, 2, 0, 2>(low, high);
    const Integers ra = TakeDwords<1, 3, 1, 3>(low, high);
    const Integers lowWord = EveryDword(0xFFFF);
    return PackWords(And(bg, lowWord), ShiftUnsignedDwordsRight<16>(bg), And(ra, lowWord));
}

KVX_ALWAYS_INLINE Integers AddBlack(Integers level) {
    return AddWords(level, EveryWord(kBlack));
}

constexpr int kScale16u = 1752;  // 876 x 65536 / 32768

struct From8u {
    static constexpr int kBytesPerPixel = 4;
    static constexpr int kPixels = 8;

    // The addend makes every byte meet the level that the scalar table has for it.
    static KVX_ALWAYS_INLINE Integers Scale(Integers words) {
        const Integers scaled = AddWords(ShiftWordsLeft<7>(words), EveryWord(19));
        return AddBlack(MultiplyUnsignedWordsHigh(scaled, EveryWord(kScale16u)));
    }

    template <typename Source>
    static KVX_ALWAYS_INLINE void Store(char* to, const char* from) {
        const Integers zero = Zero();
        for (int i = 0; i < 2; ++i) {
            const Integers four = Source::Load(from + 16 * i);
            Stream(to + 16 * i, PackFour(Scale(InterleaveLowBytes(four, zero)),
                                         Scale(InterleaveHighBytes(four, zero))));
        }
    }
};

struct From16u {
    static constexpr int kBytesPerPixel = 8;
    static constexpr int kPixels = 4;

    // Truncates where the scalar table rounds.
    static KVX_ALWAYS_INLINE Integers Scale(Integers words) {
        return AddBlack(MultiplyUnsignedWordsHigh(words, EveryWord(kScale16u)));
    }

    template <typename Source>
    static KVX_ALWAYS_INLINE void Store(char* to, const char* from) {
        Stream(to, PackFour(Scale(Source::Load(from)), Scale(Source::Load(from + 16))));
    }
};

struct From32f {
    static constexpr int kBytesPerPixel = 16;
    static constexpr int kPixels = 4;

    static KVX_ALWAYS_INLINE Integers Scale(Integers pixel) {
        const Floats limited =
            MinFloats(MaxFloats(AsFloats(pixel), ZeroFloats()), EveryFloat(1.0f));
        const Integers level = RoundToDwords(MultiplyFloats(limited, EveryFloat(876.0f)));
        return AddDwords(level, EveryDword(kBlack));
    }

    template <typename Source>
    static KVX_ALWAYS_INLINE void Store(char* to, const char* from) {
        const Integers low =
            PackDwordsToWords(Scale(Source::Load(from)), Scale(Source::Load(from + 16)));
        const Integers high =
            PackDwordsToWords(Scale(Source::Load(from + 32)), Scale(Source::Load(from + 48)));
        Stream(to, PackFour(low, high));
    }
};

template <typename Source, typename Start, int... kPrefetchDistances>
void CreateFromBGRA(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                    int height) {
    const ptrdiff_t written = WholeSteps(width, Start::kPixels) * kSourceBytes;
    StreamRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, written,
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
