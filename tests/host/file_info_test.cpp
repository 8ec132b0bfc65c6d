#include <cmath>
#include <cstring>
#include <memory>

#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/cf_owner.h"

namespace {

using KVX::FileImportModule;
using KVX::QT::Movie;
using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::Field;
using kvx_test::kFill;
using kvx_test::kMediaOffset;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Sound;
using kvx_test::SoundDescriptionV0;
using kvx_test::TrackRecipe;
using kvx_test::Video;

// A record by the bytes: places and widths are the host's.
class Expected {
  public:
    Expected() : mBlock(kFill) {}

    template <typename Value>
    Expected& Put(size_t offset, Value value) {
        std::memcpy(reinterpret_cast<uint8_t*>(mBlock.Get()) + offset, &value, sizeof(value));
        return *this;
    }

    RecordBlock<imFileInfoRec8>& Block() { return mBlock; }

  private:
    RecordBlock<imFileInfoRec8> mBlock;
};

TrackRecipe Silence(uint64_t place, int channels = 2) {
    SoundDescriptionV0 description;
    description.channels = channels;
    return Sound(description, 480, place * kMediaOffset);
}

class FileInfo : public kvx_test::HostTest {
  protected:
    // A module on any movie that can be parsed, also one that is not imported.
    FileImportModule& ModuleOn(const kvx_test::MovieRecipe& recipe) {
        mModule = std::make_unique<FileImportModule>(1, host.StdParms());
        mModule->mMovie = Movie::Create(Write(recipe));
        EXPECT_NE(mModule->mMovie, nullptr);
        return *mModule;
    }

    static long Ask(FileImportModule& module, int32_t index, RecordBlock<imFileInfoRec8>& info) {
        info->streamIdx = index;
        return module.GetInfo8(nullptr, info.Get());
    }

    // Answer, video and audio of an index; -1 for both where nothing was stored.
    struct Stream {
        long result;
        int hasVideo;
        int hasAudio;
        bool operator==(const Stream& other) const {
            return result == other.result && hasVideo == other.hasVideo &&
                   hasAudio == other.hasAudio;
        }
    };

    static Stream At(FileImportModule& module, int32_t index) {
        RecordBlock<imFileInfoRec8> info(kFill);
        RecordBlock<imFileInfoRec8> before(kFill);
        before->streamIdx = index;
        const long result = Ask(module, index, info);
        if (info.Bytes() == before.Bytes()) {
            return {result, -1, -1};
        }
        return {result, info->hasVideo, info->hasAudio};
    }

  private:
    std::unique_ptr<FileImportModule> mModule;
};

TEST_F(FileInfo, VideoAlone) {
    kvx_test::VideoDescription description;
    description.format = "v210";
    description.width = 1280;
    description.height = 720;
    description.depth = 24;
    description.extensions = {kvx_test::PixelAspect(10, 11), kvx_test::FieldHandling(2, 14)};
    Clip clip(importer, Write(MovieOf({kvx_test::VideoTrackRecipe(description, 3456 * 2, 7)})));
    ASSERT_EQ(clip.Open(), 0);

    RecordBlock<imFileInfoRec8> info(kFill);
    Expected expected;
    expected.Put<int8_t>(0, 1)
        .Put<int8_t>(1, 0)
        .Put<int32_t>(2, 1280)
        .Put<int32_t>(6, 720)
        .Put<int16_t>(12, 24)
        .Put<int32_t>(14, 0x76323130)
        .Put<int8_t>(18, 1)  // the field handling's upper field first
        .Put<int32_t>(34, 10)
        .Put<int32_t>(38, 11)
        .Put<int32_t>(50, 1)
        .Put<int32_t>(54, 1)
        .Put<int32_t>(162, 24000)
        .Put<int32_t>(166, 1000)
        .Put<int32_t>(170, 7000)
        .Put<int32_t>(194, 0)
        .Put<void*>(198, clip.PrivateData())
        .Put<int8_t>(214, 1)
        .Put<int32_t>(215, 0);
    EXPECT_EQ(clip.GetInfo(0, info.Get()), 0);
    EXPECT_EQ(info.Bytes(), expected.Block().Bytes());
}

TEST_F(FileInfo, VideoAndAudio) {
    Clip clip(importer, Write(MovieOf({Video("2vuy", 720, 486), Silence(2)})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imFileInfoRec8> info(kFill);
    Expected expected;
    expected.Put<int8_t>(0, 1)
        .Put<int8_t>(1, 1)
        .Put<int32_t>(2, 720)
        .Put<int32_t>(6, 486)
        .Put<int16_t>(12, 24)
        .Put<int32_t>(14, 0x32767579)
        .Put<int8_t>(18, 0)    // whole frames: 486 lines, but 24 frames a second
        .Put<uint32_t>(34, 0)  // the file says nothing about its pixels
        .Put<uint32_t>(38, 0)
        .Put<int32_t>(50, 1)
        .Put<int32_t>(54, 1)
        .Put<int32_t>(162, 24000)
        .Put<int32_t>(166, 1000)
        .Put<int32_t>(170, 10000)
        .Put<int32_t>(174, 2)
        .Put<float>(178, 48000.0F)
        .Put<int32_t>(182, 8)
        .Put<int64_t>(186, 480)
        .Put<int32_t>(194, 0)
        .Put<void*>(198, clip.PrivateData())
        .Put<int8_t>(214, 1)
        .Put<int32_t>(215, 0);
    EXPECT_EQ(clip.GetInfo(0, info.Get()), 0);
    EXPECT_EQ(info.Bytes(), expected.Block().Bytes());
}

TEST_F(FileInfo, OneVideoAndThreeAudioTracks) {
    Clip clip(importer, Write(MovieOf({Silence(2, 1), Video(), Silence(3, 2), Silence(4, 6)})));
    ASSERT_EQ(clip.Open(), 0);
    {
        LogCapture log;
        RecordBlock<imFileInfoRec8> info(kFill);
        EXPECT_EQ(clip.GetInfo(0, info.Get()), 18);
        EXPECT_EQ(Field(info->hasVideo), 1);
        EXPECT_EQ(Field(info->hasAudio), 1);
        EXPECT_EQ(Field(info->audioChannels), 1);
        EXPECT_EQ(Field(info->setting219), 0);
        EXPECT_EQ(log.Raw(), "");
    }
    for (const int32_t index : {1, 2}) {
        LogCapture log;
        RecordBlock<imFileInfoRec8> info(kFill);
        Expected expected;
        expected.Put<int8_t>(0, 0)
            .Put<int8_t>(1, 1)
            .Put<int32_t>(174, index == 1 ? 2 : 6)
            .Put<float>(178, 48000.0F)
            .Put<int32_t>(182, 8)
            .Put<int64_t>(186, 480)
            .Put<int32_t>(194, 0)
            .Put<void*>(198, clip.PrivateData())
            .Put<int8_t>(214, 1)
            .Put<int32_t>(215, index);
        EXPECT_EQ(clip.GetInfo(index, info.Get()), index == 1 ? 18 : 0);
        EXPECT_EQ(info.Bytes(), expected.Block().Bytes()) << index;
        EXPECT_EQ(log.Raw(), "");
    }
    LogCapture log;
    RecordBlock<imFileInfoRec8> info(kFill);
    Expected untouched;
    untouched.Put<void*>(198, clip.PrivateData()).Put<int32_t>(215, 3);
    EXPECT_EQ(clip.GetInfo(3, info.Get()), 19);
    EXPECT_EQ(info.Bytes(), untouched.Block().Bytes());
    EXPECT_EQ(log.Text(),
              "GetInfo8: Iterated past the last audio and video track.  Premiere won't like "
              "this.\n");
    EXPECT_EQ(clip.Streams().size(), 3u);
}

TEST_F(FileInfo, NoTracks) {
    FileImportModule& module = ModuleOn(MovieOf({}));
    {
        LogCapture log;
        EXPECT_EQ(At(module, 0), (Stream{2, -1, -1}));
        EXPECT_EQ(log.Text(), "GetInfo8: Movie has no tracks\n");
    }
    LogCapture log;
    EXPECT_EQ(At(module, 1), (Stream{19, -1, -1}));
    EXPECT_EQ(At(module, INT32_MAX), (Stream{19, -1, -1}));
    EXPECT_EQ(At(module, INT32_MIN), (Stream{19, -1, -1}));
    // The index before the first is the last of none: without tracks, and without a failure.
    EXPECT_EQ(At(module, -1), (Stream{0, 0, 0}));
}

TEST_F(FileInfo, AudioAlone) {
    FileImportModule& module = ModuleOn(MovieOf({Silence(2)}));
    EXPECT_EQ(At(module, 0), (Stream{0, 0, 1}));
}

TEST_F(FileInfo, MoreVideoThanAudio) {
    FileImportModule& module =
        ModuleOn(MovieOf({Video(), Video("v210", 16, 8, 2 * kMediaOffset),
                          Video("r210", 16, 8, 3 * kMediaOffset), Silence(4)}));
    LogCapture log;
    EXPECT_EQ(At(module, 0), (Stream{18, 1, 1}));
    EXPECT_EQ(At(module, 1), (Stream{18, 1, 0}));
    EXPECT_EQ(At(module, 2), (Stream{0, 1, 0}));
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(At(module, 3), (Stream{19, -1, -1}));
    EXPECT_EQ(At(module, -1), (Stream{19, -1, -1}));

    RecordBlock<imFileInfoRec8> info;
    EXPECT_EQ(Ask(module, 1, info), 18);
    EXPECT_EQ(Field(info->subType), 0x76323130);
}

TEST_F(FileInfo, AsManyVideoAsAudioTracks) {
    FileImportModule& module = ModuleOn(
        MovieOf({Video(), Video("2vuy", 16, 8, 2 * kMediaOffset), Silence(3), Silence(4)}));
    EXPECT_EQ(At(module, 0), (Stream{18, 1, 1}));
    EXPECT_EQ(At(module, 1), (Stream{0, 1, 1}));
}

TEST_F(FileInfo, SecondTracksLeaveTheFlagOfLaterStreamsAlone) {
    FileImportModule& module = ModuleOn(MovieOf({Video(), Silence(2), Silence(3)}));
    RecordBlock<imFileInfoRec8> info(kFill);
    EXPECT_EQ(Ask(module, 1, info), 0);
    EXPECT_EQ(static_cast<uint8_t>(info->setting219), kFill);
    RecordBlock<imFileInfoRec8> first(kFill);
    EXPECT_EQ(Ask(module, 0, first), 18);
    EXPECT_EQ(Field(first->setting219), 0);
}

TEST_F(FileInfo, NumbersAreCutToTheirFields) {
    FileImportModule& module = ModuleOn(MovieOf({Video(), Silence(2)}));
    KVX::QT::VideoTrack& video = *module.mMovie->mVideoTracks[0];
    video.mWidth = -5;
    video.mHeight = 32767;
    video.mDepth = -1;
    video.mFormat = 0x5555555532767579;
    video.mMediaTimeScale = 0x1122334455667788;
    video.mSampleDuration = 0x123456789;
    video.mTrackDuration = 0x7FFFFFFF80000001;
    video.mPixelAspectH = 0xFFFFFFFF;
    video.mPixelAspectV = 0x80000000;
    KVX::QT::AudioTrack& audio = *module.mMovie->mAudioTracks[0];
    audio.mTrackDuration = 0x7FFFFFFF80000001;
    audio.mStreamDescription.mSampleRate = 44100.1;
    audio.mStreamDescription.mChannelsPerFrame = 0xFFFFFFFE;
    module.mAudioSampleType = 0x01020304;
    RecordBlock<imFileInfoRec8> info;
    ASSERT_EQ(Ask(module, 0, info), 0);
    EXPECT_EQ(Field(info->width), -5);
    EXPECT_EQ(Field(info->height), 32767);
    EXPECT_EQ(Field(info->depth), -1);
    EXPECT_EQ(Field(info->subType), 0x32767579);
    EXPECT_EQ(Field(info->videoScale), 0x55667788);
    EXPECT_EQ(Field(info->videoSampleSize), 0x23456789);
    EXPECT_EQ(static_cast<uint32_t>(info->videoDuration), 0x80000001u);
    EXPECT_EQ(Field(info->pixelAspectNumerator), 0xFFFFFFFFu);
    EXPECT_EQ(Field(info->pixelAspectDenominator), 0x80000000u);
    EXPECT_EQ(Field(info->audioDuration), 0x7FFFFFFF80000001);
    EXPECT_EQ(Field(info->audioSampleRate), 44100.1F);
    EXPECT_EQ(static_cast<uint32_t>(info->audioChannels), 0xFFFFFFFEu);
    EXPECT_EQ(Field(info->audioSampleType), 0x01020304);
}

TEST_F(FileInfo, FieldTypeOfUncompressedFormats) {
    for (const char* format : {"2vuy", "2Vuy", "r210", "v210"}) {
        FileImportModule& module = ModuleOn(MovieOf({Video(format, 1440, 1080)}));
        KVX::QT::VideoTrack& track = *module.mMovie->mVideoTracks[0];
        track.mPixelAspectH = 5;
        track.mPixelAspectV = 6;
        struct Case {
            int dominance;
            int fieldType;
        };
        for (const Case& each : {Case{0, 0}, Case{1, 1}, Case{2, 2}, Case{3, 3}, Case{4, 0},
                                 Case{-1, 0}, Case{256, 0}, Case{0x10001, 0}}) {
            track.mFieldDominance = each.dominance;
            RecordBlock<imFileInfoRec8> info(kFill);
            ASSERT_EQ(Ask(module, 0, info), 0);
            EXPECT_EQ(Field(info->fieldType), each.fieldType) << format << " " << each.dominance;
            // The frame size says nothing about these formats' pixels.
            EXPECT_EQ(Field(info->pixelAspectNumerator), 5u);
            EXPECT_EQ(Field(info->pixelAspectDenominator), 6u);
        }
    }
}

TEST_F(FileInfo, FieldTypeOfCompressedFormats) {
    struct Case {
        const char* format;
        int height;
        int fieldType;
    };
    const Case cases[] = {
        {"dv5p", 576, 2}, {"dvcp", 576, 2}, {"dvpp", 576, 2}, {"pvsd", 480, 2}, {"dv5p", 1, 2},
        {"dvsd", 576, 2}, {"dvsd", 480, 0}, {"dvsd", 575, 0}, {"dvc ", 576, 0}, {"dv5n", 480, 0},
        {"dvh5", 576, 0}, {"apcn", 576, 0}, {"jpeg", 576, 0}, {"ap4h", 576, 0}, {"v216", 576, 0},
    };
    for (const Case& each : cases) {
        FileImportModule& module = ModuleOn(MovieOf({Video(each.format, 720, each.height)}));
        module.mMovie->mVideoTracks[0]->mFieldDominance = 1;
        RecordBlock<imFileInfoRec8> info(kFill);
        ASSERT_EQ(Ask(module, 0, info), 0);
        EXPECT_EQ(Field(info->fieldType), each.fieldType) << each.format << " " << each.height;
    }
}

TEST_F(FileInfo, PixelAspectOfCompressedFormats) {
    struct Case {
        int16_t width;
        int16_t height;
        uint32_t numerator;
        uint32_t denominator;
    };
    const Case cases[] = {
        {1440, 1080, 4, 3}, {1280, 1080, 3, 2}, {960, 720, 4, 3},  {1920, 1080, 7, 9},
        {1280, 720, 7, 9},  {1440, 720, 7, 9},  {960, 1080, 7, 9}, {720, 576, 7, 9},
        {1440, 1079, 7, 9}, {1080, 1440, 7, 9},
    };
    for (const char* format : {"dvh5", "apch", "jpeg", "v216"}) {
        FileImportModule& module = ModuleOn(MovieOf({Video(format)}));
        for (const Case& each : cases) {
            KVX::QT::VideoTrack& track = *module.mMovie->mVideoTracks[0];
            track.mWidth = each.width;
            track.mHeight = each.height;
            track.mPixelAspectH = 7;
            track.mPixelAspectV = 9;
            RecordBlock<imFileInfoRec8> info(kFill);
            ASSERT_EQ(Ask(module, 0, info), 0);
            EXPECT_EQ(Field(info->pixelAspectNumerator), each.numerator)
                << format << " " << each.width << "x" << each.height;
            EXPECT_EQ(Field(info->pixelAspectDenominator), each.denominator);
        }
    }
}

TEST_F(FileInfo, PreferredFrameSize) {
    Clip clip(importer, Write(MovieOf({Video("2vuy", 1998, 1080)})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imPreferredFrameSizeRec> record(kFill);
    record->privatedata = clip.PrivateData();
    RecordBlock<imPreferredFrameSizeRec> expected = record;
    const int32_t size[] = {1998, 1080};
    std::memcpy(reinterpret_cast<uint8_t*>(expected.Get()) + 24, size, sizeof(size));
    EXPECT_EQ(importer.Call(imGetPreferredFrameSize, record.Get(), nullptr), 0);
    EXPECT_EQ(record.Bytes(), expected.Bytes());
}

TEST_F(FileInfo, PreferredFrameSizeIsSigned) {
    FileImportModule& module =
        ModuleOn(MovieOf({Video(), Video("v210", 99, 99, 2 * kMediaOffset)}));
    module.mMovie->mVideoTracks[0]->mWidth = -2;
    module.mMovie->mVideoTracks[0]->mHeight = -32768;
    RecordBlock<imPreferredFrameSizeRec> record;
    EXPECT_EQ(module.GetPreferredFrameSize(record.Get()), 0);
    EXPECT_EQ(Field(record->width), -2);
    EXPECT_EQ(Field(record->height), -32768);
}

TEST_F(FileInfo, NoPreferredFrameSizeWithoutVideo) {
    FileImportModule& module = ModuleOn(MovieOf({Silence(2)}));
    RecordBlock<imPreferredFrameSizeRec> record(kFill);
    EXPECT_EQ(module.GetPreferredFrameSize(record.Get()), 0);
    EXPECT_EQ(record.Bytes(), RecordBlock<imPreferredFrameSizeRec>(kFill).Bytes());
}

}  // namespace
