// The way from the file's module to the asynchronous entry point.
#include <chrono>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "pipeline/async_import_module.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/fault_injection.h"

namespace {

using KVX::AsyncImportModule;
using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::kFill;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Video;

class AsyncImporter : public kvx_test::HostTest {
  protected:
    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
};

TEST_F(AsyncImporter, RecordTakesEntryAndModule) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imAsyncImporterCreationRec> record(kFill);
    RecordBlock<imAsyncImporterCreationRec> expected(kFill);
    LogCapture log;
    ASSERT_EQ(clip.CreateAsyncImporter(record.Get()), 0);
    EXPECT_EQ(log.Raw(), "");
    expected->privatedata = clip.PrivateData();
    expected->asyncEntry = &AsyncImportEntry;
    expected->asyncPrivateData = record->asyncPrivateData;
    EXPECT_EQ(record.Bytes(), expected.Bytes());

    auto* module = static_cast<AsyncImportModule*>(record->asyncPrivateData);
    EXPECT_EQ(module->mImporterID, clip.ImporterID());
    EXPECT_EQ(module->mBasicSuite, kvx_hostkit::Host::BasicSuite());
    EXPECT_EQ(module->mVideoTrack, ModuleOf(clip)->mMovie->mVideoTracks[0]);
    EXPECT_EQ(module->mTicksPerFrame, 10584000000);
    EXPECT_EQ(record->asyncEntry(aiClose, module), 0);
}

TEST_F(AsyncImporter, NoVideoTracks) {
    KVX::FileImportModule module(1, host.StdParms());
    RecordBlock<imAsyncImporterCreationRec> record(kFill);
    LogCapture log;
    EXPECT_EQ(module.CreateAsyncImporter(record.Get()), 5);
    EXPECT_EQ(log.Text(), "CreateAsyncImporter: CreateAsyncImporter called with no video tracks\n");
    EXPECT_EQ(record.Bytes(), RecordBlock<imAsyncImporterCreationRec>(kFill).Bytes());
}

TEST_F(AsyncImporter, NullVideoTrack) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    KVX::QT::VideoTrack*& track = ModuleOf(clip)->mMovie->mVideoTracks[0];
    KVX::QT::VideoTrack* const real = track;
    track = nullptr;
    RecordBlock<imAsyncImporterCreationRec> record(kFill);
    {
        LogCapture log;
        EXPECT_EQ(clip.CreateAsyncImporter(record.Get()), 5);
        EXPECT_EQ(log.Text(), "CreateAsyncImporter: Failed to get first video track\n");
    }
    track = real;
    RecordBlock<imAsyncImporterCreationRec> expected(kFill);
    expected->privatedata = clip.PrivateData();
    EXPECT_EQ(record.Bytes(), expected.Bytes());
}

TEST_F(AsyncImporter, FirstOfSeveralVideoTracks) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    auto& tracks = ModuleOf(clip)->mMovie->mVideoTracks;
    KVX::QT::VideoTrack* const first = tracks[0];
    tracks.push_back(nullptr);
    RecordBlock<imAsyncImporterCreationRec> record(kFill);
    const long result = clip.CreateAsyncImporter(record.Get());
    tracks.pop_back();
    ASSERT_EQ(result, 0);
    auto* module = static_cast<AsyncImportModule*>(record->asyncPrivateData);
    EXPECT_EQ(module->mVideoTrack, first);
    EXPECT_EQ(module->Close(), 0);
}

TEST_F(AsyncImporter, FailedSuiteLeavesTheEntryAlone) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    host.FailAcquisition("Premiere PPix Suite", 9);
    RecordBlock<imAsyncImporterCreationRec> record(kFill);
    RecordBlock<imAsyncImporterCreationRec> expected(kFill);
    expected->privatedata = clip.PrivateData();
    // The address is there before the object is made.
    expected->asyncEntry = kvx_test::EntriesUnderTest().async;
    LogCapture log;
    EXPECT_EQ(clip.CreateAsyncImporter(record.Get()), 5);
    EXPECT_EQ(log.Text(),
              "Init: AcquireSuite returned 9\n"
              "Create: AsyncModule::Init() returned 9\n"
              "CreateAsyncImporter: Failed to create an AsyncImportModule\n");
    EXPECT_EQ(record.Bytes(), expected.Bytes());
}

TEST_F(AsyncImporter, LackOfMemory) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imAsyncImporterCreationRec> record;
    LogCapture log;
    long result = 0;
    {
        const kvx_test::Fault failing(kvx_test::SystemCall::kNewNothrow, ENOMEM, 1,
                                      kvx_test::Fault::kForever);
        result = clip.CreateAsyncImporter(record.Get());
    }
    EXPECT_EQ(result, 5);
    EXPECT_EQ(log.Text(),
              "Create: failed to create a new AsyncImportModule\n"
              "CreateAsyncImporter: Failed to create an AsyncImportModule\n");
}

TEST_F(AsyncImporter, ModuleWithoutSuites) {
    // Opened by a host that gave none, found again by a second stream.
    host.settings.hasSuites = false;
    Clip clip(importer, Write(MovieOf({Video()})));
    LogCapture log;
    ASSERT_EQ(clip.Open(), 22);
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imAsyncImporterCreationRec> record;
    EXPECT_EQ(clip.CreateAsyncImporter(record.Get()), 5);
}

// A request has its module at its head and the source record after; a look-up is the source record
// itself, with the module at its head. What the other form would take for the module leads nowhere.
TEST_F(AsyncImporter, RequestAndLookUpDifferInTheirRecords) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imAsyncImporterCreationRec> creation;
    ASSERT_EQ(clip.CreateAsyncImporter(creation.Get()), 0);
    void* const module = creation->asyncPrivateData;
    void* const nowhere = KVX::PointerFromWord<void>(1);
    imFrameFormat formats[] = {{0, 0, kKVXCustomPixelFormat}};
    PPixHand ppix = nullptr;

    RecordBlock<aiAsyncRequest> request(kFill);
    request->privatedata = module;
    request->sourceRec.privatedata = nowhere;
    request->sourceRec.frameTime = 3 * 10584000000 + 5;
    request->sourceRec.frameFormats = formats;
    request->sourceRec.frameFormatCount = 1;
    request->sourceRec.ppix = nullptr;

    RecordBlock<imSourceVideoRec> source(kFill);
    source->privatedata = module;
    source->frameTime = 3 * 10584000000;
    source->frameFormats = formats;
    source->frameFormatCount = 1;
    source->ppix = &ppix;

    EXPECT_EQ(importer.CallAsync(aiGetFrame, source.Get()), aiFrameNotFound);
    EXPECT_EQ(importer.CallAsync(aiInitiateAsyncRead, request.Get()), 0);
    EXPECT_EQ(importer.CallAsync(aiCancelAsyncRead, request.Get()), 0);
    EXPECT_EQ(importer.CallAsync(aiFlush, request.Get()), 0);
    ASSERT_TRUE(cache.WaitForFrame(clip.ImporterID(), 3, std::chrono::seconds(30)));
    EXPECT_EQ(importer.CallAsync(aiGetFrame, source.Get()), 0);
    ASSERT_NE(ppix, nullptr);
    kvx_hostkit::PixelBuffers::Dispose(ppix);
    EXPECT_EQ(importer.CallAsync(aiClose, module), 0);
}

}  // namespace
