#include "host/host_values.h"

namespace KVX {

CFIndex GetPathLength(const prUTF16Char* path) {
    CFIndex length = 0;
    while (path != nullptr && path[length] != 0) {
        ++length;
    }
    return length;
}

CFStringRef CreatePathString(const prUTF16Char* path) {
    return CFStringCreateWithCharacters(kCFAllocatorDefault, path, GetPathLength(path));
}

}  // namespace KVX
