// How the importer's answers on a real movie are held against ffprobe's and ffmpeg's.
#pragma once

#include <array>
#include <vector>

#include "end_to_end/real_movie.h"
#include "premiere/import_records.h"

namespace kvx_test {

// For each channel of a six-channel file, the host's plane: left, right, left surround, right
// surround, centre, LFE.
using PlaneOrder = std::array<int, 6>;

constexpr PlaneOrder kPlanesOfA = {0, 1, 4, 5, 2, 3};  // L R C LFE Ls Rs
constexpr PlaneOrder kPlanesOfB = {0, 1, 2, 3, 4, 5};  // L R Ls Rs C LFE
constexpr PlaneOrder kPlanesOfC = {0, 4, 1, 2, 3, 5};  // L C R Ls Rs LFE
constexpr PlaneOrder kPlanesOfD = {4, 0, 1, 2, 3, 5};  // C L R Ls Rs LFE

// The plane sample for one of ffmpeg's: both take integers to full scale, but ffmpeg's full scale
// is a power of two, and the host's is one less.
float PlaneSample(const std::string& codec, double decoded);

// imGetInfo8 of every stream: size, rate, duration, fields, aspect, channels and sample type.
void ExpectSameInfo(const RealMovie& movie);

// Every frame's place and size in the file, and every sound packet's place.
void ExpectSamePlaces(const RealMovie& movie);

// Every sound stream in full, and a part out of its middle, sample by sample.
void ExpectSameSound(const RealMovie& movie, const PlaneOrder& planesOfSix = kPlanesOfA);

void ExpectSameInAll(const RealMovie& movie, const PlaneOrder& planesOfSix = kPlanesOfA);

}  // namespace kvx_test
