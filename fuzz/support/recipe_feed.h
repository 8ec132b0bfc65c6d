#pragma once

#include "fuzz/support/byte_feed.h"
#include "tests/support/movie_builder.h"

namespace kvx_fuzz {

// A movie whose atoms nest and count as they should while the numbers in them are the fuzzer's:
// what random bytes alone would seldom become.
kvx_test::MovieRecipe FeedMovie(ByteFeed& feed);

// A file of that movie and a little media after it.
std::string FeedMovieFile(ByteFeed& feed);

}  // namespace kvx_fuzz
