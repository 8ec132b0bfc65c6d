// The two functions through which the host reaches everything else, and their tables. These, with
// xMoviePlayable, are all that the module exports.
#pragma once

#include <array>

#include "platform/core_foundation.h"
#include "premiere/import_records.h"

namespace KVX::QT {
class Movie;
}

#define KVX_EXPORT __attribute__((visibility("default")))

extern "C" {

using FileImportFunction = long (*)(imStdParms* stdParms, long param1, long param2);
using AsyncImportFunction = long (*)(void* record);

// One function for each selector, and imUnsupported from all that is not handled.
KVX_EXPORT extern const std::array<FileImportFunction, 58> fileImportFunctions;
KVX_EXPORT extern const std::array<AsyncImportFunction, 5> asyncImportFunctions;

// All that concerns a file. Returns a 32-bit result of the im... kind, sign-extended, or an errno
// value where the selector's operation says so; imUnsupported for a selector outside the table. Any
// thread may call; nothing is thrown.
KVX_EXPORT long xImportEntry(int selector, imStdParms* stdParms, long param1, long param2);

// Frames: the function that imCreateAsyncImporter hands out. Returns a 32-bit result of the ai...
// kind, sign-extended, or an errno value. Any thread may call; nothing is thrown.
KVX_EXPORT long AsyncImportEntry(int selector, void* record);

// Decides whether a file is imported at all: one video track of a supported format, and audio
// tracks, if any, of one sample type. Stores 1 or 0 in `*playable`. A playable movie goes to
// `*movie`, to be deleted by the caller, and with it the audio sample type (-1 without audio) to
// `*sampleType`. Both may be null: without a place for the movie there is no type either. Returns
// 0, 22 for a null `pathRef` or `playable`, or 12 if the file cannot be read as a movie.
KVX_EXPORT long xMoviePlayable(CFStringRef pathRef, int* playable, KVX::QT::Movie** movie,
                               int* sampleType);
}
