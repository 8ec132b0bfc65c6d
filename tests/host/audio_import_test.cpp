#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <memory>
#include <numeric>

#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "support/fault_injection.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::Bytes;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::MovieRecipe;
using kvx_test::PatternSample;
using kvx_test::Sound;
using kvx_test::SoundDescriptionV0;
using kvx_test::SystemCall;
using kvx_test::TrackRecipe;
using kvx_test::Video;

constexpr float kHostsOwn = -99.5F;

// The planes that a host gives to a request, with a margin after the frames asked for.
class Planes {
  public:
    Planes(size_t channels, size_t frames)
        : mSamples(channels, std::vector<float>(frames + 8, kHostsOwn)) {
        for (std::vector<float>& plane : mSamples) {
            mPointers.push_back(plane.data());
        }
    }

    float** Pointers() { return mPointers.data(); }
    const std::vector<float>& operator[](size_t channel) const { return mSamples[channel]; }

    // Nothing was written from `frame` on.
    void ExpectUntouchedFrom(size_t frame) const {
        for (const std::vector<float>& plane : mSamples) {
            for (size_t index = frame; index < plane.size(); ++index) {
                ASSERT_EQ(plane[index], kHostsOwn) << "frame " << index;
            }
        }
    }

  private:
    std::vector<std::vector<float>> mSamples;
    std::vector<float*> mPointers;
};

// A big-endian 16-bit sample as the host wants it.
float Sample16(const Bytes& frame, size_t channel) {
    const auto high = static_cast<unsigned char>(frame[2 * channel]);
    const auto low = static_cast<unsigned char>(frame[2 * channel + 1]);
    int value = high * 256 + low;
    if (value >= 32768) {
        value -= 65536;
    }
    return static_cast<float>(value) / 32767.0F;
}

// Tracks count from 0 in the recipe, the video track included.
constexpr size_t kSoundTrack = 1;

void ExpectFrames(const Planes& planes, int channels, size_t from, size_t to, int64_t first,
                  size_t track = kSoundTrack) {
    for (size_t index = from; index < to; ++index) {
        const auto frame = first + static_cast<int64_t>(index - from);
        const Bytes stored = PatternSample(track, frame, 2 * static_cast<uint64_t>(channels));
        for (int channel = 0; channel < channels; ++channel) {
            const auto place = static_cast<size_t>(channel);
            ASSERT_EQ(planes[place][index], Sample16(stored, place))
                << "frame " << frame << " channel " << channel;
        }
    }
}

class AudioImport : public kvx_test::HostTest {
  protected:
    Clip& OpenOn(const MovieRecipe& recipe) {
        mClip = std::make_unique<Clip>(importer, Write(recipe));
        EXPECT_EQ(mClip->Open(), 0);
        return *mClip;
    }

    // 100 frames of stereo.
    Clip& OpenStereo() { return OpenOn(MovieOf({Video(), Sound({}, 100)})); }

    static void ExpectPosition(const Clip& clip, int64_t position) {
        LookInto(clip, [position](const KVX::FileImportModule& module) {
            EXPECT_EQ(module.mAudioPosition, position);
        });
    }

    static KVX::QT::AudioTrack& TrackOf(const Clip& clip) {
        return *ModuleOf(clip)->mMovie->mAudioTracks[0];
    }

  private:
    std::unique_ptr<Clip> mClip;
};

TEST_F(AudioImport, WholeTrack) {
    Clip& clip = OpenStereo();
    Planes planes(2, 100);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), 0);
    EXPECT_EQ(log.Raw(), "");
    ExpectFrames(planes, 2, 0, 100, 0);
    planes.ExpectUntouchedFrom(100);
}

TEST_F(AudioImport, SpanInTheMiddle) {
    Clip& clip = OpenStereo();
    Planes planes(2, 10);
    EXPECT_EQ(clip.ReadAudio(0, 37, 10, planes.Pointers()), 0);
    ExpectFrames(planes, 2, 0, 10, 37);
    planes.ExpectUntouchedFrom(10);
}

TEST_F(AudioImport, RecordIsOnlyRead) {
    Clip& clip = OpenStereo();
    Planes planes(2, 4);
    RecordBlock<imImportAudioRec7> record(kvx_test::kFill);
    record->position = 96;
    record->size = 10;
    record->buffer = planes.Pointers();
    record->privatedata = clip.PrivateData();
    const RecordBlock<imImportAudioRec7> expected = record;
    // The stream is a number of 32 bits.
    EXPECT_EQ(importer.Call(imImportAudio7, 0x7700000000, reinterpret_cast<long>(record.Get())), 0);
    EXPECT_EQ(record.Bytes(), expected.Bytes());
    ExpectFrames(planes, 2, 0, 4, 96);
}

TEST_F(AudioImport, ChunksApartComeOutGapless) {
    TrackRecipe sound = Sound({}, 100);
    sound.PlaceSamples(2 * kvx_test::kMediaOffset, 7, 1000);
    Clip& clip = OpenOn(MovieOf({Video(), sound}));
    Planes planes(2, 95);
    EXPECT_EQ(clip.ReadAudio(0, 3, 95, planes.Pointers()), 0);
    ExpectFrames(planes, 2, 0, 95, 3);
    planes.ExpectUntouchedFrom(95);
}

TEST_F(AudioImport, OneReadForEachRun) {
    // 100 frames in chunks of 10: 10 runs when they lie apart, one when they lie back to back.
    for (const uint64_t gap : {uint64_t{16}, uint64_t{0}}) {
        TrackRecipe sound = Sound({}, 100);
        sound.PlaceSamples(2 * kvx_test::kMediaOffset, 10, gap);
        Clip& clip = OpenOn(MovieOf({Video(), sound}));
        Planes planes(2, 100);
        const Fault counted(SystemCall::kPread, EIO, INT_MAX);
        EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), 0);
        EXPECT_EQ(counted.Calls(), gap == 0 ? 1 : 10);
    }
}

TEST_F(AudioImport, RunsEndWithEdits) {
    // The second half first, then the first half.
    MovieRecipe recipe = MovieOf({Video(), Sound({}, 100)});
    recipe.tracks[kSoundTrack].edits = {{50, 50}, {50, 0}};
    Clip& clip = OpenOn(recipe);
    Planes planes(2, 100);
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), 0);
    ExpectFrames(planes, 2, 0, 50, 50);
    ExpectFrames(planes, 2, 50, 100, 0);
}

TEST_F(AudioImport, SixChannels) {
    SoundDescriptionV0 description;
    description.channels = 6;
    Clip& clip = OpenOn(MovieOf({Video(), Sound(description, 20)}));
    Planes planes(6, 20);
    ASSERT_EQ(clip.ReadAudio(0, 0, 20, planes.Pointers()), 0);
    // Without a layout: left, right, centre, LFE, left surround, right surround in the file; left,
    // right, left surround, right surround, centre, LFE in the planes.
    const size_t planeOf[] = {0, 1, 4, 5, 2, 3};
    for (int64_t frame = 0; frame < 20; ++frame) {
        const Bytes stored = PatternSample(kSoundTrack, frame, 12);
        for (size_t channel = 0; channel < 6; ++channel) {
            EXPECT_EQ(planes[planeOf[channel]][static_cast<size_t>(frame)],
                      Sample16(stored, channel));
        }
    }
}

TEST_F(AudioImport, StreamNumberIsTheTrack) {
    SoundDescriptionV0 mono;
    mono.channels = 1;
    Clip& clip =
        OpenOn(MovieOf({Sound(mono, 30, 4 * kvx_test::kMediaOffset), Video(), Sound({}, 30)}));
    Planes first(1, 30);
    EXPECT_EQ(clip.ReadAudio(0, 5, 10, first.Pointers()), 0);
    ExpectFrames(first, 1, 0, 10, 5, 0);
    Planes second(2, 30);
    EXPECT_EQ(clip.ReadAudio(1, 5, 10, second.Pointers()), 0);
    ExpectFrames(second, 2, 0, 10, 5, 2);
}

TEST_F(AudioImport, InvalidStream) {
    Clip& clip = OpenStereo();
    Planes planes(2, 1);
    for (const int32_t stream : {1, 2, INT32_MAX, -1, INT32_MIN}) {
        LogCapture log;
        EXPECT_EQ(clip.ReadAudio(stream, 0, 1, planes.Pointers()), 19);
        EXPECT_EQ(log.Text(), "ImportAudio7: Invalid stream ID " + std::to_string(stream) + "\n");
    }
    planes.ExpectUntouchedFrom(0);
}

TEST_F(AudioImport, InvalidStreamInAMovieWithoutAudio) {
    Clip& clip = OpenOn(MovieOf({Video()}));
    Planes planes(1, 1);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 1, planes.Pointers()), 19);
    EXPECT_EQ(log.Text(), "ImportAudio7: Invalid stream ID 0\n");
}

TEST_F(AudioImport, NoFrames) {
    Clip& clip = OpenStereo();
    Planes planes(2, 1);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 10, 0, planes.Pointers()), 0);
    EXPECT_EQ(clip.ReadAudio(0, 100, 50, planes.Pointers()), 0);
    planes.ExpectUntouchedFrom(0);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(AudioImport, NoFramesOfUnconvertibleAudio) {
    SoundDescriptionV0 description;
    description.channels = 3;
    Clip& clip = OpenOn(MovieOf({Video(), Sound(description, 10)}));
    Planes planes(3, 1);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 0, planes.Pointers()), 22);
    EXPECT_EQ(log.Text(), "WriteSamples: 3 channel audio not supported\n");
}

TEST_F(AudioImport, UnsignedSixteenBitOpensButIsNotConverted) {
    SoundDescriptionV0 description;
    description.format = "raw ";
    Clip& clip = OpenOn(MovieOf({Video(), Sound(description, 10)}));
    Planes planes(2, 10);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 10, planes.Pointers()), 22);
    EXPECT_EQ(log.Text(), "WriteSamples: Unsigned 16 bit integer audio not supported\n");
    planes.ExpectUntouchedFrom(0);
}

TEST_F(AudioImport, RequestAcrossTheEndIsCut) {
    Clip& clip = OpenStereo();
    for (const uint32_t wanted : {11u, 1000u, 0xFFFFFFFFu}) {
        Planes planes(2, 10);
        EXPECT_EQ(clip.ReadAudio(0, 90, wanted, planes.Pointers()), 0);
        ExpectFrames(planes, 2, 0, 10, 90);
        planes.ExpectUntouchedFrom(10);
    }
}

TEST_F(AudioImport, RequestBehindTheEndFails) {
    Clip& clip = OpenStereo();
    for (const int64_t start : {int64_t{101}, int64_t{103}, int64_t{1} << 40, INT64_MAX}) {
        Planes planes(2, 1);
        LogCapture log;
        EXPECT_EQ(clip.ReadAudio(0, start, 1, planes.Pointers()), 4);
        EXPECT_EQ(log.Text(), "ImportAudio7: calloc failed\n");
        planes.ExpectUntouchedFrom(0);
        ExpectPosition(clip, start);
    }
}

TEST_F(AudioImport, NegativeStartRepeatsTheLastSpan) {
    Clip& clip = OpenStereo();
    for (const int64_t negative : {int64_t{-1}, int64_t{-1000}, INT64_MIN}) {
        Planes planes(2, 5);
        EXPECT_EQ(clip.ReadAudio(0, negative, 5, planes.Pointers()), 0);
        ExpectFrames(planes, 2, 0, 5, 0);
    }
    Planes planes(2, 5);
    EXPECT_EQ(clip.ReadAudio(0, 20, 5, planes.Pointers()), 0);
    ExpectPosition(clip, 20);
    for (int time = 0; time < 2; ++time) {
        Planes again(2, 5);
        EXPECT_EQ(clip.ReadAudio(0, -1, 5, again.Pointers()), 0);
        ExpectFrames(again, 2, 0, 5, 20);
        ExpectPosition(clip, 20);
    }
}

TEST_F(AudioImport, InvalidStreamLeavesThePosition) {
    Clip& clip = OpenStereo();
    Planes planes(2, 5);
    ASSERT_EQ(clip.ReadAudio(0, 20, 5, planes.Pointers()), 0);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(5, 30, 5, planes.Pointers()), 19);
    ExpectPosition(clip, 20);
}

TEST_F(AudioImport, QuietFileFailsTheRead) {
    Clip& clip = OpenStereo();
    ASSERT_EQ(clip.Quiet(), 0);
    Planes planes(2, 5);
    {
        LogCapture log;
        EXPECT_EQ(clip.ReadAudio(0, 12, 5, planes.Pointers()), EBADF);
        EXPECT_EQ(log.Text(), "ImportAudio7: pread returned " + std::to_string(EBADF) + "\n");
    }
    planes.ExpectUntouchedFrom(0);
    ExpectPosition(clip, 12);

    ASSERT_EQ(clip.Reopen(), 0);
    EXPECT_EQ(clip.ReadAudio(0, -1, 5, planes.Pointers()), 0);
    ExpectFrames(planes, 2, 0, 5, 12);
}

TEST_F(AudioImport, FailedReadAnswersItsErrno) {
    TrackRecipe sound = Sound({}, 100);
    sound.PlaceSamples(2 * kvx_test::kMediaOffset, 10, 16);
    Clip& clip = OpenOn(MovieOf({Video(), sound}));
    Planes planes(2, 100);
    LogCapture log;
    {
        // The fourth of ten runs.
        const Fault failing(SystemCall::kPread, EIO, 4, Fault::kForever);
        EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), EIO);
        EXPECT_EQ(failing.Calls(), 4);
    }
    EXPECT_EQ(log.Text(), "ImportAudio7: pread returned " + std::to_string(EIO) + "\n");
    planes.ExpectUntouchedFrom(0);
}

TEST_F(AudioImport, ShortReadLeavesSilence) {
    Clip& clip = OpenStereo();
    // The file ends in the middle of frame 40.
    ASSERT_EQ(truncate(directory.File("movie.mov").c_str(),
                       static_cast<off_t>(2 * kvx_test::kMediaOffset + 40UL * 4 + 2)),
              0);
    Planes planes(2, 60);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 10, 60, planes.Pointers()), 0);
    EXPECT_EQ(log.Raw(), "");
    ExpectFrames(planes, 2, 0, 30, 10);
    EXPECT_EQ(planes[0][30], Sample16(PatternSample(kSoundTrack, 40, 4), 0));
    EXPECT_EQ(planes[1][30], 0.0F);
    for (size_t frame = 31; frame < 60; ++frame) {
        EXPECT_EQ(planes[0][frame], 0.0F);
        EXPECT_EQ(planes[1][frame], 0.0F);
    }
    planes.ExpectUntouchedFrom(60);
}

TEST_F(AudioImport, ShortReadOfUnsignedSamplesIsNoSilence) {
    SoundDescriptionV0 description;
    description.format = "raw ";
    description.bits = 8;
    description.channels = 1;
    Clip& clip = OpenOn(MovieOf({Video(), Sound(description, 100)}));
    ASSERT_EQ(truncate(directory.File("movie.mov").c_str(),
                       static_cast<off_t>(2 * kvx_test::kMediaOffset)),
              0);
    Planes planes(1, 3);
    EXPECT_EQ(clip.ReadAudio(0, 0, 3, planes.Pointers()), 0);
    EXPECT_EQ(planes[0][0], -128.0F / 127.0F);
    EXPECT_EQ(planes[0][2], -128.0F / 127.0F);
}

TEST_F(AudioImport, EndOfTheTimelineEndsTheReading) {
    Clip& clip = OpenStereo();
    // As in a file whose edit list is shorter than its table of samples.
    TrackOf(clip).mTrackDuration = 60;
    Planes planes(2, 100);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), 0);
    EXPECT_EQ(log.Raw(), "");
    ExpectFrames(planes, 2, 0, 60, 0);
    for (size_t frame = 60; frame < 100; ++frame) {
        ASSERT_EQ(planes[0][frame], 0.0F);
        ASSERT_EQ(planes[1][frame], 0.0F);
    }
    planes.ExpectUntouchedFrom(100);
}

TEST_F(AudioImport, LackOfMemory) {
    Clip& clip = OpenStereo();
    Planes planes(2, 5);
    LogCapture log;
    long result = 0;
    {
        const Fault failing(SystemCall::kCalloc, ENOMEM, 1, Fault::kForever);
        result = clip.ReadAudio(0, 7, 5, planes.Pointers());
    }
    EXPECT_EQ(result, 4);
    EXPECT_EQ(log.Text(), "ImportAudio7: calloc failed\n");
    EXPECT_EQ(ModuleOf(clip)->mAudioPosition, 7);
    planes.ExpectUntouchedFrom(0);
}

TEST_F(AudioImport, FarthestStartInATrackOfLessThanNothing) {
    Clip& clip = OpenStereo();
    TrackOf(clip).mSampleCount = -2;
    Planes planes(2, 5);
    LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, INT64_MAX, 5, planes.Pointers()), 4);
    EXPECT_EQ(log.Text(), "ImportAudio7: calloc failed\n");
    planes.ExpectUntouchedFrom(0);
}

TEST_F(AudioImport, SizesBeyondTheAddressSpace) {
    for (const unsigned int frameSize : {0x80000000u, 0xFFFFFFFFu}) {
        Clip& clip = OpenStereo();
        TrackOf(clip).mSampleCount = int64_t{1} << 62;
        TrackOf(clip).mSizeOffsets.begin()->second->size = frameSize;
        Planes planes(2, 1);
        LogCapture log;
        EXPECT_EQ(clip.ReadAudio(0, 0, 0xFFFFFFFF, planes.Pointers()), 4);
        // A sanitizer has its own say before.
        EXPECT_THAT(log.Text(), ::testing::EndsWith("ImportAudio7: calloc failed\n"));
        planes.ExpectUntouchedFrom(0);
    }
}

TEST_F(AudioImport, TableOfSmallerFramesThanDescribed) {
    // A table that says one byte for a frame of four: a quarter of what is converted is read.
    Clip& clip = OpenStereo();
    TrackOf(clip).mSizeOffsets.begin()->second->size = 1;
    Planes planes(2, 100);
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), 0);
    ExpectFrames(planes, 2, 0, 25, 0);
    for (size_t frame = 25; frame < 100; ++frame) {
        ASSERT_EQ(planes[0][frame], 0.0F);
        ASSERT_EQ(planes[1][frame], 0.0F);
    }
    planes.ExpectUntouchedFrom(100);
}

TEST_F(AudioImport, FramesOfNoBytes) {
    Clip& clip = OpenStereo();
    TrackOf(clip).mSizeOffsets.begin()->second->size = 0;
    Planes planes(2, 100);
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.Pointers()), 0);
    EXPECT_EQ(planes[1][99], 0.0F);
}

}  // namespace
