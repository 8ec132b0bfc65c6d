#pragma once

#include <string>

#include "quicktime/atom.h"

namespace KVX::QT {

// The road to a track's sample descriptions, which the track classes share. Both operations log in
// the name of their caller and answer 0 or 22.

// Finds the "stsd" of a "trak". It has at least one entry.
long FindSampleDescriptions(Atom* trakAtom, Atom*& stsdAtom,
                            const char* function = __builtin_FUNCTION(),
                            int line = __builtin_LINE());

// Finds the first entry of the "stsd" of a "trak", the only one that is ever read. It lies wholly
// inside the "stsd", and its size word is its length.
long FindFirstSampleDescription(Atom* trakAtom, Atom*& entryAtom,
                                const char* function = __builtin_FUNCTION(),
                                int line = __builtin_LINE());

}  // namespace KVX::QT
