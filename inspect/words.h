// How findings print numbers and codes.
#pragma once

#include <cstdint>
#include <string>

namespace kvx_inspect {

// A four-character code in double quotes; characters that cannot be printed as \xNN.
std::string Quoted(uint32_t code);

// "1.040 s", to the millisecond. "?" where the scale is below 1.
std::string Seconds(double units, int64_t scale);

// "1 frame", "2 frames".
std::string Counted(int64_t count, const char* noun);

}  // namespace kvx_inspect
