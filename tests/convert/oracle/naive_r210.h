// r210 in plain arithmetic, pixel by pixel, for comparison with the converter.
#pragma once

#include "convert/video/conversion.h"

namespace kvx_test::naive::r210 {

int ScalarLevelOf16u(int value);  // r210 level of the host's 0 to 32768
int Scalar16uOfLevel(int level);  // and back

template <typename T>
T ScalarOfLevel(int level);

// The frame routines take what the converter's take. MisSrc routines give the same values.
template <typename T>
void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height);
template <typename T>
void VectorConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height);
template <typename T>
void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height);
template <typename T>
void VectorCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height);
void ConvertToV210(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const float* matrix);

}  // namespace kvx_test::naive::r210
