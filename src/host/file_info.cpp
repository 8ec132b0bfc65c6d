// What the host learns of a file's streams.
#include <algorithm>
#include <iterator>

#include "core/four_char_code.h"
#include "core/log.h"
#include "host/file_import_module.h"
#include "pipeline/import_frame.h"
#include "quicktime/audio_track.h"
#include "quicktime/video_track.h"

namespace KVX {

namespace {

using Core::FourCharCode;

constexpr int16_t kAnyHeight = -1;

// DV of these codes is stored lower field first, "dvsd" only in its form of 576 lines.
struct FormatFieldType {
    uint32_t format;
    int16_t height;
    int8_t fieldType;
};

constexpr FormatFieldType kCompressedFieldTypes[] = {
    {FourCharCode("dv5p"), kAnyHeight, prFieldsLowerFirst},
    {FourCharCode("dvcp"), kAnyHeight, prFieldsLowerFirst},
    {FourCharCode("dvpp"), kAnyHeight, prFieldsLowerFirst},
    {FourCharCode("pvsd"), kAnyHeight, prFieldsLowerFirst},
    {FourCharCode("dvsd"), 576, prFieldsLowerFirst},
};

// The frame sizes of compressed formats that store fewer pixels in a row than are displayed.
struct SizePixelAspect {
    int16_t width;
    int16_t height;
    uint32_t numerator;
    uint32_t denominator;
};

constexpr SizePixelAspect kCompressedPixelAspects[] = {
    {1440, 1080, 4, 3},
    {1280, 1080, 3, 2},
    {960, 720, 4, 3},
};

int8_t GetUncompressedFieldType(const QT::VideoTrack& track) {
    const bool known =
        track.mFieldDominance >= prFieldsNone && track.mFieldDominance <= prFieldsUnknown;
    return static_cast<int8_t>(known ? track.mFieldDominance : prFieldsNone);
}

int8_t GetCompressedFieldType(const QT::VideoTrack& track) {
    const auto format = static_cast<uint32_t>(track.mFormat);
    const auto found =
        std::find_if(std::begin(kCompressedFieldTypes), std::end(kCompressedFieldTypes),
                     [&](const FormatFieldType& row) {
                         return row.format == format &&
                                (row.height == kAnyHeight || row.height == track.mHeight);
                     });
    return found == std::end(kCompressedFieldTypes) ? int8_t{prFieldsNone} : found->fieldType;
}

void StoreCompressedPixelAspect(imFileInfoRec8* info, const QT::VideoTrack& track) {
    for (const SizePixelAspect& row : kCompressedPixelAspects) {
        if (row.width == track.mWidth && row.height == track.mHeight) {
            info->pixelAspectNumerator = row.numerator;
            info->pixelAspectDenominator = row.denominator;
        }
    }
}

void StoreAudio(imFileInfoRec8* info, const QT::AudioTrack& track, int32_t sampleType) {
    info->audioChannels = static_cast<int32_t>(track.mStreamDescription.mChannelsPerFrame);
    info->audioSampleRate = static_cast<float>(track.mStreamDescription.mSampleRate);
    info->audioSampleType = sampleType;
    info->audioDuration = track.mTrackDuration;
}

void StoreVideo(imFileInfoRec8* info, const QT::VideoTrack& track) {
    info->width = track.mWidth;
    info->height = track.mHeight;
    info->depth = track.mDepth;
    info->subType = static_cast<int32_t>(track.mFormat);
    info->pixelAspectNumerator = track.mPixelAspectH;
    info->pixelAspectDenominator = track.mPixelAspectV;
    info->setting50 = 1;
    info->setting54 = 1;
    info->videoScale = static_cast<int32_t>(track.mMediaTimeScale);
    info->videoSampleSize = static_cast<int32_t>(track.mSampleDuration);
    info->videoDuration = static_cast<int32_t>(track.mTrackDuration);
    if (ImportFrame::IsSupportedUncompressedVideoFormat(static_cast<unsigned int>(track.mFormat))) {
        info->fieldType = GetUncompressedFieldType(track);
    } else {
        info->fieldType = GetCompressedFieldType(track);
        StoreCompressedPixelAspect(info, track);
    }
}

}  // namespace

long FileImportModule::GetInfo8(imFileAccessRec8*, imFileInfoRec8* info) {
    // One index goes through the audio tracks and the video tracks at once: a stream has a track of
    // each kind, of one, or none.
    const long long index = info->streamIdx;
    const auto audioCount = static_cast<long long>(AudioTracks().size());
    const auto videoCount = static_cast<long long>(VideoTracks().size());
    const bool hasAudio = index >= 0 && index < audioCount;
    const bool hasVideo = index >= 0 && index < videoCount;

    long result = imNoErr;
    if (index == 0) {
        if (!hasAudio && !hasVideo) {
            KVX_LOG("Movie has no tracks\n");
            return imBadFile;
        }
        if (audioCount >= 2 || videoCount >= 2) {
            info->setting219 = 0;
            result = imIterateStreams;
        }
    } else if (index + 1 != std::max(audioCount, videoCount)) {
        if (!hasAudio && !hasVideo) {
            KVX_LOG("Iterated past the last audio and video track.  Premiere won't like this.\n");
            return imBadStreamIndex;
        }
        result = imIterateStreams;
    }

    if (hasAudio) {
        StoreAudio(info, *AudioTracks()[static_cast<size_t>(index)], mAudioSampleType);
    }
    if (hasVideo) {
        StoreVideo(info, *VideoTracks()[static_cast<size_t>(index)]);
    }
    info->hasAudio = hasAudio ? 1 : 0;
    info->hasVideo = hasVideo ? 1 : 0;
    info->setting214 = 1;
    info->accessModes = kRandomAccessImport;
    return result;
}

long FileImportModule::GetPreferredFrameSize(imPreferredFrameSizeRec* record) {
    if (!VideoTracks().empty()) {
        record->width = VideoTracks().front()->mWidth;
        record->height = VideoTracks().front()->mHeight;
    }
    // Never a second size to ask for.
    return imNoErr;
}

}  // namespace KVX
