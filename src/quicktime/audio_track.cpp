#include "quicktime/audio_track.h"

#include <cstdlib>

#include "core/four_char_code.h"
#include "core/log.h"
#include "quicktime/create_track.h"
#include "quicktime/sample_description.h"
#include "quicktime/sound_description.h"

namespace KVX::QT {

AudioTrack::~AudioTrack() {
    std::free(mEsdsData);
}

AudioTrack* AudioTrack::Create(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    constexpr TrackClass kClass = {Core::FourCharCode("soun"), "audio", "AudioTrack",
                                   "audioTrack->Init()"};
    return CreateTrack<AudioTrack>(kClass, path, moovAtom, trakAtom);
}

long AudioTrack::Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    mStreamDescription = {};
    Atom* entryAtom = nullptr;
    if (const long status = FindFirstSampleDescription(trakAtom, entryAtom)) {
        return status;
    }
    AtomFields entry(entryAtom);
    SoundDescription sound;
    if (const long status = ReadSoundDescription(entry, sound)) {
        return status;
    }
    if (!sound.isUsable) {
        // Such a track is kept, empty, so that the rest of the movie can be used.
        return 0;
    }
    mFormat = sound.format;
    mStreamDescription = StreamOf(sound);

    std::free(mEsdsData);
    mEsdsData = nullptr;
    mEsdsSize = 0;
    SoundExtensions extensions;
    if (const long status = ReadSoundExtensions(entry, sound, extensions)) {
        return status;
    }
    if (extensions.hugeEsdsSize != 0) {
        KVX_LOG("Can not allocate allocate %llu byte Esds buffer\n",
                static_cast<unsigned long long>(extensions.hugeEsdsSize));
        return 0;
    }
    if (extensions.esdsAtom != nullptr) {
        if (const long status = CopyPayload(extensions.esdsAtom, "Esds", mEsdsData, mEsdsSize)) {
            return status;
        }
    }
    if (extensions.isBigEndian) {
        mStreamDescription.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    }
    mFixedSampleSize = sound.sampleIsFrame ? mStreamDescription.mBytesPerFrame : 0;
    if (const long status = FindSampleOrder(entry, sound, mSampleOrder)) {
        return status;
    }
    return Track::Init(path, moovAtom, trakAtom);
}

bool AudioTrack::GetEsdsData(char** data, long* size) {
    if (mEsdsData == nullptr || data == nullptr || size == nullptr) {
        return false;
    }
    *data = reinterpret_cast<char*>(mEsdsData);
    *size = mEsdsSize;
    return true;
}

}  // namespace KVX::QT
