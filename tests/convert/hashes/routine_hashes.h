// What each routine of the video converters makes of one fixed frame, as a number: the same on
// every machine, from every compiler, at every level of optimisation.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "convert/geometry/routines.h"

namespace kvx_test::geometry {

struct RoutineHash {
    std::string mName;
    std::uint64_t mHash;
};

const std::vector<RoutineHash>& KnownHashes();

// 0 when there is none.
std::uint64_t KnownHashOf(const std::string& name);

// The hash of what `convert`, the kernel or the model of `routine`, makes of the frame with the
// matrices of Rec. 601 and Rec. 709, what it writes past the width included.
std::uint64_t HashOf(const Routine& routine, const Conversion& convert);

}  // namespace kvx_test::geometry
