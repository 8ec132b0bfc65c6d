// r210 agrees to the bit with plain arithmetic: values, what is written past the width, and which
// routine a whole conversion comes to. The set of all pixels is left to
//     kvx_sweep_tests --gtest_also_run_disabled_tests --gtest_filter='*Exactness*Complete*'
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "convert/oracle/exactness.h"
#include "convert/oracle/naive_frame.h"
#include "convert/oracle/naive_r210.h"
#include "convert/video/r210.h"
#include "premiere/pixel_formats.h"
#include "support/log_capture.h"

namespace {

using namespace KVX::Converter::Video;
using namespace kvx_test::exactness;
namespace model = kvx_test::naive::r210;

constexpr RowSize kR210Row{1, 4};
constexpr RowSize kV210Row{6, 16};
constexpr Needs kAnywhere{1, 1};
constexpr Needs kAligned{16, 16};
constexpr Needs kMisSrc{1, 16};

template <typename T>
constexpr RowSize kHostRow{1, 4 * static_cast<int>(sizeof(T))};

// studio-range RGB to studio-range YUV, typed in apart from the converter's own tables
constexpr float kStudio601[9] = {0.299f, 0.587f, 0.114f,  -0.169f, -0.331f,
                                 0.5f,   0.5f,   -0.419f, -0.081f};
constexpr float kStudio709[9] = {0.2215f, 0.7154f, 0.0721f,  -0.1145f, -0.3855f,
                                 0.5f,    0.5016f, -0.4556f, -0.0459f};

uint32_t BitsOf(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TransformMatrix MatrixOf(const float (&rows)[9]) {
    TransformMatrix matrix{};
    std::memcpy(matrix.mCoefficient, rows, sizeof(rows));
    return matrix;
}

const AlignedBytes& Words() {
    return Noise<unsigned char>();
}

class R210Exactness : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(0, r210::Init(PrPixelFormat_BGRA_4444_8u)); }
};

TEST_F(R210Exactness, Tables) {
    for (int i = 0; i <= 32768; ++i) {
        ASSERT_EQ(model::ScalarLevelOf16u(i), r210::sR210LUT[i]) << i;
    }
    for (int i = 0; i < 1024; ++i) {
        ASSERT_EQ(model::ScalarOfLevel<unsigned char>(i), r210::s8uComponentLUT[i]) << i;
        ASSERT_EQ(model::ScalarOfLevel<unsigned short>(i), r210::s16uComponentLUT[i]) << i;
        ASSERT_EQ(BitsOf(model::ScalarOfLevel<float>(i)), BitsOf(r210::s32fComponentLUT[i])) << i;
    }
}

template <typename T>
Conversion ScalarTo(T* lut) {
    return [lut](const char* s, int sb, char* d, int db, int w, int h) {
        r210::ScalarConvertTo<T>(s, sb, d, db, w, h, lut);
    };
}

TEST_F(R210Exactness, ScalarConvertTo) {
    SweepLayouts(Words(), kR210Row, kHostRow<unsigned char>, kAnywhere,
                 ScalarTo(r210::s8uComponentLUT), model::ScalarConvertTo<unsigned char>);
    SweepLayouts(Words(), kR210Row, kHostRow<unsigned short>, kAnywhere,
                 ScalarTo(r210::s16uComponentLUT), model::ScalarConvertTo<unsigned short>);
    SweepLayouts(Words(), kR210Row, kHostRow<float>, kAnywhere, ScalarTo(r210::s32fComponentLUT),
                 model::ScalarConvertTo<float>);
}

TEST_F(R210Exactness, VectorConvertTo8u) {
    const RowSize row = kHostRow<unsigned char>;
    SweepLayouts(Words(), kR210Row, row, kAligned, r210::VectorConvertTo8u,
                 model::VectorConvertTo<unsigned char>);
    SweepLayouts(Words(), kR210Row, row, kMisSrc, r210::VectorConvertTo8uMisSrc,
                 model::VectorConvertTo<unsigned char>);
}

TEST_F(R210Exactness, VectorConvertTo16u) {
    const RowSize row = kHostRow<unsigned short>;
    SweepLayouts(Words(), kR210Row, row, kAligned, r210::VectorConvertTo16u,
                 model::VectorConvertTo<unsigned short>);
    SweepLayouts(Words(), kR210Row, row, kMisSrc, r210::VectorConvertTo16uMisSrc,
                 model::VectorConvertTo<unsigned short>);
}

TEST_F(R210Exactness, VectorConvertTo32f) {
    SweepLayouts(Words(), kR210Row, kHostRow<float>, kAligned, r210::VectorConvertTo32f,
                 model::VectorConvertTo<float>);
}

TEST_F(R210Exactness, ScalarCreateFrom) {
    SweepLayouts(Noise<unsigned char>(), kHostRow<unsigned char>, kR210Row, kAnywhere,
                 r210::ScalarCreateFrom<unsigned char>, model::ScalarCreateFrom<unsigned char>);
    SweepLayouts(Noise<unsigned short>(), kHostRow<unsigned short>, kR210Row, {2, 1},
                 r210::ScalarCreateFrom<unsigned short>, model::ScalarCreateFrom<unsigned short>);
    SweepLayouts(Noise<float>(), kHostRow<float>, kR210Row, {4, 1}, r210::ScalarCreateFrom<float>,
                 model::ScalarCreateFrom<float>);
}

TEST_F(R210Exactness, VectorCreateFrom8u) {
    const RowSize row = kHostRow<unsigned char>;
    SweepLayouts(Noise<unsigned char>(), row, kR210Row, kAligned, r210::VectorCreateFrom8u,
                 model::VectorCreateFrom<unsigned char>);
    SweepLayouts(Noise<unsigned char>(), row, kR210Row, kMisSrc, r210::VectorCreateFrom8uMisSrc,
                 model::VectorCreateFrom<unsigned char>);
}

TEST_F(R210Exactness, VectorCreateFrom16u) {
    const RowSize row = kHostRow<unsigned short>;
    SweepLayouts(Noise<unsigned short>(), row, kR210Row, kAligned, r210::VectorCreateFrom16u,
                 model::VectorCreateFrom<unsigned short>);
    SweepLayouts(Noise<unsigned short>(), row, kR210Row, {2, 16}, r210::VectorCreateFrom16uMisSrc,
                 model::VectorCreateFrom<unsigned short>);
}

TEST_F(R210Exactness, VectorCreateFrom32f) {
    SweepLayouts(Noise<float>(), kHostRow<float>, kR210Row, kAligned, r210::VectorCreateFrom32f,
                 model::VectorCreateFrom<float>);
}

// No colour space; the logical shift of a negative product makes luma white.
constexpr float kNegativeLumaOfR[9] = {-0.1f, 0.6f, 0.3f, 0.5f, -0.4f, -0.1f, -0.08f, -0.4f, 0.5f};

template <typename Kernel>
void SweepV210(const AlignedBytes& source, Needs needs, Kernel kernel) {
    for (const auto* rows : {&kStudio601, &kStudio709, &kNegativeLumaOfR}) {
        TransformMatrix matrix = MatrixOf(*rows);
        SweepLayouts(
            source, kR210Row, kV210Row, needs,
            [&](const char* s, int sb, char* d, int db, int w, int h) {
                EXPECT_EQ(0, kernel(s, sb, d, db, w, h, &matrix));
            },
            [&](const char* s, int sb, char* d, int db, int w, int h) {
                model::ConvertToV210(s, sb, d, db, w, h, *rows);
            });
    }
}

TEST_F(R210Exactness, VectorConvertToV210) {
    SweepV210(Words(), kAligned, r210::VectorConvertToV210);
}

TEST_F(R210Exactness, VectorConvertToV210MisSrc) {
    SweepV210(Words(), kMisSrc, r210::VectorConvertToV210MisSrc);
}

// One component through its levels, the others held.
AlignedBytes Ramps() {
    AlignedBytes words(1024 * 4 * 15 + 4096);
    std::memset(words.Data(), 0, words.Size());
    int row = 0;
    for (const int held : {0, 64, 512, 940, 1023}) {
        for (int component = 0; component < 3; ++component, ++row) {
            for (int level = 0; level < 1024; ++level) {
                const int r = component == 0 ? level : held;
                const int g = component == 1 ? level : held;
                const int b = component == 2 ? level : held;
                char* to = words.Data() + (row * 1024 + level) * 4;
                to[0] = static_cast<char>(0xC0 | r >> 4);
                to[1] = static_cast<char>((r & 15) << 4 | g >> 6);
                to[2] = static_cast<char>((g & 63) << 2 | b >> 8);
                to[3] = static_cast<char>(b);
            }
        }
    }
    return words;
}

TEST_F(R210Exactness, RampsOfEachComponent) {
    const AlignedBytes words = Ramps();
    const Layout to8u{1024, 15, 0, 0, 4096, 4096};
    const Layout to16u{1024, 15, 0, 0, 4096, 8192};
    const Layout to32f{1024, 15, 0, 0, 4096, 16384};
    ExpectSame(words, to8u, r210::VectorConvertTo8u, model::VectorConvertTo<unsigned char>);
    ExpectSame(words, to16u, r210::VectorConvertTo16u, model::VectorConvertTo<unsigned short>);
    ExpectSame(words, to32f, r210::VectorConvertTo32f, model::VectorConvertTo<float>);
    ExpectSame(words, to8u, ScalarTo(r210::s8uComponentLUT), model::ScalarConvertTo<unsigned char>);
    ExpectSame(words, to16u, ScalarTo(r210::s16uComponentLUT),
               model::ScalarConvertTo<unsigned short>);
    ExpectSame(words, to32f, ScalarTo(r210::s32fComponentLUT), model::ScalarConvertTo<float>);
}

// Every value of the host's 16-bit scale, and the float of each.
TEST_F(R210Exactness, EveryHostLevel) {
    constexpr int kWidth = 8193;  // four components each
    AlignedBytes words(kWidth * 8 + 256);
    AlignedBytes floats(kWidth * 16 + 256);
    std::memset(words.Data(), 0, words.Size());
    std::memset(floats.Data(), 0, floats.Size());
    for (int turn = 0; turn < 4; ++turn) {
        for (int i = 0; i < 4 * kWidth; ++i) {
            const int level = (i + turn) % 32769;
            const auto word = static_cast<unsigned short>(level);
            const float value = static_cast<float>(level) / 32768.0f;
            std::memcpy(words.Data() + 2 * i, &word, 2);
            std::memcpy(floats.Data() + 4 * i, &value, 4);
        }
        const Layout from16u{kWidth, 1, 0, 0, kWidth * 8 + 8, 32784};
        const Layout from32f{kWidth, 1, 0, 0, kWidth * 16, 32784};
        ExpectSame(words, from16u, r210::VectorCreateFrom16u,
                   model::VectorCreateFrom<unsigned short>);
        ExpectSame(words, from16u, r210::ScalarCreateFrom<unsigned short>,
                   model::ScalarCreateFrom<unsigned short>);
        ExpectSame(floats, from32f, r210::VectorCreateFrom32f, model::VectorCreateFrom<float>);
        ExpectSame(floats, from32f, r210::ScalarCreateFrom<float>, model::ScalarCreateFrom<float>);
    }
}

// Whole conversions -----------------------------------------------------------------------------

struct Format {
    int mCode;
    const char* mName;
    int mBytes;
};

const Format kFormats[] = {
    {PrPixelFormat_BGRA_4444_8u, "PrPixelFormat_BGRA_4444_8u", 4},
    {PrPixelFormat_BGRA_4444_16u, "PrPixelFormat_BGRA_4444_16u", 8},
    {PrPixelFormat_BGRA_4444_32f, "PrPixelFormat_BGRA_4444_32f", 16},
    {PrPixelFormat_V210_422_10u_601, "<unknown>", 3},
    {PrPixelFormat_V210_422_10u_709, "<unknown>", 3},
    {PrPixelFormat_BGRX_4444_32f, "<unknown>", 16},
};

using Frame = void (*)(const char*, int, char*, int, int, int);

Frame ModelOf(bool to, bool scalar, int bytes) {
    switch (bytes) {
        case 4:
            return to ? (scalar ? model::ScalarConvertTo<unsigned char>
                                : model::VectorConvertTo<unsigned char>)
                      : (scalar ? model::ScalarCreateFrom<unsigned char>
                                : model::VectorCreateFrom<unsigned char>);
        case 8:
            return to ? (scalar ? model::ScalarConvertTo<unsigned short>
                                : model::VectorConvertTo<unsigned short>)
                      : (scalar ? model::ScalarCreateFrom<unsigned short>
                                : model::VectorCreateFrom<unsigned short>);
        default:
            return to ? (scalar ? model::ScalarConvertTo<float> : model::VectorConvertTo<float>)
                      : (scalar ? model::ScalarCreateFrom<float> : model::VectorCreateFrom<float>);
    }
}

void ExpectWhole(bool to, const Format& format, int mode, int space, int width, bool srcOff,
                 bool srcRowOff, bool dstOff, bool dstRowOff) {
    const bool isV210 = format.mBytes == 3;
    const bool known = format.mCode != PrPixelFormat_BGRX_4444_32f;
    const bool isFloat = format.mCode == PrPixelFormat_BGRA_4444_32f;
    const bool srcAligned = !srcOff && !srcRowOff;
    const bool dstAligned = !dstOff && !dstRowOff;
    const bool vectorMode = mode != 0 && mode != 1;
    if (vectorMode && !isV210 && known && (!dstAligned || (isFloat && !srcAligned))) {
        return;  // the caller answers for alignment
    }
    const AlignedBytes& source = !to && format.mBytes == 8    ? Noise<unsigned short>()
                                 : !to && format.mBytes == 16 ? Noise<float>()
                                                              : Noise<unsigned char>();
    const int hostBytes = isV210 ? 4 : format.mBytes;
    Layout layout{width, 3, srcOff ? 4 : 0, dstOff ? 4 : 0, 0, 0};
    layout.mSrcRowBytes = Up((to ? 4 : hostBytes) * width, 16) + (srcRowOff ? 4 : 0);
    layout.mDstRowBytes = Up((to ? hostBytes : 4) * width, 16) + (dstRowOff ? 4 : 0);

    std::string expectedLog;
    long expectedStatus = 0;
    const char* function = to ? "ConvertTo" : "CreateFrom";
    const auto kernel = [&](const char* s, int sb, char* d, int db, int w, int h) {
        kvx_test::LogCapture log;
        const auto convert = to ? r210::ConvertTo : r210::CreateFrom;
        const long status =
            convert(s, sb, format.mCode, d, db, w, h, static_cast<ColourSpace>(space),
                    static_cast<ConversionMode>(mode));
        if (!known) {
            expectedLog =
                std::string("Init: Unsupported pixel format\n") + function + ": Init failed\n";
            expectedStatus = 22;
        } else {
            if (mode == 0 && (!dstAligned || (isFloat && !srcAligned))) {
                char line[400];
                std::snprintf(line, sizeof(line),
                              to ? "%s: Reverting to scalar code for conversion from 'r210' to %s: "
                                   "srcPtr %p srcRowBytes 0x%x dstPtr %p dstRowBytes 0x%x\n"
                                 : "%s: Reverting to scalar code for conversion from %s to 'r210': "
                                   "srcPtr %p srcRowBytes 0x%x dstPtr %p dstRowBytes 0x%x\n",
                              function, format.mName, static_cast<const void*>(s),
                              static_cast<unsigned>(sb), static_cast<void*>(d),
                              static_cast<unsigned>(db));
                expectedLog = line;
            }
            expectedStatus = to && isV210 && !dstAligned ? 22 : 0;
        }
        EXPECT_EQ(expectedStatus, status);
        EXPECT_EQ(expectedLog, log.Text());
    };
    const auto whole = [&](const char* s, int sb, char* d, int db, int w, int h) {
        if (!known || (isV210 && (!to || !dstAligned))) {
            return;
        }
        if (isV210) {
            const bool rec601 = space == 1 || (space != 2 && w < 721);
            model::ConvertToV210(s, sb, d, db, w, h, rec601 ? kStudio601 : kStudio709);
            return;
        }
        const bool reverts = mode == 0 && (!dstAligned || (isFloat && !srcAligned));
        ModelOf(to, mode == 1 || reverts, format.mBytes)(s, sb, d, db, w, h);
    };
    SCOPED_TRACE(::testing::Message()
                 << function << " " << format.mName << " mode " << mode << " space " << space);
    ExpectSame(source, layout, kernel, whole);
}

TEST_F(R210Exactness, WholeConversions) {
    for (const bool to : {true, false}) {
        for (const Format& format : kFormats) {
            for (const int mode : {0, 1, 2, 3}) {
                for (const int space : {0, 1, 2, 3}) {
                    for (const int width : {13, 720, 721}) {
                        for (int off = 0; off < 16; ++off) {
                            ExpectWhole(to, format, mode, space, width, off & 1, off & 2, off & 4,
                                        off & 8);
                            if (HasFailure()) {
                                return;
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST_F(R210Exactness, NothingToConvert) {
    const auto nothing = [](const char*, int, char*, int, int, int) {};
    for (const Format& format : kFormats) {
        if (format.mCode == PrPixelFormat_BGRX_4444_32f) {
            continue;
        }
        for (const int mode : {0, 1, 2}) {
            for (const auto& [width, height] : {std::pair{0, 3}, {-5, 3}, {8, 0}, {8, -1}}) {
                for (const auto convert : {r210::ConvertTo, r210::CreateFrom}) {
                    ExpectSame(
                        Words(), {width, height, 0, 0, 128, 128},
                        [&](const char* s, int sb, char* d, int db, int w, int h) {
                            EXPECT_EQ(0, convert(s, sb, format.mCode, d, db, w, h, kColourSpaceAuto,
                                                 static_cast<ConversionMode>(mode)));
                        },
                        nothing);
                }
            }
        }
    }
}

// Every pixel there is, to all three forms.
TEST_F(R210Exactness, DISABLED_CompleteConvertTo) {
    AlignedBytes words(1024 * 1024 * 4);
    for (int r = 0; r < 1024; ++r) {
        for (int i = 0; i < 1024 * 1024; ++i) {
            char* to = words.Data() + i * 4;
            const std::uint32_t word =
                static_cast<std::uint32_t>(r) << 20 | static_cast<std::uint32_t>(i);
            for (int byte = 0; byte < 4; ++byte) {
                to[byte] = static_cast<char>(word >> (24 - 8 * byte));
            }
        }
        ExpectSame(words, {1024, 1024, 0, 0, 4096, 4096}, r210::VectorConvertTo8u,
                   model::VectorConvertTo<unsigned char>);
        ExpectSame(words, {1024, 1024, 0, 0, 4096, 8192}, r210::VectorConvertTo16u,
                   model::VectorConvertTo<unsigned short>);
        ExpectSame(words, {1024, 1024, 0, 0, 4096, 16384}, r210::VectorConvertTo32f,
                   model::VectorConvertTo<float>);
        ASSERT_FALSE(HasFailure()) << r;
    }
}

}  // namespace
