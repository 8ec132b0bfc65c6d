#include "util/text.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace KVX::Util::Text {

static_assert(sizeof(wchar_t) == sizeof(uint32_t), "wide strings are UTF-32");

pthread_key_t StringStorage::key;
pthread_once_t StringStorage::key_once = PTHREAD_ONCE_INIT;

namespace {

// Before our own key is made, 0 would be another library's.
bool sHasKey = false;

}  // namespace

void StringStorage::make_key() {
    sHasKey = pthread_key_create(&key, nullptr) == 0;
}

void* StringStorage::Storage::get_ptr(unsigned long size) {
    if (mBlock == nullptr || mCapacity < size) {
        std::free(mBlock);
        mBlock = std::calloc(size, 1);
        mCapacity = mBlock == nullptr ? 0 : size;
    }
    return mBlock;
}

void* StringStorage::get_ptr(int size) {
    if (size < 0 || pthread_once(&key_once, &make_key) != 0 || !sHasKey) {
        return nullptr;
    }
    Storage* storage = static_cast<Storage*>(pthread_getspecific(key));
    if (storage == nullptr) {
        storage = new (std::nothrow) Storage;
        if (storage == nullptr) {
            return nullptr;
        }
        if (pthread_setspecific(key, storage) != 0) {
            delete storage;
            return nullptr;
        }
    }
    return storage->get_ptr(static_cast<unsigned long>(size));
}

namespace {

// The three tables are those of the Unicode Consortium's reference converter for UTF-8.

// The number of bytes that follow a lead byte.
constexpr uint8_t trailingBytesForUTF8[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5,
};

// The sums of the marker bits of a sequence, by its number of trailing bytes.
constexpr uint32_t offsetsFromUTF8[6] = {0x00000000, 0x00003080, 0x000E2080,
                                         0x03C82080, 0xFA082080, 0x82082080};

// The marker bits of a lead byte, by the length of its sequence.
constexpr uint8_t firstByteMark[7] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

constexpr int kMaximumTrailingBytes = 3;
constexpr uint32_t kReplacementCharacter = 0xFFFD;
constexpr uint32_t kUnicodeEnd = 0x110000;

bool IsSurrogate(uint32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

// Scratch for `count` characters of up to four bytes, in either direction, and one more.
void* GetScratch(size_t count) {
    constexpr size_t kMaximumCount = (INT_MAX - 4) / 4;
    return count > kMaximumCount ? nullptr
                                 : StringStorage::get_ptr(static_cast<int>(4 * count + 4));
}

// Whether the sequence of 1 to 4 bytes, all of them present, is legal: the shortest form of
// something that is neither a surrogate nor above U+10FFFF.
bool IsLegalSequence(const uint8_t* sequence, int trailing) {
    for (int index = 1; index <= trailing; ++index) {
        if (sequence[index] < 0x80 || sequence[index] > 0xBF) {
            return false;
        }
    }
    const uint8_t lead = sequence[0];
    switch (lead) {
        case 0xE0:
            return sequence[1] >= 0xA0;
        case 0xED:
            return sequence[1] <= 0x9F;
        case 0xF0:
            return sequence[1] >= 0x90;
        case 0xF4:
            return sequence[1] <= 0x8F;
        default:
            return lead < 0x80 || (lead > 0xC1 && lead < 0xF4);
    }
}

int EncodedLength(uint32_t codePoint) {
    return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

}  // namespace

std::wstring utf8_to_wide(const char* text) {
    const size_t length = std::strlen(text);
    wchar_t* wide = static_cast<wchar_t*>(GetScratch(length));
    if (wide == nullptr) {
        return std::wstring();
    }
    const uint8_t* source = reinterpret_cast<const uint8_t*>(text);
    const uint8_t* const end = source + length;
    wchar_t* target = wide;
    bool failed = false;
    while (source < end) {
        const int trailing = trailingBytesForUTF8[*source];
        if (trailing >= end - source || trailing > kMaximumTrailingBytes ||
            !IsLegalSequence(source, trailing)) {
            return std::wstring();
        }
        uint32_t codePoint = 0;
        for (int index = 0; index <= trailing; ++index) {
            codePoint = (codePoint << 6) + *source++;
        }
        codePoint -= offsetsFromUTF8[trailing];
        if (IsSurrogate(codePoint)) {
            return std::wstring();
        }
        if (codePoint >= kUnicodeEnd) {
            codePoint = kReplacementCharacter;
            failed = true;
        }
        *target++ = static_cast<wchar_t>(codePoint);
    }
    return failed ? std::wstring() : std::wstring(wide, target);
}

std::string wide_to_utf8(const wchar_t* text, int length) {
    uint8_t* narrow =
        length < 0 ? nullptr : static_cast<uint8_t*>(GetScratch(static_cast<size_t>(length)));
    if (narrow == nullptr) {
        return std::string();
    }
    uint8_t* target = narrow;
    bool failed = false;
    for (int index = 0; index < length; ++index) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): 32 bits become 32 bits.
        uint32_t codePoint = static_cast<uint32_t>(text[index]);
        if (IsSurrogate(codePoint)) {
            return std::string();
        }
        if (codePoint >= kUnicodeEnd) {
            codePoint = kReplacementCharacter;
            failed = true;
        }
        const int size = EncodedLength(codePoint);
        for (int place = size - 1; place > 0; --place) {
            target[place] = static_cast<uint8_t>(0x80 | (codePoint & 0x3F));
            codePoint >>= 6;
        }
        target[0] = static_cast<uint8_t>(firstByteMark[size] | codePoint);
        target += size;
    }
    return failed ? std::string() : std::string(narrow, target);
}

std::string cf2u(CFStringRef string) {
    std::string result;
    if (string == nullptr) {
        return result;
    }
    const CFIndex size =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8);
    if (size <= 0) {
        return result;
    }
    const std::unique_ptr<char, void (*)(void*)> text(
        static_cast<char*>(std::malloc(static_cast<size_t>(size))), &std::free);
    if (text != nullptr && CFStringGetCString(string, text.get(), size, kCFStringEncodingUTF8)) {
        result = text.get();
    }
    return result;
}

CFStringRef u2cf(const std::string& text) {
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

}  // namespace KVX::Util::Text
