// The conversions of video that are measured, and the frames that they go from and to.
#pragma once

#include <cstddef>

namespace kvx_bench {

enum class Layout {
    k2vuy,
    kV210,
    kR210,
    kBGRA8u,
    kBGRA16u,
    kBGRA32f,
    kARGB8u,
    kRGBA8u,
    kRGB8u,
    kRGB10,      // 10 bits a component in 32-bit words, in whatever order
    kUYVY,       // of 8 bits
    kYUV422p10,  // v210 without padding of its rows
};

struct Size {
    int mWidth;
    int mHeight;
    int mTurns;  // that a measurement takes
};

constexpr Size kSizes[] = {{1920, 1080, 41}, {3840, 2160, 11}};

int RowBytes(Layout layout, int width);
size_t FrameBytes(Layout layout, const Size& size);

struct Conversion {
    const char* mName;
    Layout mSource;
    Layout mDestination;
    // True when it succeeded.
    bool (*mConvert)(const Conversion& conversion, const char* source, char* destination,
                     const Size& size);
};

struct Conversions {
    const Conversion* mFirst;
    size_t mCount;
    const Conversion* begin() const { return mFirst; }
    const Conversion* end() const { return mFirst + mCount; }
};

// Each ConvertTo, then the pixel family.
Conversions AllConversions();

}  // namespace kvx_bench
