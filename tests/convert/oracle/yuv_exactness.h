// Whole conversions of the two YUV converters against their models: the choice of routine and
// matrix, the statuses and the log.
#pragma once

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "convert/oracle/exactness.h"
#include "convert/video/conversion.h"
#include "premiere/pixel_formats.h"
#include "support/log_capture.h"

namespace kvx_test::exactness {

// typed in apart from the converters' own tables
constexpr float kToRGB601[9] = {1.164f,  0.0f,   1.596f, 1.164f, -0.391f,
                                -0.813f, 1.164f, 2.018f, 0.0f};
constexpr float kToRGB709[9] = {1.164f,  0.0f,   1.793f, 1.164f, -0.213f,
                                -0.534f, 1.164f, 2.115f, 0.0f};
// No colour space: luma of its own in each row, U in R and V in B; and the way back.
constexpr float kToRGBOther[9] = {1.0f,   -0.25f, 1.402f, 1.1f,  -0.344f,
                                  0.714f, 0.9f,   1.772f, 0.125f};
constexpr float kToYUV601[9] = {0.257f, 0.504f, 0.098f,  -0.148f, -0.291f,
                                0.439f, 0.439f, -0.368f, -0.071f};
constexpr float kToYUV709[9] = {0.183f, 0.614f, 0.062f,  -0.101f, -0.338f,
                                0.439f, 0.439f, -0.399f, -0.04f};
constexpr float kToYUVOther[9] = {0.1f, 0.5f, 0.2f, 0.3f, -0.2f, -0.2f, -0.1f, -0.3f, 0.4f};

using Matrix = KVX::Converter::Video::TransformMatrix;
using Routine = void (*)(const char*, int, char*, int, int, int, Matrix*);
using Model = void (*)(const char*, int, char*, int, int, int, const float*);
using Whole = long (*)(const char*, int, int, char*, int, int, int,
                       KVX::Converter::Video::ColourSpace, KVX::Converter::Video::ConversionMode);

inline Conversion With(Routine routine, const float* rows) {
    return [routine, rows](const char* s, int sb, char* d, int db, int w, int h) {
        Matrix matrix{};
        std::memcpy(matrix.mCoefficient, rows, sizeof(matrix.mCoefficient));
        routine(s, sb, d, db, w, h, &matrix);
    };
}

inline Conversion With(Model model, const float* rows) {
    return [model, rows](const char* s, int sb, char* d, int db, int w, int h) {
        model(s, sb, d, db, w, h, rows);
    };
}

inline void SweepTo(RowSize srcRow, int pixelBytes, Needs needs, Routine routine, Model model) {
    for (const float* rows : {kToRGB601, kToRGB709, kToRGBOther}) {
        SweepLayouts(Noise<unsigned char>(), srcRow, {1, pixelBytes}, needs, With(routine, rows),
                     With(model, rows));
    }
}

template <typename T>
void SweepFrom(RowSize dstRow, Needs needs, Routine routine, Model model) {
    for (const float* rows : {kToYUV601, kToYUV709, kToYUVOther}) {
        SweepLayouts(Noise<T>(), {1, 4 * static_cast<int>(sizeof(T))}, dstRow, needs,
                     With(routine, rows), With(model, rows));
    }
}

inline void ExpectNothingWithoutSize(std::initializer_list<Routine> routines) {
    const std::vector<char> before(1024, 'x');
    for (const Routine routine : routines) {
        for (const auto& [width, height] : {std::pair(0, 3), {-1, 3}, {16, 0}, {16, -1}}) {
            AlignedBytes rows(before.size());
            std::memcpy(rows.Data(), before.data(), before.size());
            With(routine, kToRGB601)(rows.Data(), 64, rows.Data() + 512, 64, width, height);
            EXPECT_EQ(std::memcmp(rows.Data(), before.data(), before.size()), 0)
                << width << "x" << height;
        }
    }
}

// One of the two converters, in one direction.
struct Converter {
    const char* mLayout;  // in the log
    RowSize mRow;
    bool mTo;  // from the file's layout
    Whole mConvert;
    Model mScalar[3];  // 8u, 16u, 32f
    Model mVector[3];
    bool mTurnsNegativeStride;
};

constexpr int kFormats = 4;
constexpr int kFormatCodes[kFormats] = {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_BGRA_4444_16u,
                                        PrPixelFormat_BGRA_4444_32f, PrPixelFormat_BGRX_4444_32f};
constexpr const char* kFormatNames[kFormats] = {"PrPixelFormat_BGRA_4444_8u",
                                                "PrPixelFormat_BGRA_4444_16u",
                                                "PrPixelFormat_BGRA_4444_32f", "<unknown>"};

struct Call {
    int mFormat;  // index
    int mMode;
    int mSpace;
    int mWidth;
    bool mSrcPointerOff;
    bool mSrcRowOff;
    bool mDstPointerOff;
    bool mDstRowOff;
    bool mDstDown;  // negative destination stride
};

inline void ExpectWhole(const Converter& converter, const Call& call) {
    const bool known = call.mFormat < 3;
    const bool is8u = call.mFormat == 0;
    const bool srcAligned = !call.mSrcPointerOff && !call.mSrcRowOff;
    const bool dstAligned = !call.mDstPointerOff && !call.mDstRowOff;
    const bool vectorMode = call.mMode != 0 && call.mMode != 1;
    const bool scalarNeeded = !dstAligned || (!srcAligned && !is8u);
    if (vectorMode && known && scalarNeeded) {
        return;  // the caller answers for alignment
    }
    const bool reverts = call.mMode == 0 && scalarNeeded;

    const int hostBytes = 4 << (known ? call.mFormat : 2);
    Layout layout{call.mWidth, 3, call.mSrcPointerOff ? 4 : 0, call.mDstPointerOff ? 4 : 0, 0, 0};
    const int hostRow = hostBytes * call.mWidth;
    const int fileRow = converter.mRow.Of(call.mWidth);
    layout.mSrcRowBytes = Up(converter.mTo ? fileRow : hostRow, 16) + (call.mSrcRowOff ? 4 : 0);
    layout.mDstRowBytes = Up(converter.mTo ? hostRow : fileRow, 16) + (call.mDstRowOff ? 4 : 0);
    if (call.mDstDown) {
        layout.mDstRowBytes = -layout.mDstRowBytes;
    }

    const char* function = converter.mTo ? "ConvertTo" : "CreateFrom";
    const auto kernel = [&](const char* s, int sb, char* d, int db, int w, int h) {
        kvx_test::LogCapture log;
        const long status =
            converter.mConvert(s, sb, kFormatCodes[call.mFormat], d, db, w, h,
                               static_cast<KVX::Converter::Video::ColourSpace>(call.mSpace),
                               static_cast<KVX::Converter::Video::ConversionMode>(call.mMode));
        std::string expected;
        if (reverts) {
            char numbers[200];
            std::snprintf(numbers, sizeof(numbers),
                          ": srcPtr %p srcRowBytes 0x%x dstPtr %p dstRowBytes 0x%x\n",
                          static_cast<const void*>(s), static_cast<unsigned>(sb),
                          static_cast<void*>(d), static_cast<unsigned>(db));
            const std::string host = kFormatNames[call.mFormat];
            const std::string file = std::string("'") + converter.mLayout + "'";
            expected = std::string(function) + ": Reverting to scalar code for conversion from " +
                       (converter.mTo ? file + " to " + host : host + " to " + file) + numbers;
        }
        if (!known) {
            expected += "Unsupported pixel format\n";
        }
        EXPECT_EQ(known ? 0 : 22, status);
        EXPECT_EQ(expected, log.Raw());
    };
    const auto model = [&](const char* s, int sb, char* d, int db, int w, int h) {
        if (!known) {
            return;
        }
        const bool rec601 = call.mSpace == 1 || (call.mSpace != 2 && w <= 720);
        const float* to = rec601 ? kToRGB601 : kToRGB709;
        const float* from = rec601 ? kToYUV601 : kToYUV709;
        if (converter.mTurnsNegativeStride && db < 0) {
            d += static_cast<std::ptrdiff_t>(h - 1) * db;
            db = -db;
        }
        const bool scalar = call.mMode == 1 || reverts;
        (scalar ? converter.mScalar : converter.mVector)[call.mFormat](s, sb, d, db, w, h,
                                                                       converter.mTo ? to : from);
    };
    SCOPED_TRACE(::testing::Message() << function << " " << kFormatNames[call.mFormat] << " mode "
                                      << call.mMode << " space " << call.mSpace);
    const AlignedBytes& source = converter.mTo || is8u ? Noise<unsigned char>()
                                 : hostBytes == 8      ? Noise<unsigned short>()
                                                       : Noise<float>();
    ExpectSame(source, layout, kernel, model);
}

inline void ExpectWholes(const Converter& converter) {
    for (int format = 0; format < kFormats; ++format) {
        for (const int mode : {0, 1, 2, 3}) {
            for (const int space : {0, 1, 2, 3}) {
                for (const int width : {13, 720, 721}) {
                    for (int off = 0; off < 32; ++off) {
                        ExpectWhole(converter,
                                    {format, mode, space, width, (off & 1) != 0, (off & 2) != 0,
                                     (off & 4) != 0, (off & 8) != 0, (off & 16) != 0});
                        if (::testing::Test::HasFailure()) {
                            return;
                        }
                    }
                }
            }
        }
    }
}

}  // namespace kvx_test::exactness
