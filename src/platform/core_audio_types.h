// CoreAudio's description of a PCM stream and the constants used with it.
#pragma once

#include <cstdint>

#if defined(__APPLE__) && __has_include(<CoreAudio/CoreAudioTypes.h>)
#include <CoreAudio/CoreAudioTypes.h>
#else

struct AudioStreamBasicDescription {
    double mSampleRate;  // frames per second
    uint32_t mFormatID;
    uint32_t mFormatFlags;  // kAudioFormatFlag...
    uint32_t mBytesPerPacket;
    uint32_t mFramesPerPacket;
    uint32_t mBytesPerFrame;  // all channels of one instant
    uint32_t mChannelsPerFrame;
    uint32_t mBitsPerChannel;
    uint32_t mReserved;
};

enum : uint32_t {
    kAudioFormatFlagIsFloat = 1,
    kAudioFormatFlagIsBigEndian = 2,
    kAudioFormatFlagIsSignedInteger = 4,
};

// The tag's low half is the channel count.
enum : uint32_t {
    kAudioChannelLayoutTag_MPEG_5_1_A = 0x00790006,  // L R C LFE Ls Rs
    kAudioChannelLayoutTag_MPEG_5_1_B = 0x007A0006,  // L R Ls Rs C LFE
    kAudioChannelLayoutTag_MPEG_5_1_C = 0x007B0006,  // L C R Ls Rs LFE
    kAudioChannelLayoutTag_MPEG_5_1_D = 0x007C0006,  // C L R Ls Rs LFE
};

#endif
