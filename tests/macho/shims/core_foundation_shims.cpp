// CoreFoundation, by the importer's own code for systems without it.
#include "macho/shims/shims.h"
#include "platform/file_manager.h"

namespace macho {

std::vector<Shim> CoreFoundationShims() {
    return {
        Function("_CFRelease", &CFRelease),
        Function("_CFStringCreateWithBytes", &CFStringCreateWithBytes),
        Function("_CFStringCreateWithCharacters", &CFStringCreateWithCharacters),
        Function("_CFStringFind", &CFStringFind),
        Widening<&CFStringGetCString>("_CFStringGetCString"),
        Function("_CFStringGetLength", &CFStringGetLength),
        Function("_CFStringGetMaximumSizeForEncoding", &CFStringGetMaximumSizeForEncoding),
        Function("_CFURLCreateWithFileSystemPath", &CFURLCreateWithFileSystemPath),
        Widening<&CFURLGetFSRef>("_CFURLGetFSRef"),
        Data("_kCFAllocatorDefault", &kCFAllocatorDefault),
    };
}

}  // namespace macho
