#pragma once

#include "inspect/movie_file.h"
#include "inspect/report.h"

namespace kvx_inspect {

// What no track shows alone: how many there are of each kind, whether their sound is of one form,
// and where the movie atom ends.
void CheckMovie(const MovieFile& file, Report& report);

}  // namespace kvx_inspect
