#pragma once

#include "core/log.h"
#include "quicktime/atom.h"

namespace KVX::QT {

// What the track classes share in reading their sample descriptions. All operations log in the name
// of their caller.

// Finds the "stsd" of a "trak". It has at least one entry. Returns 0 or 22.
long FindSampleDescriptions(Atom* trakAtom, Atom*& stsdAtom,
                            Core::LogSite site = Core::LogSite::Here());

// Finds the first entry of the "stsd" of a "trak", the only one that is ever read. It lies wholly
// inside the "stsd", and its size word is its length. Returns 0 or 22.
long FindFirstSampleDescription(Atom* trakAtom, Atom*& entryAtom,
                                Core::LogSite site = Core::LogSite::Here());

// Puts a copy of an atom's payload in place of `data` (null, or what an earlier call left there),
// which the caller frees with std::free. `name` is what log lines call it. Returns 0, 12 or 22; on
// failure `data` is null.
long CopyPayload(const Atom* atom, const char* name, unsigned char*& data, unsigned int& size,
                 Core::LogSite site = Core::LogSite::Here());

}  // namespace KVX::QT
