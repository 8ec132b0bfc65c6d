#include "cli/output/base64.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kvx_cli {

std::string Base64(const std::string& bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t place = 0; place < bytes.size(); place += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - place);
        uint32_t group = 0;
        for (size_t i = 0; i < 3; ++i) {
            group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[place + i]) : 0);
        }
        for (size_t i = 0; i < 4; ++i) {
            text += i <= count ? kDigits[group >> (18 - 6 * i) & 0x3F] : '=';
        }
    }
    return text;
}

}  // namespace kvx_cli
