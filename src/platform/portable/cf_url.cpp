#include "platform/portable/cf_url.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "platform/portable/file_name.h"

namespace {

// A relative path is one below the folder that is current now, even if that changes later.
bool MakeAbsolute(std::string& path) {
    if (path.empty() || path.front() == '/') {
        return true;
    }
    const std::unique_ptr<char, void (*)(void*)> current(getcwd(nullptr, 0), &std::free);
    if (current == nullptr) {
        return false;
    }
    path.insert(0, "/").insert(0, current.get());
    return true;
}

}  // namespace

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef string, CFURLPathStyle style,
                                       Boolean isDirectory) {
    KVX::Platform::Require(string != nullptr && style == kCFURLPOSIXPathStyle);
    try {
        std::string path;
        if (!KVX::Platform::GetFileSystemText(string, path) || !MakeAbsolute(path)) {
            return nullptr;
        }
        if (isDirectory && !path.empty() && path.back() != '/') {
            path += '/';
        }
        return new __CFURL(std::move(path));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
