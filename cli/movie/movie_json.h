#pragma once

#include <nlohmann/json_fwd.hpp>

#include "cli/movie/movie_facts.h"

namespace kvx_cli {

// What `kvx info --json` and `kvx check --json` print of a movie; docs/kvx_json.md describes what
// is in it. Texts may hold any bytes of a path.
nlohmann::ordered_json MovieJson(const MovieFacts& facts);

}  // namespace kvx_cli
