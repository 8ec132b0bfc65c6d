// What a host can ask of the asynchronous importer of one clip.
#include "pipeline/async_import_module.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/frame_source.h"
#include "pipeline/frame_test.h"

namespace {

using KVX::AsyncImportModule;
using kvx_hostkit::Host;
using kvx_hostkit::PixelBuffers;
using kvx_test::kPageUYVY;
using kvx_test::kPageV210;
using kvx_test::kPatience;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Picture;

// A format by its characters in memory.
PrPixelFormat InMemory(const char* text) {
    PrPixelFormat format = 0;
    for (int index = 3; index >= 0; --index) {
        format = format << 8 | static_cast<uint8_t>(text[index]);
    }
    return format;
}

// A source by its characters from the highest byte down.
long long Source(const char* text) {
    return __builtin_bswap32(InMemory(text));
}

class AsyncModule : public kvx_test::FrameTest {
  protected:
    // A record as the host fills it; the formats outlive it.
    imSourceVideoRec Record(int64_t time, const std::vector<PrPixelFormat>& formats,
                            PPixHand* ppix = nullptr) {
        mFormats.clear();
        for (const PrPixelFormat format : formats) {
            mFormats.push_back({1234, 5678, format});
        }
        imSourceVideoRec record = {};
        record.frameTime = time;
        record.frameFormats = mFormats.data();
        record.frameFormatCount = static_cast<int32_t>(mFormats.size());
        record.ppix = ppix;
        return record;
    }

    long Initiate(int64_t time, const std::vector<PrPixelFormat>& formats) {
        imSourceVideoRec record = Record(time, formats);
        return module->InitiateAsyncRead(&record);
    }

    long Get(int64_t time, const std::vector<PrPixelFormat>& formats, PPixHand* ppix) {
        imSourceVideoRec record = Record(time, formats, ppix);
        return module->GetFrame(&record);
    }

    PrPixelFormat Choice(const std::vector<PrPixelFormat>& formats, long expected = 0) {
        imSourceVideoRec record = Record(0, formats);
        PrPixelFormat chosen = 77;
        EXPECT_EQ(module->ChooseDestinationFormat(&record, chosen), expected);
        return chosen;
    }

    bool Arrived(int frame, int additions = 1) {
        return cache.WaitForFrame(clip->ImporterID(), frame, kPatience, additions);
    }

    std::vector<imFrameFormat> mFormats;
};

TEST_F(AsyncModule, AcquiresItsSuitesOnceEachAndReleasesNone) {
    const std::vector<kvx_test::Suite>& suites = kvx_test::SuitesOfFrames();
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    std::vector<int> acquired;
    std::vector<int> released;
    for (const kvx_test::Suite& suite : suites) {
        acquired.push_back(host.AcquisitionCount(suite.name, suite.version));
        released.push_back(host.ReleaseCount(suite.name, suite.version));
    }
    AsyncImportModule* made =
        AsyncImportModule::Create(clip->ImporterID(), Host::BasicSuite(), track);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->Close(), 0);
    for (size_t index = 0; index < suites.size(); ++index) {
        const kvx_test::Suite& suite = suites[index];
        EXPECT_EQ(host.AcquisitionCount(suite.name, suite.version), acquired[index] + 1);
        EXPECT_EQ(host.ReleaseCount(suite.name, suite.version), released[index]);
    }
}

TEST_F(AsyncModule, IsNotMadeWithoutAllSuites) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    for (const char* name :
         {"Premiere PPix Cache Suite", "Premiere PPix Creator Suite",
          "Premiere PPix Creator 2 Suite", "Premiere PPix Suite", "Premiere Legacy Suite"}) {
        host.FailAcquisition(name, 13);
        LogCapture log;
        EXPECT_EQ(AsyncImportModule::Create(1, Host::BasicSuite(), track), nullptr);
        EXPECT_EQ(log.Text(),
                  "Init: AcquireSuite returned 13\n"
                  "Create: AsyncModule::Init() returned 13\n")
            << name;
        host.FailAcquisition(name, 0);
    }
}

TEST_F(AsyncModule, IsNotMadeWithASuiteThatIsNotHandedOut) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    host.AddSuite("Premiere PPix Suite", 1, nullptr);
    LogCapture log;
    EXPECT_EQ(AsyncImportModule::Create(1, Host::BasicSuite(), track), nullptr);
    EXPECT_EQ(log.Text(),
              "Init: AcquireSuite returned 22\n"
              "Create: AsyncModule::Init() returned 22\n");
}

TEST_F(AsyncModule, IsNotMadeWithoutTheTicksOfAFrame) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    host.settings.ticksStatus = -3;
    LogCapture log;
    EXPECT_EQ(AsyncImportModule::Create(1, Host::BasicSuite(), track), nullptr);
    EXPECT_EQ(log.Text(),
              "Init: GetTicksPerTimebaseFrame returned -3\n"
              "Create: AsyncModule::Init() returned -3\n");
}

// Frames of 1000 units at 24000 a second; 254016000000 ticks a second.
TEST_F(AsyncModule, AsksForTheTicksOfTheTracksFrames) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    EXPECT_EQ(module->mTicksPerFrame, 254016000000 / 24);
}

TEST_F(AsyncModule, TimesWithinAFrameAreThatFrame) {
    OpenMovie(MovieOfPicture(kPageUYVY, 5));
    const int64_t ticks = module->mTicksPerFrame;
    struct Case {
        int64_t time;
        int frame;
    };
    int additions = 0;
    for (const Case& each : {Case{0, 0}, Case{ticks - 1, 0}, Case{ticks, 1},
                             Case{ticks * 29 / 10, 2}, Case{3 * ticks - 1, 2}, Case{3 * ticks, 3},
                             // No check against the length, and no rounding down below 0.
                             Case{1000 * ticks, 1000}, Case{1 - ticks, 0}, Case{-ticks, -1},
                             Case{-2 * ticks + 1, -1}}) {
        cache.Forget();
        additions = 0;
        EXPECT_EQ(Initiate(each.time, {kKVXCustomPixelFormat}), 0);
        EXPECT_TRUE(Arrived(each.frame)) << each.time;
        PPixHand ppix = nullptr;
        EXPECT_EQ(Get(each.time, {kKVXCustomPixelFormat}, &ppix), 0) << each.time;
        PixelBuffers::Dispose(ppix);
        EXPECT_EQ(cache.Additions(), ++additions);
    }
}

TEST_F(AsyncModule, WithoutTicksNothingIsDivided) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    module->mTicksPerFrame = 0;
    PPixHand ppix = nullptr;
    const LogCapture log;
    EXPECT_EQ(Initiate(5, {kKVXCustomPixelFormat}), 22);
    EXPECT_EQ(Get(5, {kKVXCustomPixelFormat}, &ppix), 22);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(AsyncModule, AFrameThatIsCachedIsNotReadAgain) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), 0);
    ASSERT_TRUE(Arrived(0));
    ASSERT_TRUE(kvx_test::Eventually([this] { return buffers.faults.Calls("Dispose") == 1; }));
    LogCapture log;
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), 0);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(buffers.CreatedCount(), 1);
    EXPECT_EQ(buffers.faults.Calls("Dispose"), 2);
    EXPECT_EQ(cache.Additions(), 1);
    // In another format it is another frame.
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_709}), 0);
    EXPECT_TRUE(Arrived(0, 2));
}

TEST_F(AsyncModule, AnyAnswerOfTheCacheButSuccessMeansThatAReadIsNeeded) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    cache.faults.FailAt("GetFrameFromCache", 1, 17);
    LogCapture log;
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), 0);
    EXPECT_TRUE(Arrived(0));
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(AsyncModule, AskingTwiceBeforeTheFrameIsThereReadsTwice) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    cache.faults.FailAt("GetFrameFromCache", 1, kPPixCacheMiss, true);
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), 0);
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), 0);
    EXPECT_TRUE(Arrived(0, 2));
    EXPECT_EQ(buffers.CreatedCount(), 2);
}

struct Row {
    const char* host;
    std::vector<const char*> sources;
};

// Every format by its characters, with the sources that it is accepted for.
TEST_F(AsyncModule, AcceptsFormatsBySource) {
    const std::vector<const char*> compressed = {"dv1n", "dv1p", "dv5n", "dv5p", "dvc ", "dvcp",
                                                 "dvh5", "dvh6", "dvhp", "dvhq", "dvpp", "dvsd",
                                                 "pvsd", "apch", "apcn", "apco", "apcs", "jpeg"};
    const std::vector<const char*> others = {"ap4h", "avc1", "mjpa", "V210", "2vuY", "\0\0\0\0"};
    std::vector<const char*> yuv = compressed;
    yuv.insert(yuv.end(), {"2vuy", "2Vuy"});
    std::vector<const char*> all = yuv;
    all.insert(all.end(), {"v210", "r210"});
    all.insert(all.end(), others.begin(), others.end());

    const std::vector<Row> rows = {
        {"v210", {"v210"}}, {"v211", {"v210"}}, {"RGB1", {"r210"}}, {"uyv7", yuv}, {"uyvy", yuv},
        {"_KCP", all},      {"BGra", all},      {"Bgra", all},      {"bgra", all}, {"BGrx", all},
        {"bgrx", {}},       {"Bgrx", {}},       {"argb", {}},       {"ARGB", {}},  {"yuvy", {}},
        {"vuya", {}},       {"_KCQ", {}},
    };
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    const LogCapture log;
    for (const Row& row : rows) {
        const PrPixelFormat format = InMemory(row.host);
        for (const char* source : all) {
            track->mFormat = Source(source);
            const bool accepted =
                std::find(row.sources.begin(), row.sources.end(), source) != row.sources.end();
            EXPECT_EQ(Choice({format}, accepted ? 0 : 22),
                      accepted ? format : PrPixelFormat_Invalid)
                << row.host << " " << source;
        }
    }
}

TEST_F(AsyncModule, TheHostsOrderIsTheOnlyPreference) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    EXPECT_EQ(Choice({PrPixelFormat_BGRA_4444_8u, PrPixelFormat_UYVY_422_8u_601}),
              PrPixelFormat_BGRA_4444_8u);
    EXPECT_EQ(Choice({PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_BGRA_4444_8u}),
              PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(Choice({PrPixelFormat_V210_422_10u_601, PrPixelFormat_RGB_444_10u,
                      kKVXCustomPixelFormat, PrPixelFormat_UYVY_422_8u_601}),
              kKVXCustomPixelFormat);
}

TEST_F(AsyncModule, TellsThatNoFormatServes) {
    OpenMovie(MovieOfPicture({"r210", 20, 5, 1280}, 1));
    for (const std::vector<PrPixelFormat>& formats :
         {std::vector<PrPixelFormat>{PrPixelFormat_V210_422_10u_601},
          std::vector<PrPixelFormat>{}}) {
        {
            LogCapture log;
            EXPECT_EQ(Choice(formats, 22), PrPixelFormat_Invalid);
            EXPECT_EQ(log.Text(),
                      "ChooseDestinationFormat: Failed to pick a destination pixel format for "
                      "source format kvxFormat10BitRGB\n");
        }
        LogCapture log;
        EXPECT_EQ(Initiate(0, formats), 22);
        EXPECT_EQ(log.Text(),
                  "ChooseDestinationFormat: Failed to pick a destination pixel format for source "
                  "format kvxFormat10BitRGB\n"
                  "InitiateAsyncRead: ChooseDestinationFormat returned 22\n");
    }
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(AsyncModule, ChoosingNeedsARecord) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    PrPixelFormat chosen = 77;
    LogCapture log;
    EXPECT_EQ(module->ChooseDestinationFormat(nullptr, chosen), 22);
    EXPECT_EQ(log.Text(), "ChooseDestinationFormat: Invalid source video parameter\n");
}

TEST_F(AsyncModule, PassesOnWhatAFrameRefuses) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    buffers.faults.FailAt("CreatePPix", 1, -9);
    LogCapture log;
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), -9);
    EXPECT_EQ(log.Text(),
              "Issue: CreatePPix returned -9 for format PrPixelFormat_UYVY_422_8u_601 at 64x32\n"
              "InitiateAsyncRead: ImportFrame::Issue returned -9\n");
    EXPECT_EQ(cache.Additions(), 0);
}

TEST_F(AsyncModule, AFrameThatIsNotThereYetIsNotFoundWithoutALine) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    PPixHand ppix = nullptr;
    LogCapture log;
    EXPECT_EQ(Get(0, {PrPixelFormat_UYVY_422_8u_601}, &ppix), 3);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(ppix, nullptr);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(AsyncModule, OtherAnswersOfTheCacheArePassedOnWithALine) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    PPixHand ppix = nullptr;
    LogCapture log;
    cache.faults.FailAt("GetFrameFromCache", 1, 26);
    EXPECT_EQ(Get(2 * module->mTicksPerFrame, {PrPixelFormat_UYVY_422_8u_601}, &ppix), 26);
    cache.faults.FailAt("GetFrameFromCache", 1, -26);
    EXPECT_EQ(Get(0, {PrPixelFormat_UYVY_422_8u_601}, &ppix), -26);
    EXPECT_EQ(log.Text(),
              "GetFrame: GetFrameFromCache returned 26 (0x0000001a) for frameIndex 2\n"
              "GetFrame: GetFrameFromCache returned -26 (0xffffffffffffffe6) for frameIndex 0\n");
}

TEST_F(AsyncModule, CancelAndFlushLeaveTheFrameOnItsWay) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    EXPECT_EQ(Initiate(0, {PrPixelFormat_UYVY_422_8u_601}), 0);
    imSourceVideoRec record = Record(0, {PrPixelFormat_UYVY_422_8u_601});
    EXPECT_EQ(module->CancelAsyncRead(&record), 0);
    EXPECT_EQ(module->CancelAsyncRead(nullptr), 0);
    EXPECT_EQ(module->Flush(), 0);
    ASSERT_TRUE(Arrived(0));
    PPixHand ppix = nullptr;
    EXPECT_EQ(Get(0, {PrPixelFormat_UYVY_422_8u_601}, &ppix), 0);
    EXPECT_EQ(kvx_test::Bytes(PixelBuffers::View(ppix).pixels, 4096), Media(0, 4096));
    PixelBuffers::Dispose(ppix);
}

// A look-up, as the host's cache sees it.
std::vector<long> sLookUp;
int32_t RecordLookUp(uint32_t importerID, int32_t stream, int32_t frameIndex, int32_t formatCount,
                     imFrameFormat* formats, PPixHand* ppix, void* preferences,
                     int32_t preferencesSize) {
    sLookUp = {static_cast<long>(importerID),
               stream,
               frameIndex,
               formatCount,
               reinterpret_cast<long>(formats),
               reinterpret_cast<long>(ppix),
               reinterpret_cast<long>(preferences),
               preferencesSize};
    return 5;
}

TEST_F(AsyncModule, AsksTheCacheAsItWantsToBeAsked) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    PrSDKPPixCacheSuite suite = {nullptr, &RecordLookUp};
    PrSDKPPixCacheSuite* const real = module->mCacheSuite;
    module->mCacheSuite = &suite;
    module->mImporterID = 0x200000009;
    PPixHand ppix = nullptr;
    imSourceVideoRec record = Record(2 * module->mTicksPerFrame,
                                     {PrPixelFormat_RGB_444_10u, kKVXCustomPixelFormat}, &ppix);
    const LogCapture log;
    EXPECT_EQ(module->GetFrame(&record), 5);
    EXPECT_EQ(sLookUp, (std::vector<long>{9, 0, 2, 2, reinterpret_cast<long>(mFormats.data()),
                                          reinterpret_cast<long>(&ppix), 0, 0}));

    record = Record(module->mTicksPerFrame, {PrPixelFormat_RGB_444_10u}, &ppix);
    EXPECT_EQ(module->InitiateAsyncRead(&record), 22);
    EXPECT_NE(sLookUp[5], reinterpret_cast<long>(&ppix)) << "a request leaves the place alone";
    sLookUp[5] = 0;
    EXPECT_EQ(sLookUp,
              (std::vector<long>{9, 0, 1, 1, reinterpret_cast<long>(mFormats.data()), 0, 0, 0}));
    module->mCacheSuite = real;
}

// Each call of the host's that fails, by itself and from then on: a refusal or a frame in the
// cache, and never a buffer too many.
TEST_F(AsyncModule, AnySingleCallOfTheHostMayFail) {
    struct Road {
        Picture picture;
        PrPixelFormat format;
        size_t misalignment;
    };
    const LogCapture log;
    for (const Road& road : {Road{kPageUYVY, PrPixelFormat_UYVY_422_8u_601, 0},
                             Road{kPageUYVY, PrPixelFormat_UYVY_422_8u_601, 16},
                             Road{kPageV210, kKVXCustomPixelFormat, 0},
                             Road{kPageV210, PrPixelFormat_BGRA_4444_8u, 0}}) {
        buffers.settings.misalignment = road.misalignment;
        OpenMovie(MovieOfPicture(road.picture, 4));
        for (const char* call : {"CreatePPix", "CreateCustomPPix", "GetPixels", "GetRowBytes",
                                 "Dispose", "AddFrameToCache", "GetFrameFromCache"}) {
            for (const bool fromThenOn : {false, true}) {
                for (int nth = 1; nth <= 4; ++nth) {
                    for (kvx_hostkit::SuiteFaults* faults : {&buffers.faults, &cache.faults}) {
                        faults->FailAt(call, nth, -4, fromThenOn);
                    }
                    for (int frame = 0; frame < 4; ++frame) {
                        const long status = Initiate(frame * module->mTicksPerFrame, {road.format});
                        EXPECT_TRUE(status == 0 || status == -4) << status;
                    }
                    buffers.faults.Clear();
                    // Calls on other threads may still be under way, and none must be missed.
                    EXPECT_TRUE(kvx_test::Eventually([this] {
                        return buffers.LiveCount() == static_cast<int>(cache.Size());
                    })) << call;
                    cache.faults.Clear();
                    cache.Forget();
                    EXPECT_TRUE(kvx_test::Eventually([this] { return buffers.LiveCount() == 0; }));
                }
            }
        }
    }
}

// As a host's clip ends: the module goes, the frames find their way without it.
TEST_F(AsyncModule, ClosingLeavesFramesOnTheirWay) {
    OpenMovie(MovieOfPicture(kPageUYVY, 40));
    kvx_hostkit::FrameSource source(*clip);
    ASSERT_EQ(source.Open(), 0);
    for (int frame = 0; frame < 40; ++frame) {
        ASSERT_EQ(source.Request(frame * module->mTicksPerFrame, {PrPixelFormat_UYVY_422_8u_601}),
                  0);
    }
    EXPECT_EQ(source.Close(), 0);
    EXPECT_TRUE(cache.WaitForAdditions(40, kPatience));
}

}  // namespace
