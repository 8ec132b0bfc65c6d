#pragma once

#include <fcntl.h>

namespace KVX::QT {

// How movies and media are opened. Whatever a path leads to, the call does not wait: a named pipe
// would otherwise keep the host until somebody writes to it. Reads of a regular file are the same.
// Programs that the host starts inherit nothing.
constexpr int kOpenFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

}  // namespace KVX::QT
