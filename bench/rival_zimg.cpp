// zimg: from planes to planes, the same levels and matrices as ours.
#include <zimg.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "frame_ring.h"
#include "planes.h"
#include "rivals.h"

namespace kvx_bench {

namespace {

struct Form {
    Layout mLayout;
    zimg_color_family_e mFamily;
    zimg_pixel_type_e mType;
    unsigned mDepth;
    zimg_pixel_range_e mRange;

    Planes PlanesOf() const {
        return {mType == ZIMG_PIXEL_BYTE ? 1 : (mType == ZIMG_PIXEL_WORD ? 2 : 4),
                mFamily == ZIMG_COLOR_YUV};
    }
};

constexpr Form kForms[] = {
    {Layout::k2vuy, ZIMG_COLOR_YUV, ZIMG_PIXEL_BYTE, 8, ZIMG_RANGE_LIMITED},
    {Layout::kV210, ZIMG_COLOR_YUV, ZIMG_PIXEL_WORD, 10, ZIMG_RANGE_LIMITED},
    {Layout::kR210, ZIMG_COLOR_RGB, ZIMG_PIXEL_WORD, 10, ZIMG_RANGE_LIMITED},
    {Layout::kBGRA8u, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, ZIMG_RANGE_FULL},
    {Layout::kBGRA16u, ZIMG_COLOR_RGB, ZIMG_PIXEL_WORD, 16, ZIMG_RANGE_FULL},
    {Layout::kBGRA32f, ZIMG_COLOR_RGB, ZIMG_PIXEL_FLOAT, 32, ZIMG_RANGE_FULL},
    {Layout::kARGB8u, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, ZIMG_RANGE_FULL},
    {Layout::kRGBA8u, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, ZIMG_RANGE_FULL},
    {Layout::kRGB8u, ZIMG_COLOR_RGB, ZIMG_PIXEL_BYTE, 8, ZIMG_RANGE_FULL},
    {Layout::kRGB10, ZIMG_COLOR_RGB, ZIMG_PIXEL_WORD, 10, ZIMG_RANGE_FULL},
    {Layout::kUYVY, ZIMG_COLOR_YUV, ZIMG_PIXEL_BYTE, 8, ZIMG_RANGE_LIMITED},
    {Layout::kYUV422p10, ZIMG_COLOR_YUV, ZIMG_PIXEL_WORD, 10, ZIMG_RANGE_LIMITED},
};

const Form& FormOf(Layout layout) {
    for (const Form& form : kForms) {
        if (form.mLayout == layout) {
            return form;
        }
    }
    std::abort();
}

zimg_image_format FormatOf(const Form& form, const Size& size) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(size.mWidth);
    format.height = static_cast<unsigned>(size.mHeight);
    format.pixel_type = form.mType;
    format.subsample_w = form.mFamily == ZIMG_COLOR_YUV ? 1 : 0;
    format.color_family = form.mFamily;
    format.matrix_coefficients =
        form.mFamily == ZIMG_COLOR_YUV ? ZIMG_MATRIX_BT709 : ZIMG_MATRIX_RGB;
    format.depth = form.mDepth;
    format.pixel_range = form.mRange;
    return format;
}

class Converter {
  public:
    Converter(const Form& source, const Form& destination, const Size& size, zimg_cpu_type_e cpu)
        : mSize(size),
          mSourcePlanes(source.PlanesOf()),
          mDestinationPlanes(destination.PlanesOf()),
          mSources(mSourcePlanes.FrameBytes(size), source.mDepth == 10 ? kTenBits : 0xFFFF),
          mDestinations(mDestinationPlanes.FrameBytes(size)) {
        const zimg_image_format from = FormatOf(source, size);
        const zimg_image_format to = FormatOf(destination, size);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.cpu_type = cpu;
        // Chroma as ours has it: repeated, not interpolated.
        params.resample_filter_uv = ZIMG_RESIZE_POINT;
        mGraph = zimg_filter_graph_build(&from, &to, &params);
        size_t bytes = 0;
        if (mGraph != nullptr && zimg_filter_graph_get_tmp_size(mGraph, &bytes) == 0) {
            mTemporary = std::aligned_alloc(64, (bytes + 63) / 64 * 64);
        }
    }
    ~Converter() {
        zimg_filter_graph_free(mGraph);
        std::free(mTemporary);
    }

    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool Run() {
        const char* const source = mSources.Next();
        char* const destination = mDestinations.Next();
        zimg_image_buffer_const from = {ZIMG_API_VERSION, {}};
        zimg_image_buffer to = {ZIMG_API_VERSION, {}};
        for (int i = 0; i < 3; ++i) {
            from.plane[i] = {source + mSourcePlanes.Offset(i, mSize),
                             mSourcePlanes.RowBytes(i, mSize), ZIMG_BUFFER_MAX};
            to.plane[i] = {destination + mDestinationPlanes.Offset(i, mSize),
                           mDestinationPlanes.RowBytes(i, mSize), ZIMG_BUFFER_MAX};
        }
        return mTemporary != nullptr &&
               zimg_filter_graph_process(mGraph, &from, &to, mTemporary, nullptr, nullptr, nullptr,
                                         nullptr) == 0;
    }

  private:
    Size mSize;
    Planes mSourcePlanes;
    Planes mDestinationPlanes;
    FrameRing mSources;
    FrameRing mDestinations;
    zimg_filter_graph* mGraph = nullptr;
    void* mTemporary = nullptr;
};

struct Level {
    const char* mName;
    zimg_cpu_type_e mCpu;
};

constexpr Level kLevels[] = {{"zimg_avx2", ZIMG_CPU_X86_AVX2}, {"zimg_ssse3", ZIMG_CPU_X86_SSSE3}};

}  // namespace

void AddZimg(std::vector<Contender>& contenders, const Conversion& conversion, const Size& size) {
    for (const Level& level : kLevels) {
        const auto converter = std::make_shared<Converter>(
            FormOf(conversion.mSource), FormOf(conversion.mDestination), size, level.mCpu);
        contenders.push_back({level.mName, [converter] { return converter->Run(); }});
    }
}

}  // namespace kvx_bench
