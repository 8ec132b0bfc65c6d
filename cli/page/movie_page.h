// The page of `kvx report`: one HTML file without anything from elsewhere.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/movie/movie_facts.h"
#include "cli/sound/waveform.h"

namespace kvx_cli {

// A picture on the page.
struct PageFrame {
    std::string png;  // the file's bytes; empty: the frame is not available
    int width = 0;    // as shown, in pixels
    int height = 0;
    std::string caption;
};

// Everything up to the first movie: head, style, and of several movies the table of them.
std::string PageStart(const std::vector<MovieFacts>& movies);

// The section of a movie, the `number`th of the page: its status, findings with remedies,
// frames, sounds, facts. `notes` are lines on what can't be shown.
std::string PageMovie(const MovieFacts& facts, size_t number, const std::vector<PageFrame>& frames,
                      const std::vector<Waveform>& sounds, const std::vector<std::string>& notes);

std::string PageEnd();

}  // namespace kvx_cli
