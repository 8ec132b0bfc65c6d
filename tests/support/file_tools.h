// What the tests of the file services share.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "platform/file_manager.h"
#include "support/cf_owner.h"
#include "support/movie_file.h"

namespace kvx_test {

inline CFOwner<CFStringRef> ToCFString(const std::string& text) {
    return CFOwner<CFStringRef>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

inline bool GetRef(const std::string& path, FSRef& ref, bool isDirectory = false) {
    const CFOwner<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, ToCFString(path).Get(), kCFURLPOSIXPathStyle, isDirectory));
    return url.Get() != nullptr && CFURLGetFSRef(url.Get(), &ref);
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<no file>";
}

}  // namespace kvx_test
