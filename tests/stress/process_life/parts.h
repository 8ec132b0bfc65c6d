// What one process does. Each ends by returning to main, and the process by exiting from there.
#pragma once

#include <string>

namespace kvx_process_life {

// Many threads at once ask for the first frames, the first printed name and the first table.
void Rush(const std::string& movie);

// Asks for frames and leaves, with or without waiting for them; the host lives on.
void ReadAndLeave(const std::string& movie, bool waits);

// Reads frames with a host that is gone as soon as the last of them is in its cache, while the
// threads of the pools are held up on their way out of it.
void BriefHost(const std::string& movie);

// Leaves the rest to exit handlers: one from after the loading of the module, which finds all of
// it, and one from before, which runs when the module's own destructors have. Both close files,
// pull frames and try to open more. With `pools` they run already, and frames are on their way.
void LateCalls(const std::string& movie, bool pools);

// Threads of the host open and close files until the process is gone.
void BusyThreads(const std::string& movie);

}  // namespace kvx_process_life
