// What makes a movie importable without a sample changed or a byte moved.
#pragma once

#include <string>
#include <vector>

#include "inspect/change.h"
#include "inspect/report.h"

namespace kvx_inspect {

// The changes that a movie needs, in the order in which they are to reach the disk; none for a
// movie that has nothing to mend. None overlap, and all lie inside the movie atom.
//
// - Data handler: in each track whose data references all mean the movie itself, "url "
// becomes
//   "alis" in the references, and then in the handler. Until its handler has changed, a track is
//   refused for it as before; no reader of the movie looks elsewhere for its samples meanwhile.
// - Sound layout: the description of 5.1 by a bitmap becomes the tag of MPEG 5.1 A, which means the
//   same channels in the same order; then the bitmap, which is read no longer, becomes 0.
//
// What an interrupted mend has left counts as not yet mended, also where the disk took the first of
// two sectors that four bytes lie in, and not the second.
std::vector<Change> PlanChanges(const MovieFile& file);

// A movie as it is, what is to change, and the movie as it will be.
struct MendPlan {
    Report before;
    std::vector<Change> changes;
    Report after;

    // What will be left that keeps the movie out or lets it be heard as noise.
    std::vector<Finding> Obstacles() const;
};

// As Inspect(), and as it.
MendPlan PlanMend(const std::string& path);

// "data handler" and so on.
const char* NameOf(ChangeKind kind);

}  // namespace kvx_inspect
