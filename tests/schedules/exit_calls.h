#pragma once

namespace kvx_schedules {

// Destroys the program's static objects as the process's exit does, on the calling thread, while
// the others go on. Once in a run.
void RunExitHandlers();

}  // namespace kvx_schedules
