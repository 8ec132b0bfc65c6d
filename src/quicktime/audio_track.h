#pragma once

#include <string>

#include "platform/core_audio_types.h"
#include "quicktime/track.h"

namespace KVX::QT {

// The order of a track's channels.
enum SampleOrder : int {
    SampleOrderMono = 0,
    SampleOrderStereo = 1,
    SampleOrder51A = 2,      // kAudioChannelLayoutTag_MPEG_5_1_A: L R C LFE Ls Rs
    SampleOrder51B = 3,      // kAudioChannelLayoutTag_MPEG_5_1_B: L R Ls Rs C LFE
    SampleOrder51C = 4,      // kAudioChannelLayoutTag_MPEG_5_1_C: L C R Ls Rs LFE
    SampleOrder51D = 5,      // kAudioChannelLayoutTag_MPEG_5_1_D: C L R Ls Rs LFE
    SampleOrderUnknown = 6,  // another channel count, or six channels without a layout
};

// A sound track: its first sample description, reduced to a PCM stream (QuickTime File Format,
// "Sound Sample Descriptions", versions 0 to 2). For uncompressed sound one sample of the track is
// one frame, that is all channels of one instant. Fields do not change after Init.
class AudioTrack : public Track {
  public:
    AudioTrack() = default;
    ~AudioTrack() override;

    // Reads the description of the "trak", then Track::Init. Returns 0; 12 without memory; 22 after
    // a log line for a missing table, a version or a 5.1 layout that is not known, or fields
    // outside their atom; or what Track::Init returns.
    //
    // A version 1 description that tells neither frame size nor channels, and an "esds" of 4 GiB or
    // more, leave a log line and a track without tables, and return 0.
    long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) override;

    // A track for the caller to delete, or null after a log line. `path` is the movie's.
    static AudioTrack* Create(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    // Lends the payload of the description's "esds"; false without one or for a null pointer.
    bool GetEsdsData(char** data, long* size);

    // Format flags are those of linear PCM: float, big-endian, signed integer. The format ID is 0.
    AudioStreamBasicDescription mStreamDescription = {};
    SampleOrder mSampleOrder = SampleOrderUnknown;
    unsigned char* mEsdsData = nullptr;  // owned; null without an "esds"
    unsigned int mEsdsSize = 0;          // bytes
};

}  // namespace KVX::QT
