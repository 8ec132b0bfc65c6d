// The published layout, with every number typed in.
#include "platform/core_audio_types.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

TEST(CoreAudioTypes, StreamDescriptionHasThePublishedLayout) {
    EXPECT_EQ(sizeof(AudioStreamBasicDescription), 40u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mSampleRate), 0u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mFormatID), 8u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mFormatFlags), 12u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mBytesPerPacket), 16u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mFramesPerPacket), 20u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mBytesPerFrame), 24u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mChannelsPerFrame), 28u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mBitsPerChannel), 32u);
    EXPECT_EQ(offsetof(AudioStreamBasicDescription, mReserved), 36u);
    EXPECT_EQ(sizeof(AudioStreamBasicDescription::mSampleRate), 8u);
}

TEST(CoreAudioTypes, ConstantsHaveThePublishedValues) {
    EXPECT_EQ(kAudioFormatFlagIsFloat, 1u);
    EXPECT_EQ(kAudioFormatFlagIsBigEndian, 2u);
    EXPECT_EQ(kAudioFormatFlagIsSignedInteger, 4u);
    EXPECT_EQ(kAudioChannelLayoutTag_MPEG_5_1_A, (121u << 16) | 6);
    EXPECT_EQ(kAudioChannelLayoutTag_MPEG_5_1_B, (122u << 16) | 6);
    EXPECT_EQ(kAudioChannelLayoutTag_MPEG_5_1_C, (123u << 16) | 6);
    EXPECT_EQ(kAudioChannelLayoutTag_MPEG_5_1_D, (124u << 16) | 6);
}

}  // namespace
