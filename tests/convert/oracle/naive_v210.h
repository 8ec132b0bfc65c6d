// v210 in plain arithmetic, pixel by pixel, for comparison with the converter. The routines take
// what the converter's take; MisSrc routines give the same values.
#pragma once

namespace kvx_test::naive::v210 {

template <typename T>
void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height, const float* matrix);
template <typename T>
void VectorConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height, const float* matrix);
template <typename T>
void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height, const float* matrix);
template <typename T>
void VectorCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height, const float* matrix);

}  // namespace kvx_test::naive::v210
