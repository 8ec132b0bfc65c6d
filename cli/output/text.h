// How the command prints numbers, codes and names.
#pragma once

#include <cstdint>
#include <string>

namespace kvx_cli {

// Frames a second from a time scale and a frame's length in its units: "25", or "29.97
// (30000/1001)" where the decimals are not exact. "unknown" unless both are above 0.
std::string RateText(int64_t timeScale, int64_t frameLength);

// "01:02:03.004" of `units` at `timeScale` units a second, to the nearest millisecond. "unknown"
// for a time scale below 1 or a negative length.
std::string DurationText(int64_t units, int64_t timeScale);

// The four characters of a QuickTime code, first character in the most significant byte.
// Characters that cannot be printed become '?'.
std::string FourCharText(uint32_t code);

// A text that comes from a movie, a folder or the command line, such as a name, on one line and
// without anything that a terminal obeys: control characters, those of U+0080 to U+009F and single
// bytes of that range become escapes, as in "\x1B". All else stays as it is.
std::string Printable(const std::string& text);

}  // namespace kvx_cli
