// Scalar arithmetic that uyvy and v210 share. The order of operations is part of the result.
#pragma once

#include "convert/video/conversion.h"

namespace KVX::Converter::Video {

struct RGBFloats {
    float mR;
    float mG;
    float mB;
};

inline RGBFloats YUVToRGB(const TransformMatrix& matrix, float y, float u, float v) {
    const float* m = matrix.mCoefficient;
    return {m[2] * v + (m[0] * y + m[1] * u), m[5] * v + (m[3] * y + m[4] * u),
            m[8] * v + (m[6] * y + m[7] * u)};
}

// One pixel of YUV at the layout's depth.
struct YUVLevel {
    int mY;
    int mCb;
    int mCr;
};

// Chroma of an even pixel from its neighbours: a [1 2 1] filter.
inline int FilterChroma(int left, int middle, int right) {
    return (((left + right) >> 1) + middle) >> 1;
}

inline float Limit(float value, float highest) {
    return value < 0.0f ? 0.0f : value > highest ? highest : value;
}

}  // namespace KVX::Converter::Video
