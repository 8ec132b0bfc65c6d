// What a moment must have led to.
#pragma once

#include <cstdint>
#include <string>

#include "stress/file_changes/moment.h"

namespace kvx_stress {

// What came of the frames and the sounds of all moments.
struct Tally {
    int64_t whole = 0;
    int64_t failed = 0;
    int64_t never = 0;
    int64_t refused = 0;
    int64_t sounds = 0;
    int64_t certain = 0;  // by the file's length alone
};

// Holds a moment that is over to the rules: what each frame and each sound was answered, what
// reached the cache how often and with which bytes, each line of the log, and what is left over.
// Ends the frames that never come, and lets go of all.
void Reckon(const Stage& stage, Played& played, const std::string& log, Tally& tally);

}  // namespace kvx_stress
