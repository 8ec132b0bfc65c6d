#include "convert/video/conversion.h"

#include <cstdint>

namespace KVX::Converter::Video {

namespace {

bool IsAligned(const char* pointer, int rowBytes) {
    return reinterpret_cast<uintptr_t>(pointer) % kVectorAlignment == 0 &&
           rowBytes % kVectorAlignment == 0;
}

}  // namespace

// The 709 luma row sums to 1.009; frames made with it are out there, so it stays.
const TransformMatrix kRGBToYUVStudio601 = {
    {0.299f, 0.587f, 0.114f, -0.169f, -0.331f, 0.5f, 0.5f, -0.419f, -0.081f}};
const TransformMatrix kRGBToYUVStudio709 = {
    {0.2215f, 0.7154f, 0.0721f, -0.1145f, -0.3855f, 0.5f, 0.5016f, -0.4556f, -0.0459f}};

const TransformMatrix kYUVToRGB601 = {
    {1.164f, 0.0f, 1.596f, 1.164f, -0.391f, -0.813f, 1.164f, 2.018f, 0.0f}};
const TransformMatrix kYUVToRGB709 = {
    {1.164f, 0.0f, 1.793f, 1.164f, -0.213f, -0.534f, 1.164f, 2.115f, 0.0f}};

const TransformMatrix kRGBToYUV601 = {
    {0.257f, 0.504f, 0.098f, -0.148f, -0.291f, 0.439f, 0.439f, -0.368f, -0.071f}};
const TransformMatrix kRGBToYUV709 = {
    {0.183f, 0.614f, 0.062f, -0.101f, -0.338f, 0.439f, 0.439f, -0.399f, -0.04f}};

const TransformMatrix& SelectMatrix(ColourSpace colourSpace, int width,
                                    const TransformMatrix& rec601, const TransformMatrix& rec709) {
    switch (colourSpace) {
        case kColourSpaceRec601:
            return rec601;
        case kColourSpaceRec709:
            return rec709;
        default:
            return width <= kWidestRec601 ? rec601 : rec709;
    }
}

Alignment FindAlignment(const char* src, int srcRowBytes, const char* dst, int dstRowBytes) {
    return {IsAligned(src, srcRowBytes), IsAligned(dst, dstRowBytes)};
}

}  // namespace KVX::Converter::Video
