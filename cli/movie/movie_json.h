#pragma once

#include <string>

#include "cli/movie/movie_facts.h"

namespace kvx_cli {

// What `kvx info --json` and `kvx check --json` print of a movie; docs/kvx_json.md describes what
// is in it. In lines indented by so many columns for each level, or in one line if that is
// negative.
std::string MovieJson(const MovieFacts& facts, int indent);

}  // namespace kvx_cli
