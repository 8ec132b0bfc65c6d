#pragma once

namespace kvx_test {

// Returns when every other thread of the process sleeps and none has run between two looks: what
// was set going by then has come to its end, or waits for something that nobody will do. Takes the
// place of a limit of time where a frame may never arrive.
void AwaitRest();

}  // namespace kvx_test
