// The known hashes are those of the models, and the routines' own. Other compilers, levels of
// optimisation and processors are tried by the tests beside this one.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "convert/geometry/routines.h"
#include "convert/hashes/routine_hashes.h"

namespace {

using namespace kvx_test::geometry;

TEST(ConverterHashes, OneForEveryRoutine) {
    std::set<std::string> names;
    for (const Routine& routine : Routines()) {
        names.insert(routine.mName);
        EXPECT_NE(0u, KnownHashOf(routine.mName)) << routine.mName;
    }
    EXPECT_EQ(names.size(), KnownHashes().size());
}

TEST(ConverterHashes, OfTheModels) {
    for (const Routine& routine : Routines()) {
        EXPECT_EQ(KnownHashOf(routine.mName), HashOf(routine, routine.mModel)) << routine.mName;
    }
}

TEST(ConverterHashes, OfTheRoutines) {
    for (const Routine& routine : Routines()) {
        EXPECT_EQ(KnownHashOf(routine.mName), HashOf(routine, routine.mKernel)) << routine.mName;
    }
}

}  // namespace
