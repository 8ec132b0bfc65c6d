#pragma once

#include "platform/file_manager.h"

namespace KVX::Platform {

// The File Manager's code for a failure of the file system, given as errno.
OSStatus ResultCode(int error);

}  // namespace KVX::Platform
