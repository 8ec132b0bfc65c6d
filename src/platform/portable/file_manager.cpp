#include "platform/file_manager.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <system_error>

#include "platform/portable/cf_url.h"
#include "platform/portable/file_name.h"
#include "platform/portable/fs_ref.h"
#include "platform/portable/result_codes.h"

namespace {

std::string LastComponent(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path.substr(path.rfind('/') + 1);
}

// The new name as the file system's bytes: one component, and not one that leads elsewhere.
OSStatus GetNewName(CFStringRef string, std::string& name) {
    if (!KVX::Platform::GetFileSystemText(string, name)) {
        return bdNamErr;
    }
    if (name.empty()) {
        return errFSMissingName;
    }
    const bool leadsElsewhere = name == "." || name == ".." || name.find('/') != std::string::npos;
    return leadsElsewhere ? bdNamErr : noErr;
}

OSStatus Move(const FSRef& source, const FSRef& destination, CFStringRef newName, FSRef* moved,
              OptionBits options) {
    std::string from;
    struct stat status = {};
    OSStatus result = KVX::Platform::ResolveFSRef(source, from, status);
    if (result != noErr) {
        return result;
    }
    std::string to;
    result = KVX::Platform::ResolveFSRef(destination, to, status);
    if (result != noErr) {
        return result;
    }
    if (!S_ISDIR(status.st_mode)) {
        return errFSNotAFolder;
    }
    std::string name;
    if (newName == nullptr) {
        name = LastComponent(from);
    } else if ((result = GetNewName(newName, name)) != noErr) {
        return result;
    }
    to.append("/").append(name);
    const bool overwrite = (options & kFSFileOperationOverwrite) != 0;
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), overwrite ? 0 : RENAME_NOREPLACE) !=
        0) {
        return KVX::Platform::ResultCode(errno);
    }
    if (moved != nullptr && !KVX::Platform::MakeFSRef(to, *moved)) {
        return fnfErr;
    }
    return noErr;
}

}  // namespace

Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* ref) {
    KVX::Platform::Require(url != nullptr && ref != nullptr);
    try {
        return KVX::Platform::MakeFSRef(url->mPath, *ref);
    } catch (const std::exception&) {
        return false;
    }
}

OSStatus FSMoveObjectSync(const FSRef* source, const FSRef* destination, CFStringRef name,
                          FSRef* moved, OptionBits options) {
    if (source == nullptr || destination == nullptr) {
        return paramErr;
    }
    try {
        return Move(*source, *destination, name, moved, options);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    } catch (const std::system_error& error) {
        return KVX::Platform::ResultCode(error.code().value());
    }
}

OSErr FSDeleteObject(const FSRef* ref) {
    if (ref == nullptr) {
        return paramErr;
    }
    try {
        std::string path;
        struct stat status = {};
        OSStatus result = KVX::Platform::ResolveFSRef(*ref, path, status);
        if (result == noErr) {
            const int failed = S_ISDIR(status.st_mode) ? rmdir(path.c_str()) : unlink(path.c_str());
            result = failed == 0 ? noErr : KVX::Platform::ResultCode(errno);
        }
        return static_cast<OSErr>(result);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    } catch (const std::system_error& error) {
        return static_cast<OSErr>(KVX::Platform::ResultCode(error.code().value()));
    }
}
