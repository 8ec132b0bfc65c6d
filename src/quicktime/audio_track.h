#pragma once

#include "platform/core_audio_types.h"
#include "quicktime/track.h"

namespace KVX::QT {

// The order of a track's channels.
enum SampleOrder : int {
    SampleOrderMono = 0,
    SampleOrderStereo = 1,
    SampleOrder51A = 2,  // kAudioChannelLayoutTag_MPEG_5_1_A: L R C LFE Ls Rs
    SampleOrder51B = 3,  // kAudioChannelLayoutTag_MPEG_5_1_B: L R Ls Rs C LFE
    SampleOrder51C = 4,  // kAudioChannelLayoutTag_MPEG_5_1_C: L C R Ls Rs LFE
    SampleOrder51D = 5,  // kAudioChannelLayoutTag_MPEG_5_1_D: C L R Ls Rs LFE
    SampleOrderUnknown = 6,
};

class AudioTrack : public Track {
  public:
    AudioTrack() = default;
    ~AudioTrack() override;
    long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) override;

    static AudioTrack* Create(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    bool GetEsdsData(char** data, long* size);

    AudioStreamBasicDescription mStreamDescription = {};
    SampleOrder mSampleOrder = SampleOrderUnknown;
    unsigned char* mEsdsData = nullptr;
    unsigned int mEsdsSize = 0;
};

}  // namespace KVX::QT
