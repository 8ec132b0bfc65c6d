#pragma once

#include "core/once.h"

namespace KVX::Core {

// Bytes in the ring that each thread has for the texts of its log lines.
constexpr unsigned long kPerThreadBufferSize = 2048;

// Runs InitPerThreadBuffers at the first request.
extern Once& sUtilPrinterOnce;

// Makes the thread-specific keys of the rings. A thread's ring goes when the thread ends.
void InitPerThreadBuffers();

// The next `size` bytes of the calling thread's ring, uncleared; null if `size` is above
// kPerThreadBufferSize or there is no memory, after a log line. The piece is never released: it
// stays valid until the ring comes round, so it is to be used at once, in one log line.
char* GetPerThreadBuffer(unsigned long size);

}  // namespace KVX::Core
