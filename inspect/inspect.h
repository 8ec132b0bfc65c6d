#pragma once

#include <string>
#include <vector>

#include "inspect/change.h"
#include "inspect/report.h"

namespace kvx_inspect {

// Examines a movie file: everything that keeps the importer from taking it, and everything that
// will not be as expected, at once. Where the importer ends at the first fault, this goes on with
// what is sound. Reads the file's atoms, the first timecode sample and the sizes of media files;
// no media. Takes no lock, logs nothing, never waits for a pipe or a device.
//
// A finding of a refusal is there exactly if the importer refuses the movie. Throws std::bad_alloc.
Report Inspect(const std::string& path);

// The same of the movie as it will be after `changes` to its movie atom.
Report Inspect(const std::string& path, const std::vector<Change>& changes);

}  // namespace kvx_inspect
