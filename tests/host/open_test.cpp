// The life of a file: opening, quieting and closing its streams.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "core/indexed.h"
#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "hostkit/utf16.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/fault_injection.h"

namespace {

using KVX::FileImportModule;
using KVX::Core::Indexed;
using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::Fault;
using kvx_test::Field;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Sound;
using kvx_test::SoundDescriptionV0;
using kvx_test::SystemCall;
using kvx_test::Video;

constexpr char kLegacy[] = "Premiere Legacy Suite";

void* Ref(long number) {
    return KVX::PointerFromWord<void>(number);
}

bool IsOpen(const KVX::QT::Track* track) {
    return track->mFileDescriptor >= 0 && fcntl(track->mFileDescriptor, F_GETFD) != -1;
}

// The count as the object's own operations tell it.
long ReferenceCount(FileImportModule* module) {
    module->Retain();
    return module->Release();
}

class Open : public kvx_test::HostTest {
  protected:
    std::string WriteVideo() { return Write(MovieOf({Video()})); }
    std::string WriteVideoAndSound() { return Write(MovieOf({Video(), Sound()})); }
};

TEST_F(Open, FirstStreamMakesTheModule) {
    const std::string path = WriteVideoAndSound();
    LogCapture log;
    Clip clip(importer, path);
    ASSERT_EQ(clip.Open(), 0);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(clip.FileRef(), Ref(0));

    FileImportModule* module = ModuleOf(clip);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module, Indexed<long>::GetInstanceForIndex(clip.ImporterID()));
    EXPECT_EQ(module->mImporterID, clip.ImporterID());
    EXPECT_EQ(ReferenceCount(module), 1);
    EXPECT_EQ(module->mStdParms, host.StdParms());
    EXPECT_EQ(module->mBasicSuite, kvx_hostkit::Host::BasicSuite());
    EXPECT_EQ(module->mNextStreamHandle, 1);
    ASSERT_NE(module->mMovie, nullptr);
    EXPECT_EQ(module->mMovie->mMoviePath, path);
    EXPECT_EQ(module->mAudioSampleType, 8);
    EXPECT_EQ(module->mAudioPosition, 0);
    EXPECT_EQ(module->mStreamInfo.getStatus(Ref(0)), StreamStatusOpen);
    EXPECT_TRUE(IsOpen(module->mMovie->mVideoTracks[0]));
    EXPECT_TRUE(IsOpen(module->mMovie->mAudioTracks[0]));
    // 254016000000 ticks a second, 1000 of 24000 units in a frame.
    EXPECT_EQ(module->mTicksPerFrame, 10584000000);
    EXPECT_EQ(host.AcquisitionCount(kLegacy, 1), 1);
    EXPECT_EQ(host.ReleaseCount(kLegacy, 1), 0);
}

TEST_F(Open, MovieWithoutAudio) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    EXPECT_EQ(ModuleOf(clip)->mAudioSampleType, -1);
}

TEST_F(Open, NullFileReference) {
    const auto path = kvx_hostkit::ToHostPath(WriteVideo());
    RecordBlock<imFileOpenRec8> record(kvx_test::kFill);
    record->filepath = path.data();
    record->importerID = kvx_hostkit::Host::NextImporterID();
    RecordBlock<imFileOpenRec8> expected = record;
    expected->privatedata = nullptr;
    LogCapture log;
    EXPECT_EQ(importer.Call(imOpenFile8, nullptr, record.Get()), 0);
    EXPECT_EQ(log.Text(), "OpenFile8: Invalid fileRef pointer\n");
    EXPECT_EQ(record.Bytes(), expected.Bytes());
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(record->importerID), nullptr);
}

TEST_F(Open, OnlyThePrivateDataWordIsWritten) {
    const auto path = kvx_hostkit::ToHostPath(WriteVideo());
    RecordBlock<imFileOpenRec8> record(kvx_test::kFill);
    record->filepath = path.data();
    record->importerID = kvx_hostkit::Host::NextImporterID();
    RecordBlock<imFileOpenRec8> expected = record;
    void* fileRef = Ref(-1);
    ASSERT_EQ(importer.Call(imOpenFile8, &fileRef, record.Get()), 0);
    expected->privatedata = Indexed<long>::GetInstanceForIndex(record->importerID);
    EXPECT_EQ(record.Bytes(), expected.Bytes());
    EXPECT_EQ(importer.Call(imCloseFile, &fileRef, record->privatedata), 0);
}

// A new stream and one that comes back. The path leads nowhere: it is not looked at.
TEST_F(Open, EveryOpenGivesOutTheModule) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    for (const long reference : {-1L, 0L}) {
        RecordBlock<imFileOpenRec8> record(kvx_test::kFill);
        record->importerID = clip.ImporterID();
        RecordBlock<imFileOpenRec8> expected = record;
        expected->privatedata = clip.PrivateData();
        void* fileRef = Ref(reference);
        ASSERT_EQ(importer.Call(imOpenFile8, &fileRef, record.Get()), 0);
        EXPECT_EQ(record.Bytes(), expected.Bytes());
    }
    EXPECT_EQ(ReferenceCount(ModuleOf(clip)), 2);
    ModuleOf(clip)->Release();
}

TEST_F(Open, EveryNewStreamAddsAReference) {
    Clip clip(importer, WriteVideo());
    for (long stream = 0; stream < 4; ++stream) {
        ASSERT_EQ(clip.Open(), 0);
        EXPECT_EQ(clip.FileRef(static_cast<size_t>(stream)), Ref(stream));
        EXPECT_EQ(ModuleOf(clip)->mNextStreamHandle, stream + 1);
        EXPECT_EQ(ReferenceCount(ModuleOf(clip)), stream + 1);
    }
    // The suite is asked once, for the movie.
    EXPECT_EQ(host.AcquisitionCount(kLegacy, 1), 1);
}

TEST_F(Open, OnlyTheLowHalfOfTheReferenceCounts) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    for (const long reference : {0xFFFFFFFFL, 0x12345678FFFFFFFFL}) {
        RecordBlock<imFileOpenRec8> record;
        record->importerID = clip.ImporterID();
        void* fileRef = Ref(reference);
        const int32_t handle = ModuleOf(clip)->mNextStreamHandle;
        ASSERT_EQ(importer.Call(imOpenFile8, &fileRef, record.Get()), 0);
        EXPECT_EQ(fileRef, Ref(handle));
        EXPECT_EQ(importer.Call(imCloseFile, &fileRef, record->privatedata), 0);
    }
}

TEST_F(Open, HandleIsSignExtended) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    clip.FileRef() = Ref(0x1234567880000001);
    ASSERT_EQ(clip.Reopen(), 0);
    EXPECT_EQ(clip.FileRef(), Ref(static_cast<int32_t>(0x80000001)));
    LookInto(clip, [&clip](FileImportModule& module) {
        EXPECT_TRUE(module.mStreamInfo.exists(clip.FileRef()));
    });
}

TEST_F(Open, KnownHandleWithoutModuleMakesOne) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    clip.Close();
    clip.FileRef() = Ref(5);
    ASSERT_EQ(clip.Reopen(), 0);
    EXPECT_EQ(clip.FileRef(), Ref(5));
    ASSERT_NE(ModuleOf(clip), nullptr);
    EXPECT_EQ(ModuleOf(clip)->mNextStreamHandle, 0);
    EXPECT_EQ(ModuleOf(clip)->mStreamInfo.getStatus(Ref(5)), StreamStatusOpen);
    EXPECT_EQ(ModuleOf(clip)->mStreamInfo.getStatus(Ref(0)), StreamStatusUnknown);
    EXPECT_EQ(ReferenceCount(ModuleOf(clip)), 1);
}

TEST_F(Open, FilesCloseWhenTheLastStreamIsQuiet) {
    Clip clip(importer, WriteVideoAndSound());
    for (int stream = 0; stream < 3; ++stream) {
        ASSERT_EQ(clip.Open(), 0);
    }
    const KVX::QT::Movie& movie = *ModuleOf(clip)->mMovie;
    EXPECT_EQ(clip.Quiet(0), 0);
    EXPECT_EQ(clip.Quiet(2), 0);
    EXPECT_TRUE(IsOpen(movie.mVideoTracks[0]));
    EXPECT_TRUE(IsOpen(movie.mAudioTracks[0]));
    EXPECT_EQ(ModuleOf(clip)->mStreamInfo.getStatus(Ref(2)), StreamStatusQuiet);
    EXPECT_EQ(clip.Quiet(1), 0);
    EXPECT_FALSE(IsOpen(movie.mVideoTracks[0]));
    EXPECT_FALSE(IsOpen(movie.mAudioTracks[0]));

    ASSERT_EQ(clip.Reopen(1), 0);
    EXPECT_EQ(clip.FileRef(1), Ref(1));
    EXPECT_TRUE(IsOpen(movie.mVideoTracks[0]));
    EXPECT_TRUE(IsOpen(movie.mAudioTracks[0]));
    EXPECT_EQ(ModuleOf(clip)->mStreamInfo.getStatus(Ref(0)), StreamStatusQuiet);
    EXPECT_EQ(ModuleOf(clip)->mStreamInfo.getStatus(Ref(1)), StreamStatusOpen);
    EXPECT_EQ(ReferenceCount(ModuleOf(clip)), 3);
    EXPECT_EQ(ModuleOf(clip)->mNextStreamHandle, 3);
}

TEST_F(Open, NewStreamReopensTheFilesToo) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    ASSERT_EQ(clip.Quiet(), 0);
    ASSERT_EQ(clip.Open(), 0);
    EXPECT_TRUE(IsOpen(ModuleOf(clip)->mMovie->mVideoTracks[0]));
    EXPECT_EQ(ReferenceCount(ModuleOf(clip)), 2);
}

TEST_F(Open, ReopeningAVanishedFileSucceeds) {
    const std::string path = WriteVideo();
    Clip clip(importer, path);
    ASSERT_EQ(clip.Open(), 0);
    ASSERT_EQ(clip.Quiet(), 0);
    unlink(path.c_str());
    LogCapture log;
    EXPECT_EQ(clip.Reopen(), 0);
    LookInto(clip, [](FileImportModule& module) {
        EXPECT_FALSE(IsOpen(module.mMovie->mVideoTracks[0]));
    });
    EXPECT_NE(log.Raw(), "");
}

TEST_F(Open, CloseClearsTheReference) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    ASSERT_EQ(clip.Open(), 0);
    EXPECT_EQ(clip.Close(1), 0);
    EXPECT_EQ(clip.FileRef(1), nullptr);
    LookInto(clip, [](FileImportModule& module) {
        EXPECT_EQ(ReferenceCount(&module), 1);
        EXPECT_EQ(module.mStreamInfo.getStatus(Ref(1)), StreamStatusOpen);
    });
}

TEST_F(Open, ClosedStreamKeepsTheFilesOpen) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    ASSERT_EQ(clip.Open(), 0);
    ASSERT_EQ(clip.Close(1), 0);
    ASSERT_EQ(clip.Quiet(0), 0);
    EXPECT_TRUE(IsOpen(ModuleOf(clip)->mMovie->mVideoTracks[0]));
}

TEST_F(Open, LastCloseEndsModuleAndMovie) {
    Clip clip(importer, WriteVideo());
    ASSERT_EQ(clip.Open(), 0);
    ASSERT_EQ(clip.Open(), 0);
    const int descriptor = ModuleOf(clip)->mMovie->mVideoTracks[0]->mFileDescriptor;
    ASSERT_EQ(clip.Close(0), 0);
    EXPECT_NE(Indexed<long>::GetInstanceForIndex(clip.ImporterID()), nullptr);
    ASSERT_EQ(clip.Close(1), 0);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(clip.ImporterID()), nullptr);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(Open, ImporterIDsTellFilesApart) {
    const std::string path = WriteVideo();
    Clip first(importer, path);
    Clip second(importer, path);
    ASSERT_EQ(first.Open(), 0);
    ASSERT_EQ(second.Open(), 0);
    EXPECT_NE(first.PrivateData(), second.PrivateData());
    EXPECT_EQ(second.FileRef(), Ref(0));
}

TEST_F(Open, QuietAndCloseIgnoreAMissingModule) {
    void* fileRef = Ref(7);
    EXPECT_EQ(importer.Call(imQuietFile, &fileRef, nullptr), 0);
    EXPECT_EQ(importer.Call(imCloseFile, &fileRef, nullptr), 0);
    EXPECT_EQ(fileRef, Ref(7));
}

TEST_F(Open, TwoVideoTracksAreABadFile) {
    Clip clip(importer,
              Write(MovieOf({Video(), Video("2vuy", 16, 8, 2 * kvx_test::kMediaOffset)})));
    LogCapture log;
    EXPECT_EQ(clip.Open(), 2);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_EQ(clip.FileRef(), Ref(-1));
}

TEST_F(Open, AudioTracksOfTwoTypesAreABadFile) {
    SoundDescriptionV0 other;
    other.format = "sowt";
    Clip clip(importer,
              Write(MovieOf({Video(), Sound(), Sound(other, 100, 8 * kvx_test::kMediaOffset)})));
    LogCapture log;
    EXPECT_EQ(clip.Open(), 2);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(Open, FileThatIsNoMovie) {
    LogCapture log;
    Clip clip(importer, directory.File("missing.mov"));
    EXPECT_EQ(clip.Open(), 12);
    EXPECT_NE(log.Text().find("OpenFile8: xMoviePlayable returned 12\n"), std::string::npos)
        << log.Text();
    EXPECT_EQ(clip.FileRef(), Ref(-1));
}

TEST_F(Open, NullPathIsAnEmptyOne) {
    RecordBlock<imFileOpenRec8> record;
    record->importerID = kvx_hostkit::Host::NextImporterID();
    void* fileRef = Ref(-1);
    LogCapture log;
    EXPECT_EQ(importer.Call(imOpenFile8, &fileRef, record.Get()), 12);
    ASSERT_NE(Field(record->privatedata), nullptr);
    EXPECT_EQ(importer.Call(imCloseFile, &fileRef, record->privatedata), 0);
}

TEST_F(Open, FailedOpenLeavesTheModuleRegistered) {
    LogCapture log;
    Clip clip(importer, directory.File("missing.mov"));
    ASSERT_EQ(clip.Open(), 12);
    FileImportModule* module = ModuleOf(clip);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module, Indexed<long>::GetInstanceForIndex(clip.ImporterID()));
    EXPECT_EQ(ReferenceCount(module), 1);
    EXPECT_EQ(module->mMovie, nullptr);
    EXPECT_EQ(module->mNextStreamHandle, 0);

    // The next open finds it and succeeds, with no movie.
    EXPECT_EQ(clip.Open(), 0);
    EXPECT_EQ(clip.FileRef(1), Ref(0));
    EXPECT_EQ(ReferenceCount(module), 2);
    EXPECT_EQ(clip.Quiet(1), 0);
    EXPECT_EQ(module->mStreamInfo.getStatus(Ref(0)), StreamStatusOpen);
}

TEST_F(Open, ModuleWithoutMovieAnswersAsWithoutTracks) {
    LogCapture log;
    Clip clip(importer, directory.File("missing.mov"));
    ASSERT_EQ(clip.Open(), 12);
    RecordBlock<imFileInfoRec8> info;
    EXPECT_EQ(clip.GetInfo(0, info.Get()), 2);
    PrPixelFormat format = 0;
    EXPECT_EQ(clip.GetPixelFormat(0, &format), 301);
    int32_t width = 3;
    int32_t height = 4;
    EXPECT_EQ(clip.GetPreferredFrameSize(&width, &height), 0);
    EXPECT_EQ(width, 3);
    EXPECT_EQ(height, 4);
    float* planes[1] = {nullptr};
    EXPECT_EQ(clip.ReadAudio(0, 0, 0, planes), 19);
    RecordBlock<imAsyncImporterCreationRec> creation;
    EXPECT_EQ(clip.CreateAsyncImporter(creation.Get()), 5);
}

TEST_F(Open, PathStringFailure) {
    const std::string path = WriteVideo();
    LogCapture log;
    RecordBlock<imFileOpenRec8> record(kvx_test::kFill);
    const auto hostPath = kvx_hostkit::ToHostPath(path);
    record->filepath = hostPath.data();
    record->importerID = kvx_hostkit::Host::NextImporterID();
    RecordBlock<imFileOpenRec8> expected = record;
    expected->privatedata = nullptr;
    void* fileRef = Ref(-1);
    imStdParms* stdParms = host.StdParms();
    long result = 0;
    {
        const Fault failing(SystemCall::kNewNothrow, ENOMEM, 1, Fault::kForever);
        result = FileImportModule::OpenFile8(stdParms, &fileRef, record.Get());
    }
    EXPECT_EQ(result, 2);
    EXPECT_EQ(log.Text(), "OpenFile8: CFStringCreateWithCharacters failed\n");
    EXPECT_EQ(record.Bytes(), expected.Bytes());
    EXPECT_EQ(fileRef, Ref(-1));
}

TEST_F(Open, ModuleAllocationFailure) {
    Clip clip(importer, WriteVideo());
    LogCapture log;
    long result = 0;
    {
        // The path's string is made, the module is not.
        const Fault failing(SystemCall::kNewNothrow, ENOMEM, 2, Fault::kForever);
        result = clip.Open();
    }
    EXPECT_EQ(result, 2);
    EXPECT_EQ(log.Text(), "OpenFile8: Failed to allocate new FileImportModule object\n");
    EXPECT_EQ(clip.PrivateData(), nullptr);
    EXPECT_EQ(clip.FileRef(), Ref(-1));
}

TEST_F(Open, RegistryFailure) {
    Clip clip(importer, WriteVideo());
    KVX::AppIsPremiere(host.StdParms());
    LogCapture log;
    long result = 0;
    {
        // The look-up finds the registry in order, the registration does not.
        const Fault failing(SystemCall::kOnce, 11, 2, Fault::kForever);
        result = clip.Open();
    }
    EXPECT_EQ(result, 11);
    EXPECT_EQ(log.Text(),
              "Call: pthread_once returned 11\n"
              "Init: Skipping because static initialisation failed\n"
              "Init: Indexed<long>::Init() returned 11\n"
              "OpenFile8: Init() returned 11\n");
    ASSERT_NE(clip.PrivateData(), nullptr);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(clip.ImporterID()), nullptr);
    EXPECT_EQ(clip.FileRef(), Ref(-1));
}

TEST_F(Open, HostWithoutSuites) {
    host.settings.hasSuites = false;
    Clip clip(importer, WriteVideo());
    LogCapture log;
    EXPECT_EQ(clip.Open(), 22);
    // Each of the two that ask for the host's identity before it is known.
    EXPECT_EQ(log.Text(),
              "AppIsPremiere: AcquireSuite() failed\n"
              "Init: getSPBasicSuite() failed\n"
              "AppIsPremiere: AppIsPremiere requires a valid pointer on first invocation\n"
              "OpenFile8: AcquireSuite returned 22\n");
    ASSERT_NE(clip.PrivateData(), nullptr);
    LookInto(clip, [](FileImportModule& module) { EXPECT_NE(module.mMovie, nullptr); });
}

TEST_F(Open, MissingLegacySuite) {
    host.FailAcquisition(kLegacy, 0x53706163);
    Clip clip(importer, WriteVideo());
    LogCapture log;
    EXPECT_EQ(clip.Open(), 0x53706163);
    EXPECT_EQ(log.Text(), "OpenFile8: AcquireSuite returned 1399873891\n");
    EXPECT_EQ(clip.FileRef(), Ref(-1));
    ASSERT_NE(clip.PrivateData(), nullptr);
    // Its movie is there, so the next stream works.
    EXPECT_EQ(clip.Open(), 0);
    RecordBlock<imFileInfoRec8> info;
    EXPECT_EQ(clip.GetInfo(0, info.Get()), 0);
}

TEST_F(Open, LegacySuiteThatIsNotHandedOut) {
    host.AddSuite(kLegacy, 1, nullptr);
    Clip clip(importer, WriteVideo());
    LogCapture log;
    EXPECT_EQ(clip.Open(), 22);
    EXPECT_EQ(log.Text(), "OpenFile8: AcquireSuite returned 22\n");
}

TEST_F(Open, FailingTickCount) {
    host.settings.ticksStatus = -7;
    Clip clip(importer, WriteVideo());
    LogCapture log;
    EXPECT_EQ(clip.Open(), -7);
    EXPECT_EQ(log.Text(), "OpenFile8: GetTicksPerTimebaseFrame returned -7\n");
    EXPECT_EQ(clip.FileRef(), Ref(-1));
    EXPECT_NE(clip.PrivateData(), nullptr);
    EXPECT_EQ(host.ReleaseCount(kLegacy, 1), 0);
}

TEST_F(Open, AddRefIsRetain) {
    FileImportModule* module = new FileImportModule(1, host.StdParms());
    EXPECT_EQ(module->AddRef(), 2);
    EXPECT_EQ(module->Retain(), 3);
    EXPECT_EQ(module->Release(), 2);
    EXPECT_EQ(module->Release(), 1);
    EXPECT_EQ(module->Release(), 0);
}

TEST_F(Open, ConstructorAsksForTheHostAndRegistersNothing) {
    const int32_t importerID = kvx_hostkit::Host::NextImporterID();
    const FileImportModule module(importerID, host.StdParms());
    EXPECT_EQ(KVX::gAppIsPremiere, 1);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(importerID), nullptr);
    EXPECT_EQ(module.mBasicSuite, nullptr);
    EXPECT_EQ(module.mMovie, nullptr);
    EXPECT_EQ(module.mAudioSampleType, -1);
    EXPECT_EQ(module.mNextStreamHandle, 0);
    EXPECT_EQ(module.mAudioPosition, 0);
    EXPECT_TRUE(module.mStreamInfo.areAllStatusesEqualTo(StreamStatusUnknown));
}

}  // namespace
