#pragma once

#include "support/movie_builder.h"
#include "support/random.h"

namespace kvx_test {

// A movie of one well-formed track: its tables agree with one another on the number of samples,
// every chunk lies at a positive offset and no two samples overlap. Within that, everything
// varies: media type, runs, chunk layout, sizes, edits, display offsets, key frames.
MovieRecipe RandomMovie(Random& random);

}  // namespace kvx_test
