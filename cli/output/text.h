// How the command prints numbers and codes.
#pragma once

#include <cstdint>
#include <string>

namespace kvx_cli {

// Frames a second from a time scale and a frame's length in its units: "25", or "29.97
// (30000/1001)" where the decimals do not tell all. "unknown" unless both are above 0.
std::string RateText(int64_t timeScale, int64_t frameLength);

// "01:02:03.004" of `units` at `timeScale` units a second, to the nearest millisecond. "unknown"
// for a time scale below 1 or a negative length.
std::string DurationText(int64_t units, int64_t timeScale);

// The four characters of a QuickTime code, first character in the most significant byte.
// Characters that cannot be printed become '?'.
std::string FourCharText(uint32_t code);

}  // namespace kvx_cli
