// CFString over UTF-16 in one block, with the two encodings that paths and log lines need.

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/core_foundation.h"
#include "platform/portable/cf_object.h"
#include "platform/portable/unicode.h"

using KVX::Platform::CFObject;
using KVX::Platform::Require;

struct __CFAllocator {};

namespace {
const __CFAllocator sNullAllocator{};
}  // namespace

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorNull = &sNullAllocator;

struct __CFString final : CFObject {
    // Takes `units` over when `owned`: then they come from malloc.
    __CFString(const UniChar* units, CFIndex length, bool owned)
        : mUnits(units), mLength(length), mOwned(owned) {}
    ~__CFString() override {
        if (mOwned) {
            std::free(const_cast<UniChar*>(mUnits));
        }
    }

    const UniChar* const mUnits;
    const CFIndex mLength;

  private:
    const bool mOwned;
};

namespace {

constexpr CFIndex kMaximumLength = LONG_MAX / static_cast<CFIndex>(sizeof(UniChar));

UniChar* AllocateUnits(size_t count) {
    // One unit more than asked: an empty string has a block like any other.
    return static_cast<UniChar*>(std::malloc((count + 1) * sizeof(UniChar)));
}

CFStringRef AdoptUnits(UniChar* units, size_t count) {
    if (units == nullptr) {
        return nullptr;
    }
    CFStringRef string = new (std::nothrow) __CFString(units, static_cast<CFIndex>(count), true);
    if (string == nullptr) {
        std::free(units);
    }
    return string;
}

bool IsRangeInside(CFStringRef string, CFRange range) {
    return range.location >= 0 && range.length >= 0 && range.location <= string->mLength &&
           range.length <= string->mLength - range.location;
}

bool IsAscii(const UInt8* bytes, size_t size) {
    for (size_t index = 0; index < size; ++index) {
        if (bytes[index] >= 0x80) {
            return false;
        }
    }
    return true;
}

bool IsKnownEncoding(CFStringEncoding encoding) {
    return encoding == kCFStringEncodingASCII || encoding == kCFStringEncodingUTF8;
}

// The first character of `count` units in a known encoding; `units` is 0 if it lacks that one.
KVX::Platform::EncodedCharacter Encode(const UniChar* units, CFIndex count,
                                       CFStringEncoding encoding) {
    if (encoding == kCFStringEncodingASCII && units[0] >= 0x80) {
        return {{}, 0, 0};
    }
    return KVX::Platform::EncodeUtf8(units, static_cast<size_t>(count));
}

}  // namespace

CFTypeRef CFRetain(CFTypeRef object) {
    Require(object != nullptr);
    static_cast<const CFObject*>(object)->Retain();
    return object;
}

void CFRelease(CFTypeRef object) {
    Require(object != nullptr);
    static_cast<const CFObject*>(object)->Release();
}

CFIndex CFGetRetainCount(CFTypeRef object) {
    Require(object != nullptr);
    return static_cast<const CFObject*>(object)->Count();
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* characters, CFIndex count) {
    if (count < 0 || count >= kMaximumLength || (characters == nullptr && count != 0)) {
        return nullptr;
    }
    const size_t size = static_cast<size_t>(count);
    UniChar* units = AllocateUnits(size);
    if (units != nullptr && size != 0) {
        std::memcpy(units, characters, size * sizeof(UniChar));
    }
    return AdoptUnits(units, size);
}

CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef, const UniChar* characters,
                                               CFIndex count, CFAllocatorRef deallocator) {
    if (count < 0 || count >= kMaximumLength || (characters == nullptr && count != 0)) {
        return nullptr;
    }
    return new (std::nothrow) __CFString(characters, count, deallocator != kCFAllocatorNull);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (count < 0 || count >= kMaximumLength || (bytes == nullptr && count != 0)) {
        return nullptr;
    }
    size_t size = static_cast<size_t>(count);
    static constexpr UInt8 kByteOrderMark[] = {0xEF, 0xBB, 0xBF};
    if (isExternalRepresentation && encoding == kCFStringEncodingUTF8 &&
        size >= sizeof(kByteOrderMark) &&
        std::memcmp(bytes, kByteOrderMark, sizeof(kByteOrderMark)) == 0) {
        bytes += sizeof(kByteOrderMark);
        size -= sizeof(kByteOrderMark);
    }
    size_t length = 0;
    if (!IsKnownEncoding(encoding) ||
        (encoding == kCFStringEncodingASCII && !IsAscii(bytes, size)) ||
        !KVX::Platform::CountUtf16(bytes, size, length)) {
        return nullptr;
    }
    UniChar* units = AllocateUnits(length);
    if (units != nullptr) {
        KVX::Platform::WriteUtf16(bytes, size, units);
    }
    return AdoptUnits(units, length);
}

CFIndex CFStringGetLength(CFStringRef string) {
    Require(string != nullptr);
    return string->mLength;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    if (!IsKnownEncoding(encoding)) {
        return kCFNotFound;
    }
    const CFIndex bytesPerUnit = encoding == kCFStringEncodingUTF8 ? 3 : 1;
    return length > LONG_MAX / bytesPerUnit ? kCFNotFound : length * bytesPerUnit;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size,
                           CFStringEncoding encoding) {
    Require(string != nullptr);
    if (buffer == nullptr || size < 1) {
        return false;
    }
    CFIndex used = 0;
    const CFIndex converted =
        CFStringGetBytes(string, CFRangeMake(0, string->mLength), encoding, 0, false,
                         reinterpret_cast<UInt8*>(buffer), size - 1, &used);
    if (converted != string->mLength) {
        return false;
    }
    buffer[used] = '\0';
    return true;
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean /* isExternalRepresentation: no mark is written */,
                         UInt8* buffer, CFIndex maximum, CFIndex* used) {
    Require(string != nullptr && IsRangeInside(string, range));
    CFIndex units = 0;
    CFIndex bytes = 0;
    while (IsKnownEncoding(encoding) && units < range.length) {
        KVX::Platform::EncodedCharacter character =
            Encode(string->mUnits + range.location + units, range.length - units, encoding);
        if (character.units == 0 && lossByte != 0) {
            character = {{lossByte}, 1, 1};
        }
        const CFIndex size = static_cast<CFIndex>(character.size);
        if (character.units == 0 || (buffer != nullptr && size > maximum - bytes)) {
            break;
        }
        if (buffer != nullptr) {
            std::memcpy(buffer + bytes, character.bytes, character.size);
        }
        bytes += size;
        units += static_cast<CFIndex>(character.units);
    }
    if (used != nullptr) {
        *used = bytes;
    }
    return units;
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
    Require(string != nullptr && IsRangeInside(string, range));
    if (range.length != 0) {
        std::memcpy(buffer, string->mUnits + range.location,
                    static_cast<size_t>(range.length) * sizeof(UniChar));
    }
}

CFRange CFStringFind(CFStringRef string, CFStringRef wanted, CFStringCompareFlags flags) {
    Require(string != nullptr && wanted != nullptr);
    const CFIndex places = string->mLength - wanted->mLength + 1;
    if (wanted->mLength == 0) {
        return CFRangeMake(kCFNotFound, 0);
    }
    for (CFIndex step = 0; step < places; ++step) {
        const CFIndex place = (flags & kCFCompareBackwards) != 0 ? places - 1 - step : step;
        if (std::memcmp(string->mUnits + place, wanted->mUnits,
                        static_cast<size_t>(wanted->mLength) * sizeof(UniChar)) == 0) {
            return CFRangeMake(place, wanted->mLength);
        }
    }
    return CFRangeMake(kCFNotFound, 0);
}
