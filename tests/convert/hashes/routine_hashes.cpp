#include "convert/hashes/routine_hashes.h"

#include <cstddef>
#include <cstring>

#include "convert/oracle/noise.h"
#include "support/fnv1a.h"

namespace kvx_test::geometry {

namespace {

// A width that leaves a remainder of every step that there is.
constexpr int kWidth = 197;
constexpr int kHeight = 5;

const char* SourceOf(Samples samples) {
    using exactness::Noise;
    return samples == Samples::kBytes   ? Noise<unsigned char>().Data()
           : samples == Samples::kWords ? Noise<unsigned short>().Data()
                                        : Noise<float>().Data();
}

int AlignedRowBytes(const RowSize& row) {
    return (row.Of(kWidth) + 15) / 16 * 16;
}

}  // namespace

const std::vector<RoutineHash>& KnownHashes() {
    static const std::vector<RoutineHash> hashes = {
        {"r210_VectorConvertTo8u", 0x6A5DE9600A1D2B69},
        {"r210_VectorConvertTo8uMisSrc", 0x6A5DE9600A1D2B69},
        {"r210_VectorConvertTo16u", 0x0155057C028AAB95},
        {"r210_VectorConvertTo16uMisSrc", 0x0155057C028AAB95},
        {"r210_VectorConvertTo32f", 0x718AE8A82AC1E065},
        {"r210_VectorCreateFrom8u", 0x84A886BAEF15255D},
        {"r210_VectorCreateFrom8uMisSrc", 0x84A886BAEF15255D},
        {"r210_VectorCreateFrom16u", 0x758D454F0CE58B59},
        {"r210_VectorCreateFrom16uMisSrc", 0x758D454F0CE58B59},
        {"r210_VectorCreateFrom32f", 0x0C6D489166750871},
        {"r210_VectorConvertToV210", 0xE8C5061347B9D0B3},
        {"r210_VectorConvertToV210MisSrc", 0xE8C5061347B9D0B3},
        {"r210_ScalarConvertTo8u", 0xE0C790253CBEF789},
        {"r210_ScalarConvertTo16u", 0xCD345B6AA3FE2BA5},
        {"r210_ScalarConvertTo32f", 0xA281BF1A354E0205},
        {"r210_ScalarCreateFrom8u", 0xD870367BA25105ED},
        {"r210_ScalarCreateFrom16u", 0xF027F958757E3569},
        {"r210_ScalarCreateFrom32f", 0xD605DE75D2B68B5D},
        {"uyvy_VectorConvertTo8u", 0xCFAA8DCE01177B8C},
        {"uyvy_VectorConvertTo8uMisSrc", 0xCFAA8DCE01177B8C},
        {"uyvy_VectorConvertTo16u", 0x638563BC72CDAAC2},
        {"uyvy_VectorConvertTo32f", 0x49D86B01A7E074E2},
        {"uyvy_VectorCreateFrom8u", 0x83B2D552E5754145},
        {"uyvy_VectorCreateFrom8uMisSrc", 0x83B2D552E5754145},
        {"uyvy_VectorCreateFrom16u", 0x853AA71B9ED32E62},
        {"uyvy_VectorCreateFrom32f", 0x045EB187C1CFD2D8},
        {"uyvy_ScalarConvertTo8u", 0xCF48952123BD4BE4},
        {"uyvy_ScalarConvertTo16u", 0x2CB1B20DA2DD0171},
        {"uyvy_ScalarConvertTo32f", 0xD813A42F00F6BC1C},
        {"uyvy_ScalarCreateFrom8u", 0x2825BB13D863C87E},
        {"uyvy_ScalarCreateFrom16u", 0xC52E1D3A370063B8},
        {"uyvy_ScalarCreateFrom32f", 0xB0E1CA29EF0C7273},
        {"v210_VectorConvertTo8u", 0xEF54837D61A038DC},
        {"v210_VectorConvertTo16u", 0xF6BAF0FA78B3A9F1},
        {"v210_VectorConvertTo32f", 0x9AB4F7F0AEBF5D58},
        {"v210_VectorCreateFrom8u", 0x4F930529F0336155},
        {"v210_VectorCreateFrom8uMisSrc", 0x4F930529F0336155},
        {"v210_VectorCreateFrom16u", 0xC60D2F213D8DBCDF},
        {"v210_VectorCreateFrom32f", 0x90354EA8A4221AFB},
        {"v210_ScalarConvertTo8u", 0x4951182D0C68C1E2},
        {"v210_ScalarConvertTo16u", 0x0A555FCAA2C4A371},
        {"v210_ScalarConvertTo32f", 0xF05A54B86C919FC9},
        {"v210_ScalarCreateFrom8u", 0x14D4D1AD8839BD83},
        {"v210_ScalarCreateFrom16u", 0xCE19608045CC3162},
        {"v210_ScalarCreateFrom32f", 0x7E0298DF7313C6AB},
        {"family_8YUV422_SD", 0x87BEE0F5D102EFD9},
        {"family_8YUV422_HD", 0x5B5AAE044376DD19},
        {"family_10YUV422_LE_SD", 0xE10AFB8CD62B0775},
        {"family_10YUV422_LE_HD", 0x736E26BB99319E95},
        {"family_8ARGB_FULL", 0x5004B89D8795302D},
        {"family_8BGRA_FULL", 0x0B53994EC30E162D},
        {"family_8BGRA_FULL_Scalar", 0x4CE74E6800234525},
        {"family_8RGBA_FULL", 0x6933F2D8355748AD},
        {"family_10RGBX_LE_SMPTE", 0x851C6DDA540738F9},
        {"family_10RGBX_BE_SMPTE", 0x7BC4EDF890D0F181},
        {"family_10RGBX_LE_FULL", 0x656442E300BEB775},
        {"family_10RGBX_BE_FULL", 0xA6855CB5B42D3AA5},
        {"family_10RGBA_BE_FULL", 0x06840B6623764AC5},
        {"family_8RGB_FULL", 0x2248E0D464D8E9E9},
        {"family_10XRGB_BE_FULL", 0x331ABE0596625D35},
    };
    return hashes;
}

std::uint64_t KnownHashOf(const std::string& name) {
    for (const RoutineHash& known : KnownHashes()) {
        if (known.mName == name) {
            return known.mHash;
        }
    }
    return 0;
}

std::uint64_t HashOf(const Routine& routine, const Conversion& convert) {
    const int srcRowBytes = AlignedRowBytes(routine.mSrcRow);
    const int dstRowBytes = AlignedRowBytes(routine.mDstRow);
    const auto size =
        static_cast<std::size_t>(WrittenExtent(routine, kWidth, kHeight, dstRowBytes).mHigh);
    std::string all;
    for (const Matrix matrix : {Matrix::k601, Matrix::k709}) {
        exactness::AlignedBytes frame(size);
        std::memset(frame.Data(), 0, size);
        convert(SourceOf(routine.mSource), srcRowBytes, frame.Data(), dstRowBytes, kWidth, kHeight,
                matrix);
        all.append(frame.Data(), size);
    }
    return Fnv1a(all.data(), all.size());
}

}  // namespace kvx_test::geometry
