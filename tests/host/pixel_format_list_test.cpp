#include <memory>

#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

namespace {

using KVX::FileImportModule;
using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::Field;
using kvx_test::kFill;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Video;

constexpr PrPixelFormat kInvalid = 0x66646162;
constexpr PrPixelFormat kCustom = 0x50434B5F;
constexpr PrPixelFormat kUYVY601 = 0x79767975;
constexpr PrPixelFormat kUYVY709 = 0x37767975;
constexpr PrPixelFormat kV210601 = 0x30313276;
constexpr PrPixelFormat kV210709 = 0x31313276;
constexpr PrPixelFormat kRGB10 = 0x31424752;
constexpr PrPixelFormat kBGRX32f = 0x78724742;
constexpr PrPixelFormat kBGRA8u = 0x61726762;

class PixelFormatList : public kvx_test::HostTest {
  protected:
    std::vector<PrPixelFormat> FormatsOf(const char* format, int width) {
        Clip clip(importer, Write(MovieOf({Video(format, width, 8)})));
        EXPECT_EQ(clip.Open(), 0);
        return clip.PixelFormats();
    }

    // A module on a movie that may be of a format that is not imported.
    FileImportModule& ModuleOn(const char* format, int width) {
        mModule = std::make_unique<FileImportModule>(1, host.StdParms());
        mModule->mMovie = KVX::QT::Movie::Create(Write(MovieOf({Video(format, width, 8)})));
        EXPECT_NE(mModule->mMovie, nullptr);
        return *mModule;
    }

  private:
    std::unique_ptr<FileImportModule> mModule;
};

using Formats = std::vector<PrPixelFormat>;

TEST_F(PixelFormatList, UYVY) {
    for (const char* format : {"2vuy", "2Vuy"}) {
        EXPECT_EQ(FormatsOf(format, 720), (Formats{kCustom, kUYVY601}));
        EXPECT_EQ(FormatsOf(format, 721), (Formats{kCustom, kUYVY709}));
        EXPECT_EQ(FormatsOf(format, 1), (Formats{kCustom, kUYVY601}));
        EXPECT_EQ(FormatsOf(format, 1920), (Formats{kCustom, kUYVY709}));
    }
}

TEST_F(PixelFormatList, V210) {
    EXPECT_EQ(FormatsOf("v210", 720), (Formats{kCustom, kV210601}));
    EXPECT_EQ(FormatsOf("v210", 721), (Formats{kCustom, kV210709}));
}

TEST_F(PixelFormatList, R210GoesByTheHostsVersion) {
    struct Case {
        uint32_t major;
        PrPixelFormat format;
    };
    for (const Case& each : {Case{7, kRGB10}, Case{6, kBGRX32f}, Case{5, kBGRA8u}, Case{8, kBGRA8u},
                             Case{0, kBGRA8u}, Case{0xFFFFFFFF, kBGRA8u}}) {
        ForgetHost();
        host.settings.version = {each.major, 6, 7, 6};
        EXPECT_EQ(FormatsOf("r210", 1920), (Formats{kCustom, each.format})) << each.major;
        EXPECT_EQ(FormatsOf("r210", 320), (Formats{kCustom, each.format})) << each.major;
    }
}

TEST_F(PixelFormatList, EndOfTheList) {
    Clip clip(importer, Write(MovieOf({Video("v210")})));
    ASSERT_EQ(clip.Open(), 0);
    for (const int index : {2, 3, -1, INT32_MAX, INT32_MIN}) {
        RecordBlock<imIndPixelFormatRec> record(kFill);
        record->privatedata = clip.PrivateData();
        RecordBlock<imIndPixelFormatRec> expected = record;
        expected->pixelFormat = kInvalid;
        EXPECT_EQ(importer.Call(imGetIndPixelFormat, index, reinterpret_cast<long>(record.Get())),
                  301);
        EXPECT_EQ(record.Bytes(), expected.Bytes());
    }
}

TEST_F(PixelFormatList, OnlyTheFormatIsStored) {
    Clip clip(importer, Write(MovieOf({Video("v210")})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imIndPixelFormatRec> record(kFill);
    record->privatedata = clip.PrivateData();
    RecordBlock<imIndPixelFormatRec> expected = record;
    expected->pixelFormat = kV210601;
    EXPECT_EQ(importer.Call(imGetIndPixelFormat, 1L, reinterpret_cast<long>(record.Get())), 0);
    EXPECT_EQ(record.Bytes(), expected.Bytes());
}

TEST_F(PixelFormatList, WidthIsSigned) {
    FileImportModule& module = ModuleOn("2vuy", 16);
    module.mMovie->mVideoTracks[0]->mWidth = -32768;
    RecordBlock<imIndPixelFormatRec> record;
    EXPECT_EQ(module.GetIndPixelFormat(1, record.Get()), 0);
    EXPECT_EQ(Field(record->pixelFormat), kUYVY601);
}

TEST_F(PixelFormatList, CompressedFormats) {
    for (const char* format : {"dvsd", "dvc ", "dvh5", "apcn", "apch", "jpeg"}) {
        for (const int width : {720, 721}) {
            FileImportModule& module = ModuleOn(format, width);
            RecordBlock<imIndPixelFormatRec> record(kFill);
            EXPECT_EQ(module.GetIndPixelFormat(0, record.Get()), 0) << format;
            EXPECT_EQ(Field(record->pixelFormat), width > 720 ? kUYVY709 : kUYVY601) << format;
            EXPECT_EQ(module.GetIndPixelFormat(1, record.Get()), 301) << format;
            EXPECT_EQ(Field(record->pixelFormat), kInvalid);
            EXPECT_EQ(module.GetIndPixelFormat(-1, record.Get()), 301) << format;
        }
    }
}

TEST_F(PixelFormatList, UnknownFormat) {
    FileImportModule& module = ModuleOn("ap4h", 1920);
    RecordBlock<imIndPixelFormatRec> record(kFill);
    {
        LogCapture log;
        EXPECT_EQ(module.GetIndPixelFormat(0, record.Get()), 0);
        EXPECT_EQ(Field(record->pixelFormat), kCustom);
        EXPECT_EQ(log.Raw(), "");
    }
    for (const int index : {1, 2, 77}) {
        LogCapture log;
        EXPECT_EQ(module.GetIndPixelFormat(index, record.Get()), 5);
        EXPECT_EQ(Field(record->pixelFormat), kInvalid);
        EXPECT_EQ(log.Text(), "GetIndPixelFormat: Unexpected data format 'ap4h'\n");
    }
}

}  // namespace
