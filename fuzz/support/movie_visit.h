#pragma once

#include "quicktime/movie.h"

namespace kvx_fuzz {

// Asks every track of a movie everything that it can be asked, at places inside its tables, at
// their edges and far outside.
void VisitMovie(const KVX::QT::Movie& movie);

}  // namespace kvx_fuzz
