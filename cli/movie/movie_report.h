#pragma once

#include <string>

#include "cli/movie/movie_facts.h"

namespace kvx_cli {

// What `kvx info` prints of a movie: of one that imports a block for the video and one for each
// sound stream, as the importer describes them; of every one its timecode, its tracks, other files
// with its media, and a line for each warning or for why it is refused.
std::string MovieReport(const MovieFacts& facts);

}  // namespace kvx_cli
