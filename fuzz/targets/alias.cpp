// Alias records of any bytes, as the parser is given them and as a data reference hands them over.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/support/require.h"
#include "platform/file_manager.h"
#include "platform/portable/alias_record.h"
#include "tests/support/cf_owner.h"
#include "util/text.h"

using kvx_fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string path = "untouched";
    const OSStatus status = KVX::Platform::ReadAliasPath(data, size, path);
    if (status == noErr) {
        // An absolute path that a system call can take as it is.
        Require(!path.empty() && path[0] == '/' && path.find('\0') == std::string::npos);
    } else {
        Require(path == "untouched");
    }

    Handle handle = NewHandle(static_cast<Size>(size));
    Require(handle != nullptr);
    std::memcpy(*handle, data, size);
    CFStringRef text = nullptr;
    const OSStatus copied = FSCopyAliasInfo(reinterpret_cast<AliasHandle>(handle), nullptr, nullptr,
                                            &text, nullptr, nullptr);
    DisposeHandle(handle);
    Require((copied == noErr) == (status == noErr));
    if (copied == noErr) {
        const kvx_test::CFOwner<CFStringRef> owner(text);
        Require(KVX::Util::Text::cf2u(text) == path);
    }
    return 0;
}
