// The movie reader on movies that are put together as they should be, of numbers that need not.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "fuzz/support/log_count.h"
#include "fuzz/support/memory_file.h"
#include "fuzz/support/movie_visit.h"
#include "fuzz/support/recipe_feed.h"
#include "fuzz/support/require.h"
#include "quicktime/movie.h"

using namespace kvx_fuzz;
using KVX::QT::Movie;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MemoryFile file;
    ByteFeed feed(data, size);
    file.Write(FeedMovieFile(feed));
    const unsigned long linesBefore = LogLineCount();
    const std::unique_ptr<Movie> movie(Movie::Create(file.Path()));
    if (movie == nullptr) {
        Require(LogLineCount() > linesBefore);
        return 0;
    }
    VisitMovie(*movie);
    return 0;
}
