// Which sample type does a track's description stand for, and what is refused?

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convert/audio/pcm.h"
#include "support/log_capture.h"

namespace {

using KVX::Converter::Audio::PCM;
using KVX::QT::AudioTrack;

constexpr unsigned int kFloat = 1;
constexpr unsigned int kBigEndian = 2;
constexpr unsigned int kSigned = 4;

constexpr float kUntouched = -777.25F;

// A track of this form, and one frame of bytes 0x40, 0x41, 0x42 ... of it.
class WriteSamples {
  public:
    WriteSamples(unsigned int channels, unsigned int bits, unsigned int flags) {
        mTrack.mStreamDescription.mChannelsPerFrame = channels;
        mTrack.mStreamDescription.mBitsPerChannel = bits;
        mTrack.mStreamDescription.mFormatFlags = flags;
        for (unsigned int c = 0; c < kPlanes; ++c) {
            mPlanes[c] = &mValues[c];
            mValues[c] = kUntouched;
        }
        for (unsigned int i = 0; i < sizeof(mSamples); ++i) {
            mSamples[i] = static_cast<char>(0x40 + i);
        }
        const kvx_test::LogCapture log;
        mStatus = PCM::WriteSamples(&mTrack, mSamples, mPlanes, 1);
        mLog = log.Text();
    }

    long Status() const { return mStatus; }
    const std::string& Log() const { return mLog; }
    float Value(unsigned int plane) const { return mValues[plane]; }

    unsigned int PlanesTouched() const {
        unsigned int count = 0;
        for (const float value : mValues) {
            count += value != kUntouched;
        }
        return count;
    }

  private:
    static constexpr unsigned int kPlanes = 8;
    AudioTrack mTrack;
    char mSamples[64];
    float mValues[kPlanes];
    float* mPlanes[kPlanes];
    long mStatus = -1;
    std::string mLog;
};

void ExpectRefusal(unsigned int channels, unsigned int bits, unsigned int flags,
                   const std::string& line) {
    const WriteSamples result(channels, bits, flags);
    EXPECT_EQ(result.Status(), 22);
    EXPECT_EQ(result.Log(), "WriteSamples: " + line + "\n");
    EXPECT_EQ(result.PlanesTouched(), 0U);
}

TEST(PcmWriteSamples, FormOfTheTrackChoosesTheSampleType) {
    const struct {
        unsigned int bits;
        unsigned int flags;
        double expected;
    } kCases[] = {
        {8, kSigned, 64 / 127.0},
        {8, kSigned | kBigEndian, 64 / 127.0},
        {8, kSigned | kFloat, 64 / 127.0},
        {8, 0, -64 / 127.0},
        {8, kBigEndian, -64 / 127.0},
        {8, kFloat, -64 / 127.0},
        {16, kSigned, 0x4140 / 32767.0},
        {16, kSigned | kBigEndian, 0x4041 / 32767.0},
        {16, kFloat, 0x4140 / 32767.0},  // no 16-bit floats here
        {24, kSigned, 0x424140 / 8388607.0},
        {24, kSigned | kBigEndian, 0x404142 / 8388607.0},
        {24, kFloat | kBigEndian, 0x404142 / 8388607.0},
        {32, kSigned, 0x43424140 / 2147483647.0},
        {32, kSigned | kBigEndian, 0x40414243 / 2147483647.0},
        {32, kFloat, 194.2548828125},                   // 0x43424140
        {32, kFloat | kBigEndian, 3.0196692943572998},  // 0x40414243
        {32, kFloat | kSigned, 194.2548828125},
    };
    for (const auto& entry : kCases) {
        const WriteSamples result(1, entry.bits, entry.flags);
        EXPECT_EQ(result.Status(), 0);
        EXPECT_EQ(result.Log(), "");
        EXPECT_FLOAT_EQ(result.Value(0), static_cast<float>(entry.expected))
            << entry.bits << " bits, flags " << entry.flags;
        EXPECT_EQ(result.PlanesTouched(), 1U);
    }
}

TEST(PcmWriteSamples, DoublesInBothOrders) {
    // 0x4041424344454647 and 0x4746454443424140.
    EXPECT_FLOAT_EQ(WriteSamples(1, 64, kFloat | kBigEndian).Value(0), 34.517677F);
    EXPECT_FLOAT_EQ(WriteSamples(1, 64, kFloat).Value(0), 2.3127085e35F);
}

TEST(PcmWriteSamples, ChannelCounts) {
    EXPECT_EQ(WriteSamples(1, 16, kSigned).PlanesTouched(), 1U);
    EXPECT_EQ(WriteSamples(2, 16, kSigned).PlanesTouched(), 2U);
    EXPECT_EQ(WriteSamples(6, 16, kSigned).PlanesTouched(), 6U);
    for (const unsigned int channels : {0U, 3U, 4U, 5U, 7U, 8U}) {
        ExpectRefusal(channels, 16, kSigned,
                      std::to_string(channels) + " channel audio not supported");
    }
    ExpectRefusal(0x80000000, 16, kSigned, "-2147483648 channel audio not supported");
    ExpectRefusal(0xFFFFFFFF, 16, kSigned, "-1 channel audio not supported");
}

TEST(PcmWriteSamples, UnsignedIntegersAbove8Bits) {
    for (const unsigned int bits : {0U, 12U, 16U, 24U, 32U, 64U}) {
        for (const unsigned int flags : {0U, kBigEndian}) {
            ExpectRefusal(2, bits, flags,
                          "Unsigned " + std::to_string(bits) + " bit integer audio not supported");
        }
    }
}

TEST(PcmWriteSamples, Integers64Bits) {
    ExpectRefusal(2, 64, kSigned, "64 bit integer audio not supported");
    ExpectRefusal(2, 64, kSigned | kBigEndian, "64 bit integer audio not supported");
}

TEST(PcmWriteSamples, OtherSampleSizes) {
    for (const unsigned int bits : {0U, 1U, 4U, 7U, 9U, 12U, 20U, 31U, 33U, 48U, 128U}) {
        ExpectRefusal(2, bits, kSigned, std::to_string(bits) + " bit audio not supported");
        ExpectRefusal(6, bits, kFloat, std::to_string(bits) + " bit audio not supported");
    }
}

TEST(PcmWriteSamples, ChannelCountIsToldFirst) {
    ExpectRefusal(3, 64, 0, "3 channel audio not supported");
    ExpectRefusal(2, 64, 0, "Unsigned 64 bit integer audio not supported");
}

TEST(PcmWriteSamples, NullTrack) {
    const kvx_test::LogCapture log;
    EXPECT_EQ(PCM::WriteSamples(nullptr, nullptr, nullptr, 10), 22);
    EXPECT_EQ(log.Text(), "WriteSamples: Invalid audio track pointer\n");
}

TEST(PcmWriteSamples, NoFrames) {
    AudioTrack track;
    track.mStreamDescription.mChannelsPerFrame = 2;
    track.mStreamDescription.mBitsPerChannel = 16;
    track.mStreamDescription.mFormatFlags = kSigned;
    float left = kUntouched;
    float right = kUntouched;
    float* planes[] = {&left, &right};
    EXPECT_EQ(PCM::WriteSamples(&track, nullptr, planes, 0), 0);
    EXPECT_EQ(left, kUntouched);
    EXPECT_EQ(right, kUntouched);
}

TEST(PcmWriteSamples, SixChannelsFollowTheTracksOrder) {
    AudioTrack track;
    track.mStreamDescription.mChannelsPerFrame = 6;
    track.mStreamDescription.mBitsPerChannel = 8;
    track.mStreamDescription.mFormatFlags = kSigned;
    // Each channel's value is its plane: left 0, right 1, surrounds 2 and 3, centre 4, LFE 5.
    const struct {
        KVX::QT::SampleOrder order;
        char samples[6];
    } kCases[] = {
        {KVX::QT::SampleOrder51A, {0, 1, 4, 5, 2, 3}},
        {KVX::QT::SampleOrder51B, {0, 1, 2, 3, 4, 5}},
        {KVX::QT::SampleOrder51C, {0, 4, 1, 2, 3, 5}},
        {KVX::QT::SampleOrder51D, {4, 0, 1, 2, 3, 5}},
        {KVX::QT::SampleOrderUnknown, {0, 1, 4, 5, 2, 3}},
    };
    for (const auto& entry : kCases) {
        track.mSampleOrder = entry.order;
        std::vector<char> samples(entry.samples, entry.samples + 6);
        float values[6];
        float* planes[6];
        for (int plane = 0; plane < 6; ++plane) {
            planes[plane] = &values[plane];
        }
        ASSERT_EQ(PCM::WriteSamples(&track, samples.data(), planes, 1), 0);
        for (int plane = 0; plane < 6; ++plane) {
            EXPECT_EQ(values[plane], static_cast<float>(plane) / 127.0F) << entry.order;
        }
    }
}

TEST(PcmWriteSamples, ZeroedBuffersAreSilenceUnlessUnsigned) {
    AudioTrack track;
    track.mStreamDescription.mChannelsPerFrame = 1;
    track.mStreamDescription.mBitsPerChannel = 8;
    std::vector<char> zeros(100);
    std::vector<float> plane(100, kUntouched);
    float* planes[] = {plane.data()};
    ASSERT_EQ(PCM::WriteSamples(&track, zeros.data(), planes, 100), 0);
    EXPECT_EQ(plane, std::vector<float>(100, -128.0F / 127.0F));
    track.mStreamDescription.mFormatFlags = kSigned;
    ASSERT_EQ(PCM::WriteSamples(&track, zeros.data(), planes, 100), 0);
    EXPECT_EQ(plane, std::vector<float>(100, 0.0F));
}

}  // namespace
