// libswscale, which makes packed pixels of 8 and 16 bits and planes of floats. v210 goes through
// libavcodec's decoder to planes first.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/cpu.h>
#include <libswscale/swscale.h>
}

#include <memory>

#include "frame_ring.h"
#include "rivals.h"

namespace kvx_bench {

namespace {

struct Form {
    Layout mLayout;
    AVPixelFormat mFormat;
};

// v210 and r210 are what the decoder and the swapping of bytes would make of them.
constexpr Form kForms[] = {
    {Layout::k2vuy, AV_PIX_FMT_UYVY422},     {Layout::kV210, AV_PIX_FMT_YUV422P10LE},
    {Layout::kR210, AV_PIX_FMT_X2RGB10LE},   {Layout::kBGRA8u, AV_PIX_FMT_BGRA},
    {Layout::kBGRA16u, AV_PIX_FMT_BGRA64LE}, {Layout::kBGRA32f, AV_PIX_FMT_GBRPF32LE},
    {Layout::kARGB8u, AV_PIX_FMT_ARGB},      {Layout::kRGBA8u, AV_PIX_FMT_RGBA},
    {Layout::kRGB8u, AV_PIX_FMT_RGB24},      {Layout::kRGB10, AV_PIX_FMT_X2BGR10LE},
    {Layout::kUYVY, AV_PIX_FMT_UYVY422},     {Layout::kYUV422p10, AV_PIX_FMT_YUV422P10LE},
};

AVPixelFormat FormatOf(Layout layout) {
    for (const Form& form : kForms) {
        if (form.mLayout == layout) {
            return form.mFormat;
        }
    }
    return AV_PIX_FMT_NONE;
}

struct ImageView {
    uint8_t* mData[4] = {};
    int mRowBytes[4] = {};
};

// The image in memory that is a little larger than that of the packed pixels.
ImageView ViewOf(AVPixelFormat format, char* memory, const Size& size) {
    ImageView view;
    auto* at = reinterpret_cast<uint8_t*>(memory);
    const auto add = [&](int plane, int rowBytes) {
        view.mData[plane] = at;
        view.mRowBytes[plane] = rowBytes;
        at += ptrdiff_t{rowBytes} * size.mHeight;
    };
    switch (format) {
        case AV_PIX_FMT_YUV422P10LE:
            add(0, 2 * size.mWidth);
            add(1, size.mWidth);
            add(2, size.mWidth);
            break;
        case AV_PIX_FMT_GBRPF32LE:
            add(0, 4 * size.mWidth);
            add(1, 4 * size.mWidth);
            add(2, 4 * size.mWidth);
            break;
        case AV_PIX_FMT_UYVY422:
            add(0, 2 * size.mWidth);
            break;
        case AV_PIX_FMT_RGB24:
            add(0, 3 * size.mWidth);
            break;
        case AV_PIX_FMT_BGRA64LE:
            add(0, 8 * size.mWidth);
            break;
        default:
            add(0, 4 * size.mWidth);
    }
    return view;
}

size_t LargestFrameBytes(Layout layout, const Size& size) {
    const size_t pixels = static_cast<size_t>(size.mWidth) * static_cast<size_t>(size.mHeight);
    return FormatOf(layout) == AV_PIX_FMT_YUV422P10LE ? 4 * pixels : FrameBytes(layout, size);
}

// Decodes v210 from memory that stays where it is.
class V210Decoder {
  public:
    explicit V210Decoder(const Size& size)
        : mContext(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_V210))),
          mPacket(av_packet_alloc()),
          mFrame(av_frame_alloc()) {
        mContext->width = size.mWidth;
        mContext->height = size.mHeight;
        mContext->thread_count = 1;
        mIsOpen = avcodec_open2(mContext, nullptr, nullptr) == 0;
    }
    ~V210Decoder() {
        av_frame_free(&mFrame);
        av_packet_free(&mPacket);
        avcodec_free_context(&mContext);
    }

    V210Decoder(const V210Decoder&) = delete;
    V210Decoder& operator=(const V210Decoder&) = delete;

    // Null when it failed; good until the next call.
    const AVFrame* Decode(char* source, size_t bytes) {
        if (!mIsOpen) {
            return nullptr;
        }
        auto* const data = reinterpret_cast<uint8_t*>(source);
        mPacket->buf = av_buffer_create(
            data, bytes, [](void*, uint8_t*) {}, nullptr, 0);
        mPacket->data = data;
        mPacket->size = static_cast<int>(bytes);
        const bool isDecoded = avcodec_send_packet(mContext, mPacket) == 0 &&
                               avcodec_receive_frame(mContext, mFrame) == 0;
        av_packet_unref(mPacket);
        return isDecoded ? mFrame : nullptr;
    }

  private:
    AVCodecContext* mContext;
    AVPacket* mPacket;
    AVFrame* mFrame;
    bool mIsOpen = false;
};

class Converter {
  public:
    Converter(const Conversion& conversion, const Size& size, int cpuFlags)
        : mSize(size),
          mSource(FormatOf(conversion.mSource)),
          // v210 as a destination is planes, too.
          mDestination(FormatOf(conversion.mDestination)),
          mSourceBytes(FrameBytes(conversion.mSource, size)),
          mSources(mSourceBytes),
          mDestinations(LargestFrameBytes(conversion.mDestination, size)) {
        av_force_cpu_flags(cpuFlags);
        if (conversion.mSource == Layout::kV210) {
            mDecoder = std::make_unique<V210Decoder>(size);
        }
        mScaler = sws_getContext(size.mWidth, size.mHeight, mSource, size.mWidth, size.mHeight,
                                 mDestination, SWS_POINT, nullptr, nullptr, nullptr);
        av_force_cpu_flags(-1);
    }
    ~Converter() { sws_freeContext(mScaler); }

    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool Run() {
        char* const source = mSources.Next();
        const ImageView to = ViewOf(mDestination, mDestinations.Next(), mSize);
        if (mScaler == nullptr) {
            return false;
        }
        if (mDecoder != nullptr) {
            const AVFrame* const frame = mDecoder->Decode(source, mSourceBytes);
            return frame != nullptr &&
                   sws_scale(mScaler, frame->data, frame->linesize, 0, mSize.mHeight, to.mData,
                             to.mRowBytes) == mSize.mHeight;
        }
        const ImageView from = ViewOf(mSource, source, mSize);
        return sws_scale(mScaler, from.mData, from.mRowBytes, 0, mSize.mHeight, to.mData,
                         to.mRowBytes) == mSize.mHeight;
    }

  private:
    Size mSize;
    AVPixelFormat mSource;
    AVPixelFormat mDestination;
    size_t mSourceBytes;
    FrameRing mSources;
    FrameRing mDestinations;
    std::unique_ptr<V210Decoder> mDecoder;
    SwsContext* mScaler = nullptr;
};

struct Level {
    const char* mName;
    int mFlags;
};

constexpr int kUpToSSSE3 = AV_CPU_FLAG_MMX | AV_CPU_FLAG_MMXEXT | AV_CPU_FLAG_SSE |
                           AV_CPU_FLAG_SSE2 | AV_CPU_FLAG_SSE3 | AV_CPU_FLAG_SSSE3;
constexpr int kUpToAVX2 = kUpToSSSE3 | AV_CPU_FLAG_SSE4 | AV_CPU_FLAG_SSE42 | AV_CPU_FLAG_AVX |
                          AV_CPU_FLAG_AVX2 | AV_CPU_FLAG_FMA3 | AV_CPU_FLAG_BMI1 | AV_CPU_FLAG_BMI2;
constexpr Level kLevels[] = {{"swscale_avx2", kUpToAVX2}, {"swscale_ssse3", kUpToSSSE3}};

}  // namespace

void AddLibswscale(std::vector<Contender>& contenders, const Conversion& conversion,
                   const Size& size) {
    for (const Level& level : kLevels) {
        const auto converter = std::make_shared<Converter>(conversion, size, level.mFlags);
        contenders.push_back({level.mName, [converter] { return converter->Run(); }});
    }
}

}  // namespace kvx_bench
