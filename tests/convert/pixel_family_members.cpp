#include "convert/pixel_family_members.h"

#include <stdexcept>

#include "convert/video/pixel_conversion.h"

namespace kvx_test {

const std::vector<FamilyMember>& FamilyMembers() {
    namespace family = KVX::PixelConversion;
    static const std::vector<FamilyMember> members = {
        {"8YUV422_SD", family::Convert_10XRGB_BE_SMPTE_To_8YUV422_SD},
        {"8YUV422_HD", family::Convert_10XRGB_BE_SMPTE_To_8YUV422_HD},
        {"10YUV422_LE_SD", family::Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_SD},
        {"10YUV422_LE_HD", family::Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_HD},
        {"8ARGB_FULL", family::Convert_10XRGB_BE_SMPTE_To_8ARGB_FULL},
        {"8BGRA_FULL", family::Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL},
        {"8BGRA_FULL_Scalar", family::Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL_Scalar},
        {"8RGBA_FULL", family::Convert_10XRGB_BE_SMPTE_To_8RGBA_FULL},
        {"10RGBX_LE_SMPTE", family::Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_SMPTE},
        {"10RGBX_BE_SMPTE", family::Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_SMPTE},
        {"10RGBX_LE_FULL", family::Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL},
        {"10RGBX_BE_FULL", family::Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_FULL},
        {"10RGBA_BE_FULL", family::Convert_10XRGB_BE_SMPTE_To_10RGBA_BE_FULL},
        {"8RGB_FULL", family::Convert_10XRGB_BE_SMPTE_To_8RGB_FULL},
        {"10XRGB_BE_FULL", family::Convert_10XRGB_BE_SMPTE_To_10XRGB_BE_FULL},
    };
    return members;
}

FamilyFunction* FindFamilyMember(const std::string& name) {
    for (const FamilyMember& member : FamilyMembers()) {
        if (member.name == name) {
            return member.convert;
        }
    }
    throw std::invalid_argument(name);
}

}  // namespace kvx_test
