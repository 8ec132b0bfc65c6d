#pragma once

namespace kvx_fuzz {

// Lines logged since the program began. Fuzz targets print none of them: at some thousand movies a
// second the log would be all that they do.
unsigned long LogLineCount();

}  // namespace kvx_fuzz
