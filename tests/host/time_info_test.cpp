#include <cstring>
#include <filesystem>
#include <memory>

#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "quicktime/movie.h"
#include "quicktime/timecode_track.h"
#include "support/replaced_call.h"

// What SetTimeInfo8 made of the text shows in what it passes on: the movie refuses it all.
namespace {

struct Passed {
    int calls;
    int hours;
    int minutes;
    int seconds;
    int frames;
    bool dropFrame;
    long timeScale;
    long frameDuration;
};

Passed sPassed = {};

}  // namespace

extern "C" {

kvx_test::CalledLike<&KVX::QT::Movie::SetTimecode> kvx_true_SetTimecode;
kvx_test::CalledLike<&KVX::QT::Movie::SetTimecode> kvx_instead_of_SetTimecode;

long kvx_instead_of_SetTimecode(KVX::QT::Movie* movie, int hours, int minutes, int seconds,
                                int frames, bool dropFrame, long timeScale, long frameDuration) {
    sPassed = {sPassed.calls + 1, hours,     minutes,      seconds, frames,
               dropFrame,         timeScale, frameDuration};
    return kvx_true_SetTimecode(movie, hours, minutes, seconds, frames, dropFrame, timeScale,
                                frameDuration);
}
}

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::big32;
using kvx_test::Field;
using kvx_test::kFill;
using kvx_test::kMediaOffset;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::TimeCodeDescription;
using kvx_test::Video;

// Where the frame number of each timecode track lies.
constexpr uint64_t kFrameNumberOffset = 2 * kMediaOffset;

TimeCodeDescription Counting(uint32_t timeScale, uint32_t frameDuration, int framesPerSecond,
                             uint32_t flags = 0) {
    TimeCodeDescription description;
    description.timeScale = timeScale;
    description.frameDuration = frameDuration;
    description.framesPerSecond = framesPerSecond;
    description.flags = flags;
    return description;
}

struct StartTime {
    TimeCodeDescription description;
    int64_t frame;
};

class TimeInfo : public kvx_test::HostTest {
  protected:
    TimeInfo() { sPassed = {}; }

    // A movie with a timecode track for each start time.
    std::string WriteStarts(const std::vector<StartTime>& starts) {
        kvx_test::MovieRecipe recipe = MovieOf({Video()});
        std::vector<kvx_test::FilePiece> media;
        for (size_t track = 0; track < starts.size(); ++track) {
            const uint64_t offset = kFrameNumberOffset + 4 * track;
            recipe.tracks.push_back(
                kvx_test::TimeCodeTrackRecipe(starts[track].description, 10, offset));
            media.push_back({offset, big32(starts[track].frame)});
        }
        std::string path = directory.File("movie.mov");
        kvx_test::WriteMovieFile(path, kvx_test::BuildMoov(recipe), media);
        return path;
    }

    Clip& OpenOn(const std::vector<StartTime>& starts) {
        mClip = std::make_unique<Clip>(importer, WriteStarts(starts));
        EXPECT_EQ(mClip->Open(), 0);
        return *mClip;
    }

    Clip& OpenOn(const TimeCodeDescription& description, int64_t frame) {
        return OpenOn({StartTime{description, frame}});
    }

    std::string TextOf(const TimeCodeDescription& description, int64_t frame) {
        RecordBlock<imTimeInfoRec8> info;
        EXPECT_EQ(OpenOn(description, frame).GetTimeInfo(info.Get()), 0);
        return info->originalTime;
    }

    static void ExpectNoTimecode(const Clip& clip) {
        RecordBlock<imTimeInfoRec8> info(kFill);
        RecordBlock<imTimeInfoRec8> expected(kFill);
        expected->privatedata = clip.PrivateData();
        EXPECT_EQ(clip.GetTimeInfo(info.Get()), 12);
        EXPECT_EQ(info.Bytes(), expected.Bytes());
    }

  private:
    std::unique_ptr<Clip> mClip;
};

TEST_F(TimeInfo, NoTimecodeTrack) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    ExpectNoTimecode(clip);
}

TEST_F(TimeInfo, NoMovie) {
    LogCapture log;
    Clip clip(importer, directory.File("missing.mov"));
    ASSERT_NE(clip.Open(), 0);
    ExpectNoTimecode(clip);
}

TEST_F(TimeInfo, WholeRecord) {
    const Clip& clip = OpenOn(Counting(30000, 1001, 30, 1), 107894);
    RecordBlock<imTimeInfoRec8> info(kFill);
    RecordBlock<imTimeInfoRec8> expected(kFill);
    expected->privatedata = clip.PrivateData();
    auto* bytes = reinterpret_cast<uint8_t*>(expected.Get());
    const int32_t rate[] = {30000, 1001};
    const int32_t one = 1;
    std::memcpy(bytes + 16, "01;00;00;02", 12);
    std::memcpy(bytes + 34, rate, sizeof(rate));
    bytes[42] = 0;
    std::memset(bytes + 60, 0, 9);
    bytes[108] = 0;
    bytes[148] = 0;
    std::memcpy(bytes + 404, &one, sizeof(one));
    EXPECT_EQ(clip.GetTimeInfo(info.Get()), 0);
    EXPECT_EQ(info.Bytes(), expected.Bytes());
}

TEST_F(TimeInfo, FrameNumbersAsText) {
    EXPECT_EQ(TextOf(Counting(25, 1, 25), 0), "00:00:00:00");
    EXPECT_EQ(TextOf(Counting(25, 1, 25), 90000), "01:00:00:00");
    EXPECT_EQ(TextOf(Counting(2500, 100, 25), 25 * (12 * 3600 + 34 * 60 + 56) + 7), "12:34:56:07");
    EXPECT_EQ(TextOf(Counting(24000, 1001, 24), 86399 * 24 + 23), "23:59:59:23");
    EXPECT_EQ(TextOf(Counting(30, 1, 30), 1800), "00:01:00:00");
    EXPECT_EQ(TextOf(Counting(60, 1, 60), 59), "00:00:00:59");
    EXPECT_EQ(TextOf(Counting(30000, 1001, 30, 1), 1799), "00;00;59;29");
    EXPECT_EQ(TextOf(Counting(30000, 1001, 30, 1), 1800), "00;01;00;02");
    EXPECT_EQ(TextOf(Counting(30000, 1001, 30, 1), 17982), "00;10;00;00");
    EXPECT_EQ(TextOf(Counting(30000, 1001, 30), 1800), "00:01:00:00");
}

TEST_F(TimeInfo, FramesBeyondTheDayWrap) {
    EXPECT_EQ(TextOf(Counting(25, 1, 25), 25 * 86400 + 5), "00:00:00:05");
}

TEST_F(TimeInfo, SeparatorIsTheFlagAlone) {
    // Other flags: wraps at 24 hours, may be negative.
    EXPECT_EQ(TextOf(Counting(25, 1, 25, 6), 90000), "01:00:00:00");
    EXPECT_EQ(TextOf(Counting(25, 1, 25, 7), 90000), "01;00;00;00");
}

TEST_F(TimeInfo, OnlyTheFirstTrackCounts) {
    const StartTime first = {Counting(25, 1, 25), 90000};
    const StartTime second = {Counting(30000, 1001, 30, 1), 0};
    RecordBlock<imTimeInfoRec8> info;
    ASSERT_EQ(OpenOn({first, second}).GetTimeInfo(info.Get()), 0);
    EXPECT_STREQ(Field(info->originalTime), "01:00:00:00");
    EXPECT_EQ(Field(info->originalScale), 25);
    EXPECT_EQ(Field(info->originalSampleSize), 1);

    const StartTime unknown = {Counting(17, 1, 17), 0};
    ExpectNoTimecode(OpenOn({unknown, first}));
}

TEST_F(TimeInfo, UnknownRate) {
    ExpectNoTimecode(OpenOn(Counting(17, 1, 17), 5));
    ExpectNoTimecode(OpenOn(Counting(24, 0, 24), 5));
}

TEST_F(TimeInfo, ClosedFile) {
    Clip& clip = OpenOn(Counting(25, 1, 25), 90000);
    ASSERT_EQ(clip.Quiet(), 0);
    ExpectNoTimecode(clip);
    ASSERT_EQ(clip.Reopen(), 0);
    RecordBlock<imTimeInfoRec8> info;
    EXPECT_EQ(clip.GetTimeInfo(info.Get()), 0);
}

TEST_F(TimeInfo, SampleBeyondTheFile) {
    const std::string path = WriteStarts({{Counting(25, 1, 25), 90000}});
    Clip clip(importer, path);
    ASSERT_EQ(clip.Open(), 0);
    for (const uint64_t end : {kFrameNumberOffset + 3, kFrameNumberOffset, kMediaOffset}) {
        std::filesystem::resize_file(path, end);
        ExpectNoTimecode(clip);
    }
}

TEST_F(TimeInfo, WellFormedTextIsRefusedByTheMovie) {
    const Clip& clip = OpenOn(Counting(25, 1, 25), 0);
    struct Case {
        const char* text;
        Passed passed;
    };
    const Case cases[] = {
        {"01:00:00:29", {1, 1, 0, 0, 29, false, 24000, 1001}},
        {"99:59:59:29", {1, 99, 59, 59, 29, false, 24000, 1001}},
        {"00:00:00:00", {1, 0, 0, 0, 0, false, 24000, 1001}},
        {"12:34:56;07", {1, 12, 34, 56, 7, true, 24000, 1001}},
        {"01;00;00:00", {1, 1, 0, 0, 0, false, 24000, 1001}},
        {"01:00:00;00", {1, 1, 0, 0, 0, true, 24000, 1001}},
        {"01;00;00;00", {1, 1, 0, 0, 0, true, 24000, 1001}},
    };
    for (const Case& each : cases) {
        sPassed = {};
        LogCapture log;
        EXPECT_EQ(clip.SetTimeInfo(each.text, 24000, 1001), 5) << each.text;
        EXPECT_EQ(log.Text(), "SetTimeInfo8: SetTimecode returned 45\n");
        EXPECT_EQ(sPassed.calls, 1);
        EXPECT_EQ(sPassed.hours, each.passed.hours);
        EXPECT_EQ(sPassed.minutes, each.passed.minutes);
        EXPECT_EQ(sPassed.seconds, each.passed.seconds);
        EXPECT_EQ(sPassed.frames, each.passed.frames);
        EXPECT_EQ(sPassed.dropFrame, each.passed.dropFrame) << each.text;
        EXPECT_EQ(sPassed.timeScale, 24000);
        EXPECT_EQ(sPassed.frameDuration, 1001);
    }
}

TEST_F(TimeInfo, RateIsPassedAsSignedNumbers) {
    LogCapture log;
    EXPECT_EQ(OpenOn(Counting(25, 1, 25), 0).SetTimeInfo("01:00:00:00", -2, INT32_MIN), 5);
    EXPECT_EQ(sPassed.timeScale, -2);
    EXPECT_EQ(sPassed.frameDuration, INT32_MIN);
}

TEST_F(TimeInfo, InvalidText) {
    const Clip& clip = OpenOn(Counting(25, 1, 25), 0);
    const char* const texts[] = {
        "",
        "1:00:00:00",
        "01:00:00:0",
        "01:00:00:000",
        "001:00:00:00",
        "01:00:00:30",
        "01:00:60:00",
        "01:60:00:00",
        "01:00:00:99",
        "01.00:00:00",
        "01:00.00:00",
        "01:00:00.00",
        "01 00:00:00",
        "0a:00:00:00",
        "a0:00:00:00",
        "01:0 :00:00",
        "01: 0:00:00",
        "01:00:-1:00",
        "01:00:0+:00",
        "01:00:00:0x",
        "01:00:00:/0",
        "01:00:00::0",
        "01:00:00:0\xB2",
        "0\xB1:00:00:00",
        "01:00:00:00 ",
        " 1:00:00:00",
    };
    for (const char* text : texts) {
        LogCapture log;
        EXPECT_EQ(clip.SetTimeInfo(text, 25, 1), 5) << text;
        EXPECT_EQ(log.Text(),
                  std::string("SetTimeInfo8: Got invalid timecode string '") + text + "'\n");
    }
    EXPECT_EQ(sPassed.calls, 0);
}

TEST_F(TimeInfo, TextWithoutAnEnd) {
    const Clip& clip = OpenOn(Counting(25, 1, 25), 0);
    RecordBlock<imTimeInfoRec8> record('1');
    record->privatedata = clip.PrivateData();
    LogCapture log;
    EXPECT_EQ(importer.Call(imSetTimeInfo8, nullptr, record.Get()), 5);
    EXPECT_EQ(log.Text(), "SetTimeInfo8: Got invalid timecode string '111111111111111111'\n");
}

TEST_F(TimeInfo, SettingChangesNothing) {
    const Clip& clip = OpenOn(Counting(25, 1, 25), 90000);
    RecordBlock<imTimeInfoRec8> record(kFill);
    record->privatedata = clip.PrivateData();
    std::memcpy(record->originalTime, "02:00:00:00", 12);
    const RecordBlock<imTimeInfoRec8> expected = record;
    LogCapture log;
    EXPECT_EQ(importer.Call(imSetTimeInfo8, nullptr, record.Get()), 5);
    EXPECT_EQ(record.Bytes(), expected.Bytes());
    RecordBlock<imTimeInfoRec8> info;
    EXPECT_EQ(clip.GetTimeInfo(info.Get()), 0);
    EXPECT_STREQ(Field(info->originalTime), "01:00:00:00");
}

}  // namespace
