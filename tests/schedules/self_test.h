#pragma once

namespace kvx_schedules {

// Whether the scheduler finds what is known of some small programs. Prints a line for each.
bool SelfTest();

}  // namespace kvx_schedules
