// What a moment must have led to.
#pragma once

#include <cstdint>
#include <string>

#include "stress/file_changes/moment.h"
#include "support/log_capture.h"

namespace kvx_stress {

// What came of the frames and the sounds of all moments.
struct Tally {
    int64_t whole = 0;
    int64_t failed = 0;
    int64_t never = 0;
    int64_t refused = 0;
    int64_t sounds = 0;
    int64_t certain = 0;  // by the file's length alone
    int64_t kept = 0;     // pixel buffers of frames that never come and cannot be ended
};

// Waits until the lines are in the log that a loaded importer's threads write when their frame is
// in the cache already, or never comes; those of a linked importer can be seen to have done.
void WaitForLines(const Stage& stage, Played& played, const kvx_test::LogCapture& log);

// Holds a moment that is over to the rules: what each frame and each sound was answered, what
// reached the cache how often and with which bytes, each line of the log, and what is left over.
// Lets go of all, and ends the frames that never come; a loaded importer's are kept.
void Reckon(const Stage& stage, Played& played, const std::string& log, Tally& tally);

}  // namespace kvx_stress
