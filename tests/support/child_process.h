#pragma once

#include <functional>
#include <string>

namespace kvx_test {

// Runs `play` in a process of its own, which begins as this one stands, and returns what it says.
// When it does not come to its end (a signal, an exit, more than `seconds`), the answer tells how
// it ended instead. With `watchesLeaks`, memory that is left over counts as an end of that kind
// under a sanitizer that knows. Call it while the process has one thread.
std::string InChild(const std::function<std::string()>& play, bool watchesLeaks = true,
                    unsigned seconds = 60);

}  // namespace kvx_test
