#include "platform/portable/result_codes.h"

#include <cerrno>

namespace KVX::Platform {

namespace {

struct Translation {
    int error;
    OSStatus code;
};

constexpr Translation kTranslations[] = {
    {0, noErr},           {EACCES, permErr},
    {EBUSY, fBsyErr},     {EDQUOT, dskFulErr},
    {EEXIST, dupFNErr},   {EINVAL, paramErr},
    {EIO, ioErr},         {EISDIR, notAFileErr},
    {EMFILE, tmfoErr},    {ENAMETOOLONG, errFSNameTooLong},
    {ENFILE, tmfoErr},    {ENOENT, fnfErr},
    {ENOMEM, memFullErr}, {ENOSPC, dskFulErr},
    {ENOTDIR, dirNFErr},  {ENOTEMPTY, fBsyErr},
    {EPERM, permErr},     {EROFS, wPrErr},
    {ETXTBSY, fBsyErr},   {EXDEV, diffVolErr},
};

}  // namespace

OSStatus ResultCode(int error) {
    for (const Translation& translation : kTranslations) {
        if (translation.error == error) {
            return translation.code;
        }
    }
    return ioErr;
}

}  // namespace KVX::Platform
