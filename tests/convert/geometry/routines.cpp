#include "convert/geometry/routines.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <utility>

#include "convert/naive_pixel_family.h"
#include "convert/oracle/naive_r210.h"
#include "convert/oracle/naive_uyvy.h"
#include "convert/oracle/naive_v210.h"
#include "convert/pixel_family_members.h"
#include "convert/video/r210.h"
#include "convert/video/uyvy.h"
#include "convert/video/v210.h"
#include "premiere/pixel_formats.h"

namespace kvx_test::geometry {

namespace {

using KVX::Converter::Video::r210;
using KVX::Converter::Video::TransformMatrix;
using KVX::Converter::Video::uyvy;
using KVX::Converter::Video::v210;

// Rows for Rec. 601 and Rec. 709, typed in apart from the converters' own tables.
using MatrixPair = const float (&)[2][9];
constexpr float kToRGB[2][9] = {
    {1.164f, 0.0f, 1.596f, 1.164f, -0.391f, -0.813f, 1.164f, 2.018f, 0.0f},
    {1.164f, 0.0f, 1.793f, 1.164f, -0.213f, -0.534f, 1.164f, 2.115f, 0.0f}};
constexpr float kToYUV[2][9] = {
    {0.257f, 0.504f, 0.098f, -0.148f, -0.291f, 0.439f, 0.439f, -0.368f, -0.071f},
    {0.183f, 0.614f, 0.062f, -0.101f, -0.338f, 0.439f, 0.439f, -0.399f, -0.04f}};
constexpr float kStudio[2][9] = {
    {0.299f, 0.587f, 0.114f, -0.169f, -0.331f, 0.5f, 0.5f, -0.419f, -0.081f},
    {0.2215f, 0.7154f, 0.0721f, -0.1145f, -0.3855f, 0.5f, 0.5016f, -0.4556f, -0.0459f}};

constexpr RowSize kR210Row{1, 4};
constexpr RowSize kUYVYRow{2, 4};
constexpr RowSize kV210Row{6, 16};

constexpr RowSize HostRow(Samples samples) {
    return {1, samples == Samples::kBytes ? 4 : samples == Samples::kWords ? 8 : 16};
}

using PlainRoutine = void (*)(const char*, int, char*, int, int, int);
using PlainModel = PlainRoutine;
template <typename Result>
using MatrixRoutine = Result (*)(const char*, int, char*, int, int, int, TransformMatrix*);
using MatrixModel = void (*)(const char*, int, char*, int, int, int, const float*);

Conversion Plain(PlainRoutine routine) {
    return [routine](const char* s, int sb, char* d, int db, int w, int h, Matrix) {
        routine(s, sb, d, db, w, h);
    };
}

template <typename Result>
Conversion Kernel(MatrixRoutine<Result> routine, MatrixPair rows) {
    return [routine, &rows](const char* s, int sb, char* d, int db, int w, int h, Matrix matrix) {
        TransformMatrix transform{};
        std::memcpy(transform.mCoefficient, rows[matrix == Matrix::k709],
                    sizeof(transform.mCoefficient));
        routine(s, sb, d, db, w, h, &transform);
    };
}

Conversion Model(MatrixModel model, MatrixPair rows) {
    return [model, &rows](const char* s, int sb, char* d, int db, int w, int h, Matrix matrix) {
        model(s, sb, d, db, w, h, rows[matrix == Matrix::k709]);
    };
}

// A scalar routine of r210, which takes one of the tables.
template <typename T>
Conversion WithTable(T*& table) {
    return [&table](const char* s, int sb, char* d, int db, int w, int h, Matrix) {
        r210::Init(PrPixelFormat_BGRA_4444_8u);
        r210::ScalarConvertTo<T>(s, sb, d, db, w, h, table);
    };
}

Conversion AfterInit(PlainRoutine routine) {
    return [routine](const char* s, int sb, char* d, int db, int w, int h, Matrix) {
        r210::Init(PrPixelFormat_BGRA_4444_8u);
        routine(s, sb, d, db, w, h);
    };
}

struct Alignment {
    int mSrc;
    int mDst;
};
constexpr Alignment kAligned{16, 16};
constexpr Alignment kMisSrc{1, 16};
constexpr Alignment kAnywhere{1, 1};

// A routine that reads and writes whole steps in every row.
Routine InSteps(const char* name, Conversion kernel, Conversion model, Samples source,
                RowSize srcRow, RowSize dstRow, int step, Alignment alignment) {
    return {name, std::move(kernel), std::move(model), source, srcRow, dstRow, step, step, 1, 0,
            1,    alignment.mSrc,    alignment.mDst,   false};
}

void AppendR210(std::vector<Routine>& to) {
    namespace model = kvx_test::naive::r210;
    using S = Samples;
    const auto out = [&to](const char* name, Conversion kernel, Conversion plain, S form, int step,
                           Alignment alignment) {
        to.push_back(InSteps(name, std::move(kernel), std::move(plain), S::kBytes, kR210Row,
                             HostRow(form), step, alignment));
    };
    const auto in = [&to](const char* name, Conversion kernel, Conversion plain, S form, int step,
                          Alignment alignment) {
        to.push_back(InSteps(name, std::move(kernel), std::move(plain), form, HostRow(form),
                             kR210Row, step, alignment));
    };
    const Conversion to8u = Plain(model::VectorConvertTo<unsigned char>);
    const Conversion to16u = Plain(model::VectorConvertTo<unsigned short>);
    const Conversion from8u = Plain(model::VectorCreateFrom<unsigned char>);
    const Conversion from16u = Plain(model::VectorCreateFrom<unsigned short>);
    const Conversion toV210 = Model(model::ConvertToV210, kStudio);

    out("r210_VectorConvertTo8u", Plain(r210::VectorConvertTo8u), to8u, S::kBytes, 8, kAligned);
    out("r210_VectorConvertTo8uMisSrc", Plain(r210::VectorConvertTo8uMisSrc), to8u, S::kBytes, 8,
        kMisSrc);
    out("r210_VectorConvertTo16u", Plain(r210::VectorConvertTo16u), to16u, S::kWords, 8, kAligned);
    out("r210_VectorConvertTo16uMisSrc", Plain(r210::VectorConvertTo16uMisSrc), to16u, S::kWords, 8,
        kMisSrc);
    out("r210_VectorConvertTo32f", Plain(r210::VectorConvertTo32f),
        Plain(model::VectorConvertTo<float>), S::kFloats, 8, kAligned);
    in("r210_VectorCreateFrom8u", Plain(r210::VectorCreateFrom8u), from8u, S::kBytes, 8, kAligned);
    in("r210_VectorCreateFrom8uMisSrc", Plain(r210::VectorCreateFrom8uMisSrc), from8u, S::kBytes, 8,
       kMisSrc);
    in("r210_VectorCreateFrom16u", Plain(r210::VectorCreateFrom16u), from16u, S::kWords, 4,
       kAligned);
    in("r210_VectorCreateFrom16uMisSrc", Plain(r210::VectorCreateFrom16uMisSrc), from16u, S::kWords,
       4, kMisSrc);
    in("r210_VectorCreateFrom32f", Plain(r210::VectorCreateFrom32f),
       Plain(model::VectorCreateFrom<float>), S::kFloats, 4, kAligned);
    to.push_back(InSteps("r210_VectorConvertToV210", Kernel(r210::VectorConvertToV210, kStudio),
                         toV210, S::kBytes, kR210Row, kV210Row, 24, kAligned));
    to.push_back(InSteps("r210_VectorConvertToV210MisSrc",
                         Kernel(r210::VectorConvertToV210MisSrc, kStudio), toV210, S::kBytes,
                         kR210Row, kV210Row, 24, kMisSrc));

    out("r210_ScalarConvertTo8u", WithTable(r210::s8uComponentLUT),
        Plain(model::ScalarConvertTo<unsigned char>), S::kBytes, 1, kAnywhere);
    out("r210_ScalarConvertTo16u", WithTable(r210::s16uComponentLUT),
        Plain(model::ScalarConvertTo<unsigned short>), S::kWords, 1, kAnywhere);
    out("r210_ScalarConvertTo32f", WithTable(r210::s32fComponentLUT),
        Plain(model::ScalarConvertTo<float>), S::kFloats, 1, kAnywhere);
    in("r210_ScalarCreateFrom8u", AfterInit(r210::ScalarCreateFrom<unsigned char>),
       Plain(model::ScalarCreateFrom<unsigned char>), S::kBytes, 1, kAnywhere);
    in("r210_ScalarCreateFrom16u", AfterInit(r210::ScalarCreateFrom<unsigned short>),
       Plain(model::ScalarCreateFrom<unsigned short>), S::kWords, 1, kAnywhere);
    in("r210_ScalarCreateFrom32f", AfterInit(r210::ScalarCreateFrom<float>),
       Plain(model::ScalarCreateFrom<float>), S::kFloats, 1, kAnywhere);
}

void AppendUYVY(std::vector<Routine>& to) {
    namespace model = kvx_test::naive::uyvy;
    using S = Samples;
    const auto out = [&to](const char* name, MatrixRoutine<void> kernel, MatrixModel plain, S form,
                           int step, Alignment alignment) {
        to.push_back(InSteps(name, Kernel(kernel, kToRGB), Model(plain, kToRGB), S::kBytes,
                             kUYVYRow, HostRow(form), step, alignment));
    };
    const auto in = [&to](const char* name, MatrixRoutine<void> kernel, MatrixModel plain, S form,
                          int step, Alignment alignment) {
        to.push_back(InSteps(name, Kernel(kernel, kToYUV), Model(plain, kToYUV), form,
                             HostRow(form), kUYVYRow, step, alignment));
        if (step == 24) {
            to.back().mLastRowPixel = 2;
            to.back().mRemainderFrom = 4;
        }
    };
    out("uyvy_VectorConvertTo8u", uyvy::VectorConvertTo8u, model::VectorConvertTo<unsigned char>,
        S::kBytes, 16, kAligned);
    out("uyvy_VectorConvertTo8uMisSrc", uyvy::VectorConvertTo8uMisSrc,
        model::VectorConvertTo<unsigned char>, S::kBytes, 16, kMisSrc);
    out("uyvy_VectorConvertTo16u", uyvy::VectorConvertTo16u, model::VectorConvertTo<unsigned short>,
        S::kWords, 16, kAligned);
    out("uyvy_VectorConvertTo32f", uyvy::VectorConvertTo32f, model::VectorConvertTo<float>,
        S::kFloats, 16, kAligned);
    in("uyvy_VectorCreateFrom8u", uyvy::VectorCreateFrom8u, model::VectorCreateFrom<unsigned char>,
       S::kBytes, 24, kAligned);
    in("uyvy_VectorCreateFrom8uMisSrc", uyvy::VectorCreateFrom8uMisSrc,
       model::VectorCreateFrom<unsigned char>, S::kBytes, 24, kMisSrc);
    in("uyvy_VectorCreateFrom16u", uyvy::VectorCreateFrom16u,
       model::VectorCreateFrom<unsigned short>, S::kWords, 24, kAligned);
    in("uyvy_VectorCreateFrom32f", uyvy::VectorCreateFrom32f, model::VectorCreateFrom<float>,
       S::kFloats, 24, kAligned);

    out("uyvy_ScalarConvertTo8u", uyvy::ScalarConvertTo<unsigned char>,
        model::ScalarConvertTo<unsigned char>, S::kBytes, 2, kAnywhere);
    out("uyvy_ScalarConvertTo16u", uyvy::ScalarConvertTo<unsigned short>,
        model::ScalarConvertTo<unsigned short>, S::kWords, 2, kAnywhere);
    out("uyvy_ScalarConvertTo32f", uyvy::ScalarConvertTo<float>, model::ScalarConvertTo<float>,
        S::kFloats, 2, kAnywhere);
    in("uyvy_ScalarCreateFrom8u", uyvy::ScalarCreateFrom<unsigned char>,
       model::ScalarCreateFrom<unsigned char>, S::kBytes, 2, kAnywhere);
    in("uyvy_ScalarCreateFrom16u", uyvy::ScalarCreateFrom<unsigned short>,
       model::ScalarCreateFrom<unsigned short>, S::kWords, 2, kAnywhere);
    in("uyvy_ScalarCreateFrom32f", uyvy::ScalarCreateFrom<float>, model::ScalarCreateFrom<float>,
       S::kFloats, 2, kAnywhere);
}

void AppendV210(std::vector<Routine>& to) {
    namespace model = kvx_test::naive::v210;
    using S = Samples;
    const auto out = [&to](const char* name, MatrixRoutine<void> kernel, MatrixModel plain, S form,
                           int step, Alignment alignment) {
        to.push_back(InSteps(name, Kernel(kernel, kToRGB), Model(plain, kToRGB), S::kBytes,
                             kV210Row, HostRow(form), step, alignment));
        if (step == 24) {
            to.back().mLastRowPixel = HostRow(form).mBytes;
        }
    };
    const auto in = [&to](const char* name, MatrixRoutine<void> kernel, MatrixModel plain, S form,
                          int step, Alignment alignment) {
        to.push_back(InSteps(name, Kernel(kernel, kToYUV), Model(plain, kToYUV), form,
                             HostRow(form), kV210Row, step, alignment));
    };
    out("v210_VectorConvertTo8u", v210::VectorConvertTo8u, model::VectorConvertTo<unsigned char>,
        S::kBytes, 24, kMisSrc);
    out("v210_VectorConvertTo16u", v210::VectorConvertTo16u, model::VectorConvertTo<unsigned short>,
        S::kWords, 24, kMisSrc);
    out("v210_VectorConvertTo32f", v210::VectorConvertTo32f, model::VectorConvertTo<float>,
        S::kFloats, 24, kMisSrc);
    in("v210_VectorCreateFrom8u", v210::VectorCreateFrom8u, model::VectorCreateFrom<unsigned char>,
       S::kBytes, 24, kAligned);
    in("v210_VectorCreateFrom8uMisSrc", v210::VectorCreateFrom8uMisSrc,
       model::VectorCreateFrom<unsigned char>, S::kBytes, 24, kMisSrc);
    in("v210_VectorCreateFrom16u", v210::VectorCreateFrom16u,
       model::VectorCreateFrom<unsigned short>, S::kWords, 24, kAligned);
    in("v210_VectorCreateFrom32f", v210::VectorCreateFrom32f, model::VectorCreateFrom<float>,
       S::kFloats, 24, kAligned);

    out("v210_ScalarConvertTo8u", v210::ScalarConvertTo<unsigned char>,
        model::ScalarConvertTo<unsigned char>, S::kBytes, 6, kAnywhere);
    out("v210_ScalarConvertTo16u", v210::ScalarConvertTo<unsigned short>,
        model::ScalarConvertTo<unsigned short>, S::kWords, 6, kAnywhere);
    out("v210_ScalarConvertTo32f", v210::ScalarConvertTo<float>, model::ScalarConvertTo<float>,
        S::kFloats, 6, kAnywhere);
    in("v210_ScalarCreateFrom8u", v210::ScalarCreateFrom<unsigned char>,
       model::ScalarCreateFrom<unsigned char>, S::kBytes, 6, kAnywhere);
    in("v210_ScalarCreateFrom16u", v210::ScalarCreateFrom<unsigned short>,
       model::ScalarCreateFrom<unsigned short>, S::kWords, 6, kAnywhere);
    in("v210_ScalarCreateFrom32f", v210::ScalarCreateFrom<float>, model::ScalarCreateFrom<float>,
       S::kFloats, 6, kAnywhere);
}

Conversion FamilyKernel(FamilyFunction* convert) {
    return [convert](const char* s, int sb, char* d, int db, int w, int h, Matrix) {
        convert(static_cast<unsigned int>(w), static_cast<unsigned int>(h), d,
                static_cast<unsigned int>(db), const_cast<char*>(s), static_cast<unsigned int>(sb));
    };
}

Conversion FamilyModel(const NaiveConversion& naive) {
    return [&naive](const char* s, int sb, char* d, int db, int w, int h, Matrix) {
        for (std::ptrdiff_t y = 0; y < h; ++y) {
            const std::vector<uint8_t> row =
                NaiveRow(naive, reinterpret_cast<const uint8_t*>(s + y * sb), w);
            std::memcpy(d + y * db, row.data(), row.size());
        }
    };
}

void AppendFamily(std::vector<Routine>& to) {
    using Kind = NaiveConversion::Kind;
    for (const FamilyMember& member : FamilyMembers()) {
        const NaiveConversion& naive = FindNaiveConversion(member.name);
        const bool isYUV = naive.kind == Kind::kUYVY || naive.kind == Kind::kV210;
        const RowSize row = naive.kind == Kind::kUYVY ? kUYVYRow
                            : naive.kind == Kind::kV210
                                ? kV210Row
                                : RowSize{1, static_cast<int>(NaiveRowBytes(naive, 1))};
        to.push_back({std::string("family_") + member.name, FamilyKernel(member.convert),
                      FamilyModel(naive), Samples::kBytes, kR210Row, row, 1, 1,
                      isYUV ? naive.blockPixels : 1, 0, 1, 1, 1, true});
    }
}

int Up(int value, int unit) {
    return (value + unit - 1) / unit * unit;
}

void Include(Extent& extent, std::ptrdiff_t low, std::ptrdiff_t high) {
    extent.mLow = std::min(extent.mLow, low);
    extent.mHigh = std::max(extent.mHigh, high);
}

}  // namespace

const std::vector<Routine>& Routines() {
    static const std::vector<Routine> routines = [] {
        std::vector<Routine> all;
        AppendR210(all);
        AppendUYVY(all);
        AppendV210(all);
        AppendFamily(all);
        return all;
    }();
    return routines;
}

void PrintTo(const Routine& routine, std::ostream* to) {
    *to << routine.mName;
}

Extent ReadExtent(const Routine& routine, int width, int height, int srcRowBytes) {
    Extent extent{0, 0};
    const int bytes =
        routine.mSrcRow.Of(Up(std::max(width, routine.mLeastPixels), routine.mReadStep));
    // Frames are turned over: a remainder of the last row stands in the source's first.
    const bool elsewhere = routine.mRemainderFrom != 1 && width % routine.mReadStep != 0;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        const int whole = routine.mSrcRow.Of(width / routine.mReadStep * routine.mReadStep);
        const std::ptrdiff_t at = y * srcRowBytes;
        Include(extent, at, at + (y == 0 && elsewhere ? whole : bytes));
        if (y == 0 && elsewhere) {
            const std::ptrdiff_t from = routine.mRemainderFrom * std::ptrdiff_t{whole};
            Include(extent, from, from + routine.mSrcRow.Of(routine.mReadStep));
        }
    }
    return extent;
}

Extent WrittenExtent(const Routine& routine, int width, int height, int dstRowBytes) {
    Extent extent{0, 0};
    const int bytes =
        routine.mDstRow.Of(Up(std::max(width, routine.mLeastPixels), routine.mWriteStep));
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        const bool atWidth = y == height - 1 && routine.mLastRowPixel != 0;
        const std::ptrdiff_t at = y * dstRowBytes;
        Include(extent, at, at + (atWidth ? width * routine.mLastRowPixel : bytes));
    }
    return extent;
}

}  // namespace kvx_test::geometry
