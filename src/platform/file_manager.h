// The part of the File, Alias and Memory Managers that moves and deletes files and reads alias
// records. As with platform/core_foundation.h: the system's headers where they are, the same
// declarations where they are not, and an implementation in platform/portable/ where there are no
// frameworks.
#pragma once

#include "platform/core_foundation.h"

#if defined(__APPLE__) && __has_include(<CoreServices/CoreServices.h>)
#include <CoreServices/CoreServices.h>
// Deprecated as a whole, yet the host speaks in the File Manager's result codes, and nothing else
// reads the alias records of old movies without looking for their targets.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
#else

extern "C" {

// Result codes (MacErrors.h).
enum : OSStatus {
    noErr = 0,
    dskFulErr = -34,
    ioErr = -36,
    bdNamErr = -37,
    tmfoErr = -42,
    fnfErr = -43,
    wPrErr = -44,
    fBsyErr = -47,
    dupFNErr = -48,
    paramErr = -50,
    permErr = -54,
    memFullErr = -108,
    dirNFErr = -120,
    notAFileErr = -1302,
    diffVolErr = -1303,
    errFSBadFSRef = -1401,
    errFSNotAFolder = -1407,
    errFSNameTooLong = -1410,
    errFSMissingName = -1411,
};

// Names a file or folder that exists. Opaque, and free to copy and to drop.
struct FSRef {
    UInt8 hidden[80];
};

struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
};

struct AliasRecord {
    UInt8 hidden[6];
};
using AliasPtr = AliasRecord*;
using AliasHandle = AliasPtr*;
using FSAliasInfoBitmap = UInt32;
struct FSAliasInfo;

enum : OptionBits {
    kFSFileOperationDefaultOptions = 0,
    kFSFileOperationOverwrite = 1,
    kFSFileOperationDoNotMoveAcrossVolumes = 4,
};

// A block of `size` bytes, reached through a pointer to its pointer; null without memory. The bytes
// are not cleared.
Handle NewHandle(Size size);
void DisposeHandle(Handle handle);
Size GetHandleSize(Handle handle);

// False when the URL names nothing that exists. A symbolic link at the end of a URL that is not a
// directory's is itself what is named.
Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* ref);

// Moves `source` into the folder `destination`, as `name`, or under its own name when that is null.
// `moved`, unless null, names the result. Waits for the file system.
OSStatus FSMoveObjectSync(const FSRef* source, const FSRef* destination, CFStringRef name,
                          FSRef* moved, OptionBits options);

// Deletes a file, a symbolic link or an empty folder.
OSErr FSDeleteObject(const FSRef* ref);

// Stores the path that an alias record holds, as a string for the caller to release; on failure
// `path` is untouched. The target is not looked for. The other outputs may be null; where this is
// our own implementation they must be, and are refused with paramErr otherwise.
OSStatus FSCopyAliasInfo(AliasHandle alias, HFSUniStr255* targetName, HFSUniStr255* volumeName,
                         CFStringRef* path, FSAliasInfoBitmap* whichInfo, FSAliasInfo* info);

}  // extern "C"

#endif
