#pragma once

#include <cstdint>

namespace kvx_inspect {

// What four bytes are that a mend changes.
enum class ChangeKind { LayoutTag, LayoutBitmap, DataReference, DataHandler };

// Four bytes of a file that are to become others. The values are numbers whose first byte is the
// most significant one, as in the file.
struct Change {
    uint64_t offset = 0;  // in the file
    uint32_t before = 0;
    uint32_t after = 0;
    ChangeKind kind = ChangeKind::DataHandler;
    int track = 0;  // TrackFacts::number
};

}  // namespace kvx_inspect
