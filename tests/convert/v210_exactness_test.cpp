// v210 agrees to the bit with plain arithmetic: values, what is written past the width, and which
// routine a whole conversion comes to. The set of all pixels is left to
//     kvx_sweep_tests --gtest_also_run_disabled_tests --gtest_filter='*Exactness*Complete*'
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "convert/oracle/exactness.h"
#include "convert/oracle/naive_v210.h"
#include "convert/oracle/yuv_exactness.h"
#include "convert/video/v210.h"

namespace {

using KVX::Converter::Video::v210;
using namespace kvx_test::exactness;
namespace model = kvx_test::naive::v210;

constexpr RowSize kRow{6, 16};
constexpr Needs kAnywhere{1, 1};
constexpr Needs kAligned{16, 16};
constexpr Needs kMisSrc{1, 16};

TEST(V210Exactness, ScalarConvertTo) {
    SweepTo(kRow, 4, kAnywhere, v210::ScalarConvertTo<unsigned char>,
            model::ScalarConvertTo<unsigned char>);
    SweepTo(kRow, 8, kAnywhere, v210::ScalarConvertTo<unsigned short>,
            model::ScalarConvertTo<unsigned short>);
    SweepTo(kRow, 16, kAnywhere, v210::ScalarConvertTo<float>, model::ScalarConvertTo<float>);
}

TEST(V210Exactness, VectorConvertTo8u) {
    SweepTo(kRow, 4, kMisSrc, v210::VectorConvertTo8u, model::VectorConvertTo<unsigned char>);
}

TEST(V210Exactness, VectorConvertTo16u) {
    SweepTo(kRow, 8, kMisSrc, v210::VectorConvertTo16u, model::VectorConvertTo<unsigned short>);
}

TEST(V210Exactness, VectorConvertTo32f) {
    SweepTo(kRow, 16, kMisSrc, v210::VectorConvertTo32f, model::VectorConvertTo<float>);
}

TEST(V210Exactness, ScalarCreateFrom) {
    SweepFrom<unsigned char>(kRow, kAnywhere, v210::ScalarCreateFrom<unsigned char>,
                             model::ScalarCreateFrom<unsigned char>);
    SweepFrom<unsigned short>(kRow, kAnywhere, v210::ScalarCreateFrom<unsigned short>,
                              model::ScalarCreateFrom<unsigned short>);
    SweepFrom<float>(kRow, {4, 1}, v210::ScalarCreateFrom<float>, model::ScalarCreateFrom<float>);
}

TEST(V210Exactness, VectorCreateFrom8u) {
    SweepFrom<unsigned char>(kRow, kAligned, v210::VectorCreateFrom8u,
                             model::VectorCreateFrom<unsigned char>);
    SweepFrom<unsigned char>(kRow, kMisSrc, v210::VectorCreateFrom8uMisSrc,
                             model::VectorCreateFrom<unsigned char>);
}

TEST(V210Exactness, VectorCreateFrom16u) {
    SweepFrom<unsigned short>(kRow, kAligned, v210::VectorCreateFrom16u,
                              model::VectorCreateFrom<unsigned short>);
}

TEST(V210Exactness, VectorCreateFrom32f) {
    SweepFrom<float>(kRow, kAligned, v210::VectorCreateFrom32f, model::VectorCreateFrom<float>);
}

// All pairs of chroma, a row for each Cb, under the two given lumas.
void ExpectAllChroma(int even, int odd) {
    constexpr int kRowBytes = 2048 / 6 * 16 + 16;  // 1024 pairs and one more
    static AlignedBytes rows(kRowBytes * 16 + 64);
    for (int first = 0; first < 1024; first += 16) {
        for (int row = 0; row < 16; ++row) {
            for (int word = 0; word < kRowBytes / 4; ++word) {
                std::uint32_t packed = 0xC0000000;  // the two bits that do not count
                for (int place = 0; place < 3; ++place) {
                    const int sample = 3 * word + place;
                    const int values[4] = {first + row, even, sample / 4 % 1024, odd};
                    packed |= static_cast<std::uint32_t>(values[sample % 4]) << (10 * place);
                }
                std::memcpy(rows.Data() + row * kRowBytes + 4 * word, &packed, 4);
            }
        }
        for (const float* matrix : {kToRGB601, kToRGB709}) {
            const auto expect = [&](int bytes, Routine routine, Model plain) {
                ExpectSame(rows, {2046, 16, 0, 0, kRowBytes, 2048 * bytes}, With(routine, matrix),
                           With(plain, matrix));
            };
            expect(4, v210::VectorConvertTo8u, model::VectorConvertTo<unsigned char>);
            expect(8, v210::VectorConvertTo16u, model::VectorConvertTo<unsigned short>);
            expect(16, v210::VectorConvertTo32f, model::VectorConvertTo<float>);
            expect(4, v210::ScalarConvertTo<unsigned char>, model::ScalarConvertTo<unsigned char>);
            expect(8, v210::ScalarConvertTo<unsigned short>,
                   model::ScalarConvertTo<unsigned short>);
            expect(16, v210::ScalarConvertTo<float>, model::ScalarConvertTo<float>);
        }
    }
}

TEST(V210Exactness, AllChroma) {
    ExpectAllChroma(64, 940);
}

// An hour and more for one processor: in parts, so that several share them.
constexpr int kLumasInAPart = 16;

class V210ExactnessOfLumas : public testing::TestWithParam<int> {};

TEST_P(V210ExactnessOfLumas, DISABLED_CompleteConvertTo) {
    for (int luma = GetParam(); luma < GetParam() + kLumasInAPart; ++luma) {
        ExpectAllChroma(luma, 1023 - luma);
        ASSERT_FALSE(HasFailure()) << luma;
    }
}

INSTANTIATE_TEST_SUITE_P(Lumas, V210ExactnessOfLumas, testing::Range(0, 1024, kLumasInAPart));

TEST(V210Exactness, FramesWithoutSizeAreLeftAlone) {
    ExpectNothingWithoutSize({v210::VectorConvertTo8u, v210::VectorConvertTo16u,
                              v210::VectorConvertTo32f, v210::ScalarConvertTo<unsigned char>,
                              v210::ScalarConvertTo<unsigned short>, v210::ScalarConvertTo<float>});
}

TEST(V210Exactness, WholeConvertTo) {
    ExpectWholes({"v210",
                  kRow,
                  true,
                  v210::ConvertTo,
                  {model::ScalarConvertTo<unsigned char>, model::ScalarConvertTo<unsigned short>,
                   model::ScalarConvertTo<float>},
                  {model::VectorConvertTo<unsigned char>, model::VectorConvertTo<unsigned short>,
                   model::VectorConvertTo<float>},
                  true});
}

TEST(V210Exactness, WholeCreateFrom) {
    ExpectWholes({"v210",
                  kRow,
                  false,
                  v210::CreateFrom,
                  {model::ScalarCreateFrom<unsigned char>, model::ScalarCreateFrom<unsigned short>,
                   model::ScalarCreateFrom<float>},
                  {model::VectorCreateFrom<unsigned char>, model::VectorCreateFrom<unsigned short>,
                   model::VectorCreateFrom<float>},
                  false});
}

}  // namespace
