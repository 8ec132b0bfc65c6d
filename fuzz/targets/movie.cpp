// The movie reader on a file of any bytes, and all look-ups on what comes out of it.
#include "quicktime/movie.h"

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fuzz/support/log_count.h"
#include "fuzz/support/memory_file.h"
#include "fuzz/support/movie_visit.h"
#include "fuzz/support/require.h"

using namespace kvx_fuzz;
using KVX::QT::Movie;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MemoryFile file;
    file.Write(data, size);
    const unsigned long linesBefore = LogLineCount();
    const std::unique_ptr<Movie> movie(Movie::Create(file.Path()));
    if (movie == nullptr) {
        Require(LogLineCount() > linesBefore);  // no refusal without a word
        return 0;
    }
    VisitMovie(*movie);
    movie->CloseFile();
    movie->OpenFile();  // fails for a track that has no file of its own
    VisitMovie(*movie);
    return 0;
}
