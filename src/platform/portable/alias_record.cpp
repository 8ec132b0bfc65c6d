#include "platform/portable/alias_record.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/portable/mac_roman.h"
#include "platform/portable/unicode.h"

namespace KVX::Platform {

namespace {

// The one way to the record's bytes: big-endian, from the front, never past the end.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : mRest(bytes) {}

    bool IsAtEnd() const { return mRest.empty(); }

    bool Take(size_t size, std::string_view& bytes) {
        if (size > mRest.size()) {
            return false;
        }
        bytes = mRest.substr(0, size);
        mRest.remove_prefix(size);
        return true;
    }

    bool Skip(size_t size) {
        std::string_view ignored;
        return Take(size, ignored);
    }

    bool Take16(uint16_t& value) {
        std::string_view bytes;
        if (!Take(2, bytes)) {
            return false;
        }
        value = static_cast<uint16_t>(static_cast<uint8_t>(bytes[0]) << 8 |
                                      static_cast<uint8_t>(bytes[1]));
        return true;
    }

  private:
    std::string_view mRest;
};

// What both versions begin with: 4 bytes of the application's, the record's size, the version.
constexpr size_t kUserTypeSize = 4;

struct Version {
    uint16_t number;
    size_t fixedSize;  // bytes before the tagged items
};

constexpr Version kVersions[] = {{2, 150}, {3, 58}};

// Version 2: a length byte and the text, 28 bytes together.
constexpr size_t kVolumeNameOffset = 10;
constexpr size_t kVolumeNameCapacity = 27;

// Version 3: the last byte of the volume's attributes.
constexpr size_t kVolumeAttributesLowByteOffset = 43;
constexpr uint8_t kVolumeIsBootVolume = 0x20;

enum Tag : uint16_t {
    kTagColonPath = 2,
    kTagVolumeName = 15,
    kTagPosixPath = 18,   // from the root of its volume
    kTagMountPoint = 19,  // of that volume
    kTagEnd = 0xFFFF,
};

// Views into the record.
struct AliasFields {
    std::optional<std::string_view> colonPath;
    std::optional<std::string_view> posixPath;
    std::optional<std::string_view> mountPoint;
    std::optional<std::string_view> unicodeVolumeName;  // counted big-endian UTF-16
    std::optional<std::string_view> pascalVolumeName;   // with its length byte
    bool isOnBootVolume = false;
};

// Text with its own count of UTF-16 units in front.
bool TakeCountedUnits(std::string_view value, std::string_view& units) {
    Reader reader(value);
    uint16_t count = 0;
    return reader.Take16(count) && reader.Take(size_t{count} * 2, units) && reader.IsAtEnd();
}

// A repeated tag replaces the earlier one. Whether a value is well-formed is checked when the path
// needs it.
void ReadItem(uint16_t tag, std::string_view value, AliasFields& fields) {
    switch (tag) {
        case kTagColonPath:
            fields.colonPath = value;
            break;
        case kTagPosixPath:
            fields.posixPath = value;
            break;
        case kTagMountPoint:
            fields.mountPoint = value;
            break;
        case kTagVolumeName:
            fields.unicodeVolumeName = value;
            break;
        default:
            break;
    }
}

// The end item, and the padding of an odd last value, may be missing at the record's very end.
bool ReadItems(std::string_view items, AliasFields& fields) {
    Reader reader(items);
    while (!reader.IsAtEnd()) {
        uint16_t tag = 0;
        uint16_t size = 0;
        std::string_view value;
        if (!reader.Take16(tag) || !reader.Take16(size)) {
            return false;
        }
        if (tag == kTagEnd) {
            return true;
        }
        if (!reader.Take(size, value)) {
            return false;
        }
        ReadItem(tag, value, fields);
        if (size % 2 != 0 && !reader.IsAtEnd()) {
            reader.Skip(1);
        }
    }
    return true;
}

bool ReadRecord(std::string_view bytes, AliasFields& fields) {
    Reader head(bytes);
    uint16_t size = 0;
    uint16_t number = 0;
    if (!head.Skip(kUserTypeSize) || !head.Take16(size) || !head.Take16(number)) {
        return false;
    }
    const Version* version =
        std::find_if(std::begin(kVersions), std::end(kVersions),
                     [number](const Version& known) { return known.number == number; });
    if (version == std::end(kVersions) || size < version->fixedSize || size > bytes.size()) {
        return false;
    }
    const std::string_view record = bytes.substr(0, size);
    if (number == 2) {
        fields.pascalVolumeName = record.substr(kVolumeNameOffset, 1 + kVolumeNameCapacity);
    } else {
        fields.isOnBootVolume = (static_cast<uint8_t>(record[kVolumeAttributesLowByteOffset]) &
                                 kVolumeIsBootVolume) != 0;
    }
    return ReadItems(record.substr(version->fixedSize), fields);
}

bool IsUtf8(std::string_view text) {
    size_t units = 0;
    return CountUtf16(reinterpret_cast<const uint8_t*>(text.data()), text.size(), units);
}

bool IsPath(std::string_view text) {
    return !text.empty() && text.find('\0') == std::string_view::npos && IsUtf8(text);
}

// Between the classic system's names, parted by colons, and POSIX ones: each has the other's
// separator as an ordinary character.
void SwapSeparators(std::string& text) {
    for (char& character : text) {
        character = character == ':' ? '/' : character == '/' ? ':' : character;
    }
}

// Text in the system's script, which newer systems wrote as UTF-8.
std::string FromSystemScript(std::string_view text) {
    return IsUtf8(text) ? std::string(text) : MacRomanToUtf8(text);
}

bool FromBigEndianUnits(std::string_view bytes, std::string& text) {
    std::vector<uint16_t> units;
    Reader reader(bytes);
    for (uint16_t unit = 0; reader.Take16(unit);) {
        units.push_back(unit);
    }
    for (size_t position = 0; position < units.size();) {
        const EncodedCharacter character =
            EncodeUtf8(units.data() + position, units.size() - position);
        if (character.units == 0) {
            return false;
        }
        text.append(reinterpret_cast<const char*>(character.bytes), character.size);
        position += character.units;
    }
    return true;
}

// The volume's full name where it is recorded, else the short one, else what the colon path calls
// it.
bool GetVolumeName(const AliasFields& fields, std::string_view nameInPath, std::string& name) {
    name.clear();
    std::string_view units;
    if (fields.unicodeVolumeName && !TakeCountedUnits(*fields.unicodeVolumeName, units)) {
        return false;
    }
    if (!units.empty()) {
        return FromBigEndianUnits(units, name);
    }
    if (fields.pascalVolumeName) {
        const size_t length = static_cast<uint8_t>(fields.pascalVolumeName->front());
        if (length > kVolumeNameCapacity) {
            return false;
        }
        name = FromSystemScript(fields.pascalVolumeName->substr(1, length));
    }
    if (name.empty()) {
        name = FromSystemScript(nameInPath);
    }
    return !name.empty();
}

// Both parts with exactly one slash between them.
std::string Join(std::string_view mountPoint, std::string_view path) {
    while (!mountPoint.empty() && mountPoint.back() == '/') {
        mountPoint.remove_suffix(1);
    }
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
    }
    return std::string(mountPoint).append("/").append(path);
}

OSStatus PathFromPosixPath(const AliasFields& fields, std::string& path) {
    if (!IsPath(*fields.posixPath)) {
        return paramErr;
    }
    path = Join(fields.mountPoint.value_or("/"), *fields.posixPath);
    return noErr;
}

OSStatus PathFromColonPath(const AliasFields& fields, std::string& path) {
    // Some writers put a zero after each colon, or zeros at the end.
    std::string colonPath(*fields.colonPath);
    colonPath.erase(std::remove(colonPath.begin(), colonPath.end(), '\0'), colonPath.end());
    const size_t colon = colonPath.find(':');
    if (colon == std::string::npos || colon + 1 == colonPath.size()) {
        return paramErr;
    }
    std::string mountPoint = "/";
    if (fields.mountPoint) {
        mountPoint = *fields.mountPoint;
    } else if (!fields.isOnBootVolume) {
        std::string name;
        if (!GetVolumeName(fields, std::string_view(colonPath).substr(0, colon), name)) {
            return paramErr;
        }
        SwapSeparators(name);
        mountPoint = "/Volumes/" + name;
    }
    std::string target = FromSystemScript(std::string_view(colonPath).substr(colon + 1));
    SwapSeparators(target);
    path = Join(mountPoint, target);
    return noErr;
}

}  // namespace

OSStatus ReadAliasPath(const uint8_t* record, size_t size, std::string& path) {
    AliasFields fields;
    if (!ReadRecord(std::string_view(reinterpret_cast<const char*>(record), size), fields)) {
        return paramErr;
    }
    if (fields.mountPoint && (!IsPath(*fields.mountPoint) || fields.mountPoint->front() != '/')) {
        return paramErr;
    }
    std::string result;
    OSStatus status = fnfErr;
    if (fields.posixPath) {
        status = PathFromPosixPath(fields, result);
    } else if (fields.colonPath) {
        status = PathFromColonPath(fields, result);
    }
    if (status == noErr && !IsPath(result)) {
        status = paramErr;
    }
    if (status == noErr) {
        path = result;
    }
    return status;
}

}  // namespace KVX::Platform
