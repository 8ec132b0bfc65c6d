#pragma once

#include <string>
#include <vector>

#include "cli/movie/session.h"
#include "inspect/report.h"
#include "premiere/import_records.h"
#include "premiere/pixel_formats.h"

namespace kvx_cli {

// What the importer itself says of a movie.
struct ImporterAnswer {
    bool imports = false;
    std::string words;  // if it does not, why not
    std::vector<imFileInfoRec8> streams;
    std::vector<PrPixelFormat> pixelFormats;
    std::string timecode;  // empty: none
    std::string log;
};

// What is known of a movie: from the importer, and from a look of our own.
struct MovieFacts {
    std::string path;
    ImporterAnswer importer;
    kvx_inspect::Report report;

    // Whether the movie can't be read, is refused or imports. The importer has the last word
    // between the latter two.
    kvx_inspect::Verdict GetVerdict() const;
    // False is a bug, of the importer or of the inspector.
    bool Agree() const;
    bool HasWarnings() const;
};

MovieFacts FindFacts(const Session& session, const std::string& path);

// Of a movie of which nothing could be found out: it is unreadable.
MovieFacts NoFacts(const std::string& path, const std::string& why);

// "imports", "refused" or "unreadable".
const char* NameOf(kvx_inspect::Verdict verdict);

}  // namespace kvx_cli
