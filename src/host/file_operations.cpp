// Files that the host has moved or deleted. No open movie takes notice.
#include "core/log.h"
#include "host/file_import_module.h"
#include "host/host_values.h"
#include "platform/core_foundation.h"
#include "platform/file_manager.h"

namespace KVX {

namespace {

// Replace what is at the destination, and fail rather than copy to another volume: a rename.
constexpr OptionBits kMoveOptions =
    kFSFileOperationOverwrite | kFSFileOperationDoNotMoveAcrossVolumes;
static_assert(kMoveOptions == 5, "published values");

CFStringRef CreateString(const prUTF16Char* units, CFIndex count) {
    return CFStringCreateWithCharacters(kCFAllocatorDefault, units, count);
}

// Stores the reference of the file or directory at a path. A failure is its result and the name of
// the function that failed.
long GetRef(const prUTF16Char* units, CFIndex count, Boolean isDirectory, FSRef& ref,
            const char*& failed) {
    const CFOwned<CFStringRef> path(CreateString(units, count));
    if (path.Get() == nullptr) {
        failed = "CFStringCreateWithCharacters";
        return imMemErr;
    }
    const CFOwned<CFURLRef> url(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path.Get(),
                                                              kCFURLPOSIXPathStyle, isDirectory));
    if (url.Get() == nullptr) {
        failed = "CFURLCreateWithFileSystemPath";
        return imMemErr;
    }
    if (!CFURLGetFSRef(url.Get(), &ref)) {
        failed = "CFURLGetFSRef";
        return imBadFile;
    }
    return imNoErr;
}

// The place of the last "/", or kCFNotFound.
CFIndex FindLastSlash(CFStringRef path) {
    constexpr prUTF16Char kSlash = '/';
    const CFOwned<CFStringRef> slash(CreateString(&kSlash, 1));
    if (slash.Get() == nullptr) {
        return kCFNotFound;
    }
    return CFStringFind(path, slash.Get(), kCFCompareBackwards).location;
}

}  // namespace

long FileImportModule::SaveFile8(imSaveFileRec8* record) {
    const char* failed = nullptr;
    const prUTF16Char* source = record->sourcePath;
    FSRef sourceRef;
    long result = GetRef(source, GetPathLength(source), false, sourceRef, failed);
    if (result != imNoErr) {
        KVX_LOG("%s failed\n", failed);
        return result;
    }

    const prUTF16Char* destination = record->destinationPath;
    const CFOwned<CFStringRef> path(CreatePathString(destination));
    if (path.Get() == nullptr) {
        KVX_LOG("CFStringCreateWithCharacters failed\n");
        return imMemErr;
    }
    const CFIndex slash = FindLastSlash(path.Get());
    if (slash == kCFNotFound) {
        KVX_LOG("CFStringFind failed\n");
        return imBadFile;
    }
    FSRef directoryRef;
    result = GetRef(destination, slash, true, directoryRef, failed);
    if (result != imNoErr) {
        KVX_LOG("%s failed\n", failed);
        return result;
    }
    const CFOwned<CFStringRef> name(
        CreateString(destination + slash + 1, CFStringGetLength(path.Get()) - slash - 1));
    if (name.Get() == nullptr) {
        KVX_LOG("CFStringCreateWithCharacters failed\n");
        return imMemErr;
    }

    const OSStatus moved =
        FSMoveObjectSync(&sourceRef, &directoryRef, name.Get(), nullptr, kMoveOptions);
    if (moved != noErr) {
        KVX_LOG("FSMoveObjectSync returned %d\n", static_cast<int>(moved));
    }
    return moved;
}

long FileImportModule::DeleteFile8(imDeleteFileRec8* record) {
    const char* failed = nullptr;
    const prUTF16Char* path = record->deleteFilePath;
    FSRef ref;
    const long result = GetRef(path, GetPathLength(path), false, ref, failed);
    if (result != imNoErr) {
        KVX_LOG("%s failed\n", failed);
        return result;
    }
    const OSErr deleted = FSDeleteObject(&ref);
    if (deleted != noErr) {
        KVX_LOG("FSDeleteObject returned %d\n", deleted);
    }
    return deleted;
}

}  // namespace KVX
