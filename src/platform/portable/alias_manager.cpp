#include <new>
#include <string>

#include "platform/file_manager.h"
#include "platform/portable/alias_record.h"

OSStatus FSCopyAliasInfo(AliasHandle alias, HFSUniStr255* targetName, HFSUniStr255* volumeName,
                         CFStringRef* path, FSAliasInfoBitmap* whichInfo, FSAliasInfo* info) {
    const bool asksForMore =
        targetName != nullptr || volumeName != nullptr || whichInfo != nullptr || info != nullptr;
    if (alias == nullptr || *alias == nullptr || asksForMore) {
        return paramErr;
    }
    try {
        std::string text;
        const OSStatus status = KVX::Platform::ReadAliasPath(
            reinterpret_cast<const uint8_t*>(*alias),
            static_cast<size_t>(GetHandleSize(reinterpret_cast<Handle>(alias))), text);
        if (status != noErr || path == nullptr) {
            return status;
        }
        CFStringRef string = CFStringCreateWithBytes(
            kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
            static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
        if (string == nullptr) {
            return memFullErr;
        }
        *path = string;
        return noErr;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}
