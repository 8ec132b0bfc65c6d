#include "support/alias_records.h"

#include <string_view>

namespace kvx_test {

namespace {

Bytes FromHex(std::string_view digits) {
    const auto value = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
    Bytes bytes;
    int high = -1;
    for (const char digit : digits) {
        if (digit == ' ') {
            continue;
        }
        if (high < 0) {
            high = value(digit);
        } else {
            bytes += static_cast<char>(high * 16 + value(digit));
            high = -1;
        }
    }
    return bytes;
}

}  // namespace

Bytes AliasExampleVersion2() {
    return FromHex(
        "00 00 00 00 01 10 00 02 00 00 05 4d 65 64 69 61 "  // volume "Media" at 10
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 cb 25 52 80 48 2b 00 00 00 00 "
        "00 15 08 63 6c 69 70 2e 6d 6f 76 00 00 00 00 00 "  // target "clip.mov" at 50
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 16 cb 78 61 00 4d 6f 6f 56 54 56 "
        "4f 44 ff ff ff ff 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 00 00 00 05 53 68 6f 74 73 00 "  // tag 0 at 150
        "00 01 00 04 00 00 00 15 00 02 00 14 4d 65 64 69 "  // tag 1 at 160, tag 2 at 168
        "61 3a 53 68 6f 74 73 3a 63 6c 69 70 2e 6d 6f 76 "
        "00 0e 00 12 00 08 00 63 00 6c 00 69 00 70 00 2e "  // tag 14 at 192
        "00 6d 00 6f 00 76 00 0f 00 0c 00 05 00 4d 00 65 "  // tag 15 at 214
        "00 64 00 69 00 61 00 12 00 0f 2f 53 68 6f 74 73 "  // tag 18 at 230
        "2f 63 6c 69 70 2e 6d 6f 76 00 00 13 00 0e 2f 56 "  // tag 19 at 250
        "6f 6c 75 6d 65 73 2f 4d 65 64 69 61 ff ff 00 00");
}

Bytes AliasExampleVersion3() {
    return FromHex(
        "00 00 00 00 00 ac 00 03 00 00 00 00 cb 25 52 80 "
        "00 00 48 2b 00 00 00 00 00 00 00 15 00 00 00 16 "
        "00 00 cb 78 61 00 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 00 00 00 00 00 00 00 05 53 68 "  // tag 0 at 58
        "6f 74 73 00 00 02 00 14 4d 65 64 69 61 3a 53 68 "  // tag 2 at 68
        "6f 74 73 3a 63 6c 69 70 2e 6d 6f 76 00 0e 00 12 "  // tag 14 at 92
        "00 08 00 63 00 6c 00 69 00 70 00 2e 00 6d 00 6f "
        "00 76 00 0f 00 0c 00 05 00 4d 00 65 00 64 00 69 "  // tag 15 at 114
        "00 61 00 12 00 0f 2f 53 68 6f 74 73 2f 63 6c 69 "  // tag 18 at 130
        "70 2e 6d 6f 76 00 00 13 00 0e 2f 56 6f 6c 75 6d "  // tag 19 at 150
        "65 73 2f 4d 65 64 69 61 ff ff 00 00");
}

Bytes AliasUnicodeName(const std::string& ascii) {
    Bytes units;
    for (const char character : ascii) {
        units += big16(character);
    }
    return big16(static_cast<int64_t>(ascii.size())) + units;
}

Bytes AliasItems(const std::vector<AliasItem>& items) {
    Bytes bytes;
    for (const AliasItem& item : items) {
        bytes += big16(item.first) + big16(static_cast<int64_t>(item.second.size())) + item.second +
                 zeros(item.second.size() % 2);
    }
    return bytes + big16(0xFFFF) + big16(0);
}

Bytes AliasVersion2(const std::string& volumeName, const Bytes& items) {
    const Bytes head = zeros(6) + big16(2) + big16(0) + static_cast<char>(volumeName.size()) +
                       volumeName + zeros(27 - volumeName.size());
    return WithAliasSize(head + zeros(150 - head.size()) + items, 150 + items.size());
}

Bytes AliasVersion3(uint32_t volumeAttributes, const Bytes& items) {
    return WithAliasSize(
        zeros(6) + big16(3) + zeros(32) + big32(volumeAttributes) + zeros(14) + items,
        58 + items.size());
}

Bytes WithAliasSize(Bytes record, size_t size) {
    return record.replace(4, 2, big16(static_cast<int64_t>(size)));
}

}  // namespace kvx_test
