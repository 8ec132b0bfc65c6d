// libavcodec's decoders of uncompressed audio, and libswresample from what they make to planes of
// float.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libswresample/swresample.h>
}

#include <memory>
#include <string>

#include "rivals.h"

namespace kvx_bench {

namespace {

class Converter : public AudioRival {
  public:
    Converter(const std::string& kind, int channels) : mChannels(channels) {
        mContext = avcodec_alloc_context3(avcodec_find_decoder_by_name(("pcm_" + kind).c_str()));
        av_channel_layout_default(&mContext->ch_layout, channels);
        mContext->sample_rate = kRate;
        mContext->thread_count = 1;
        mIsOpen = avcodec_open2(mContext, nullptr, nullptr) == 0 &&
                  swr_alloc_set_opts2(&mResampler, &mContext->ch_layout, AV_SAMPLE_FMT_FLTP, kRate,
                                      &mContext->ch_layout, mContext->sample_fmt, kRate, 0,
                                      nullptr) == 0 &&
                  swr_init(mResampler) == 0;
    }
    ~Converter() override {
        av_frame_free(&mFrame);
        av_packet_free(&mPacket);
        swr_free(&mResampler);
        avcodec_free_context(&mContext);
    }

    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool Run(char* samples, size_t bytes, const std::vector<float*>& planes) override {
        if (!mIsOpen) {
            return false;
        }
        // Memory that the decoder need not copy.
        auto* const data = reinterpret_cast<uint8_t*>(samples);
        mPacket->buf = av_buffer_create(
            data, bytes, [](void*, uint8_t*) {}, nullptr, AV_BUFFER_FLAG_READONLY);
        mPacket->data = data;
        mPacket->size = static_cast<int>(bytes);
        const bool isDecoded = avcodec_send_packet(mContext, mPacket) == 0 &&
                               avcodec_receive_frame(mContext, mFrame) == 0;
        av_packet_unref(mPacket);
        uint8_t* out[AV_NUM_DATA_POINTERS] = {};
        for (int channel = 0; channel < mChannels; ++channel) {
            out[channel] = reinterpret_cast<uint8_t*>(planes[static_cast<size_t>(channel)]);
        }
        return isDecoded && swr_convert(mResampler, out, mFrame->nb_samples,
                                        const_cast<const uint8_t**>(mFrame->extended_data),
                                        mFrame->nb_samples) == mFrame->nb_samples;
    }

  private:
    static constexpr int kRate = 48000;

    int mChannels;
    bool mIsOpen;
    AVCodecContext* mContext;
    SwrContext* mResampler = nullptr;
    AVPacket* mPacket = av_packet_alloc();
    AVFrame* mFrame = av_frame_alloc();
};

}  // namespace

std::shared_ptr<AudioRival> MakeLibav(const char* kind, unsigned channels) {
    return std::make_shared<Converter>(kind, static_cast<int>(channels));
}

}  // namespace kvx_bench
