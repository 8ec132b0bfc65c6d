// Deflate streams (RFC 1951) made in pieces, each by itself, so that several threads can make them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kvx_cli {

constexpr int kLeastCompression = 0;
constexpr int kMostCompression = 9;

// Appends `bytes` as a piece of a stream to `stream`, where it begins and ends with a whole byte.
// Level 0 stores; 1 gives each byte a code by its frequency and shortens runs, which is fast and
// about the best there is for the noise of filmed pictures; from 2 on repetitions are looked for as
// well, with more patience at higher levels, and the shorter form is taken. Throws std::bad_alloc.
void AppendDeflated(const uint8_t* bytes, size_t count, int level, std::vector<uint8_t>& stream);

// Appends what ends a stream after its last piece.
void AppendEndOfDeflated(std::vector<uint8_t>& stream);

}  // namespace kvx_cli
