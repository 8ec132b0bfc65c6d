#include "platform/portable/file_name.h"

namespace KVX::Platform {

bool GetFileSystemText(CFStringRef string, std::string& text) {
    const CFIndex length = CFStringGetLength(string);
    const CFRange whole = CFRangeMake(0, length);
    CFIndex size = 0;
    if (CFStringGetBytes(string, whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size) !=
        length) {
        return false;
    }
    text.resize(static_cast<size_t>(size));
    CFStringGetBytes(string, whole, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(text.data()), size, &size);
    return text.find('\0') == std::string::npos;
}

}  // namespace KVX::Platform
