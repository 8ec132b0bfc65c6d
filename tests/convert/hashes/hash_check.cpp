// The routines' hashes without anything around them: a program that any compiler builds from the
// converters and the models alone. Ends with the number of routines that differ from what is known.
//     kvx_hash_check [--models]
// prints the table of the known hashes as the models have it.
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "convert/hashes/routine_hashes.h"

using namespace kvx_test::geometry;

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--models") == 0) {
        for (const Routine& routine : Routines()) {
            std::printf("        {\"%s\", 0x%016" PRIX64 "},\n", routine.mName.c_str(),
                        HashOf(routine, routine.mModel));
        }
        return 0;
    }
    int different = 0;
    for (const Routine& routine : Routines()) {
        const std::uint64_t known = KnownHashOf(routine.mName);
        const std::uint64_t hash = HashOf(routine, routine.mKernel);
        if (hash != known) {
            ++different;
            std::printf("%s: %016" PRIx64 ", not %016" PRIx64 "\n", routine.mName.c_str(), hash,
                        known);
        }
    }
    std::printf("%zu routines, %d different\n", Routines().size(), different);
    return different;
}
