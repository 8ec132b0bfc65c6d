// What sets a frame going, and what stops it before it goes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "pipeline/read_request.h"

namespace {

using kvx_test::Bytes;
using kvx_test::kPageUYVY;
using kvx_test::kPageV210;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Reference;

using Frame = Reference<KVX::ImportFrame>;

std::string PointerText(const void* pointer) {
    char text[40];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
}

class FrameIssue : public kvx_test::FrameTest {
  protected:
    // Tries one frame, which must leave nothing behind. Returns what was logged.
    std::string LogOfRefusal(PrPixelFormat format, long status, long index = 0) {
        const Frame frame(NewFrame(format, index));
        LogCapture log;
        EXPECT_EQ(frame->Issue(), status);
        EXPECT_EQ(frame->mRefCount, 1);
        EXPECT_EQ(cache.Additions(), 0);
        return log.Text();
    }
};

TEST_F(FrameIssue, AFreshFrameHasItsArgumentsAndNothingElse) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    const Frame frame(NewFrame(PrPixelFormat_UYVY_422_8u_601, 2));
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(frame->mImporterID, clip->ImporterID());
    EXPECT_EQ(frame->mVideoTrack, track);
    EXPECT_EQ(frame->mDecompressor, nullptr);
    EXPECT_EQ(frame->mPixelFormat, PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(frame->mFrameIndex, 2);
    EXPECT_EQ(frame->mFrameTime, 2 * module->mTicksPerFrame);
    EXPECT_EQ(frame->mPPix, nullptr);
    EXPECT_EQ(frame->mPixels, nullptr);
    EXPECT_EQ(frame->mReadRequest, nullptr);
    EXPECT_EQ(frame->mStatus, 0);
    EXPECT_EQ(frame->mSourceRowBytes, 0);
    EXPECT_EQ(frame->mDestRowBytes, 0);
    EXPECT_FALSE(frame->mCopyOnly);
    EXPECT_FALSE(frame->mReadDone);
    EXPECT_TRUE(frame->mNeedsConversion);
}

// It is not started, its track may be none, and no suite is called for it.
TEST_F(FrameIssue, AFrameThatIsOnlyMadeGoesAsItCame) {
    const LogCapture log;
    auto* frame = new KVX::ImportFrame(7, nullptr, nullptr, PrPixelFormat_BGRA_4444_8u, 3, 4,
                                       nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(frame->mImporterID, 7);
    EXPECT_EQ(frame->mFrameIndex, 3);
    EXPECT_EQ(frame->mFrameTime, 4);
    frame->Release();
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(FrameIssue, FindsThePoolsAndTheSample) {
    OpenMovie(MovieOfPicture(kPageUYVY, 3));
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601, 2);
    EXPECT_EQ(frame->mReadController, KVX::ReadController::sInstance);
    EXPECT_EQ(frame->mFrameConverter, KVX::ImportFrameConverter::sInstance);
    EXPECT_EQ(frame->mWidth, 64);
    EXPECT_EQ(frame->mHeight, 32);
    EXPECT_EQ(frame->mSourceRowBytes, 128);
    EXPECT_EQ(frame->mDestRowBytes, 128);
    EXPECT_EQ(frame->mReadRequest->mFileDescriptor, track->mFileDescriptor);
    EXPECT_EQ(frame->mReadRequest->mFileLength, track->mFileSize);
    EXPECT_EQ(frame->mReadRequest->mOffset, 0x10000 + 2 * 4096);
    EXPECT_EQ(frame->mReadRequest->mSize, 4096);
}

TEST_F(FrameIssue, OpensATrackThatWasNeverOpened) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    track->CloseFile();
    track->mFileDescriptor = 0;
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601);
    EXPECT_GT(track->mFileDescriptor, 0);
    EXPECT_EQ(Bytes(frame->mPixels, 4096), Media(0, 4096));
}

// The length that the read is held against is the one from before.
TEST_F(FrameIssue, OpeningATrackDoesNotChangeTheLengthOfTheRead) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    const long long length = track->mFileSize;
    track->CloseFile();
    track->mFileDescriptor = 0;
    track->mFileSize = 0x10000 + 4096;
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(frame->mReadRequest->mFileLength, 0x10000 + 4096);
    EXPECT_EQ(frame->mReadRequest->mFileDescriptor, track->mFileDescriptor);
    EXPECT_EQ(track->mFileSize, length);
}

TEST_F(FrameIssue, TellsOfATrackThatDoesNotOpen) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    track->CloseFile();
    track->mFileDescriptor = 0;
    track->mFilePath = "/nowhere";
    EXPECT_EQ(LogOfRefusal(PrPixelFormat_UYVY_422_8u_601, 22),
              "OpenFile: open returned 2\nIssue: OpenFile returned 22\n");
}

TEST_F(FrameIssue, LeavesAClosedTrackClosed) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    ASSERT_EQ(clip->Quiet(), 0);
    ASSERT_EQ(track->mFileDescriptor, -2);
    EXPECT_EQ(LogOfRefusal(PrPixelFormat_UYVY_422_8u_601, 22),
              "Issue: Track " + PointerText(track) + " has invalid file descriptor -2\n");
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(FrameIssue, TakesNoDescriptorBelowOne) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    const int descriptor = track->mFileDescriptor;
    track->mFileDescriptor = -1;
    EXPECT_EQ(LogOfRefusal(PrPixelFormat_UYVY_422_8u_601, 22),
              "Issue: Track " + PointerText(track) + " has invalid file descriptor -1\n");
    track->mFileDescriptor = descriptor;
}

// In a process without standard input the system opens a file as 0, which here means none.
TEST_F(FrameIssue, TakesNoFileThatIsOpenedInThePlaceOfStandardInput) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    track->CloseFile();
    track->mFileDescriptor = 0;
    const Frame frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
    LogCapture log;
    const int standardInput = dup(0);
    ASSERT_GT(standardInput, 0);
    close(0);
    const long status = frame->Issue();
    dup2(standardInput, 0);
    close(standardInput);
    EXPECT_EQ(status, 22);
    EXPECT_EQ(log.Text(),
              "Issue: Track " + PointerText(track) + " has invalid file descriptor 0\n");
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(FrameIssue, TellsOfASampleOutsideTheFile) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    track->mFileSize = 0x10FFF;
    EXPECT_EQ(LogOfRefusal(PrPixelFormat_UYVY_422_8u_601, 28),
              "Init: File length 69631(0x10fff) too short for read of 4096(0x1000) bytes from "
              "offset 65536(0x10000)\n"
              "Create: ReadRequest::Init returned 28\n"
              "Issue: ReadRequest::Create returned 28\n");
}

TEST_F(FrameIssue, RefusesFramesWithoutPixels) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    for (const auto& [width, height] :
         {std::pair(0, 32), std::pair(64, 0), std::pair(-1, 32), std::pair(64, -32768)}) {
        track->mWidth = static_cast<short>(width);
        track->mHeight = static_cast<short>(height);
        EXPECT_EQ(LogOfRefusal(PrPixelFormat_UYVY_422_8u_601, 22),
                  "Issue: Invalid frame size " + std::to_string(width) + "x" +
                      std::to_string(height) + "\n");
    }
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

TEST_F(FrameIssue, RefusesACustomFrameWhoseLengthPasses32Bits) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    track->mFileSize = 0x200000000;
    for (const uint32_t size : {0xFFFFFFFFu, 0xFFFFF000u, 0xFFFFE001u}) {
        track->mSizeOffsets[0]->size = size;
        EXPECT_EQ(LogOfRefusal(kKVXCustomPixelFormat, 27),
                  "Issue: Sample of " + std::to_string(size) +
                      " bytes is too large for a custom frame\n");
    }
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

struct Failure {
    PrPixelFormat format;
    const char* call;
    const char* line;
};

TEST_F(FrameIssue, TellsOfEveryCallOfTheHostThatFails) {
    OpenMovie(MovieOfPicture(kPageV210, 1));
    for (const Failure& each :
         {Failure{
              PrPixelFormat_V210_422_10u_601, "CreatePPix",
              "Issue: CreatePPix returned -7 for format PrPixelFormat_V210_422_10u_601 at 96x16\n"},
          Failure{PrPixelFormat_V210_422_10u_601, "GetPixels", "Issue: GetPixels returned -7\n"},
          Failure{PrPixelFormat_V210_422_10u_601, "GetRowBytes",
                  "Issue: GetRowBytes returned -7\n"},
          Failure{kKVXCustomPixelFormat, "CreateCustomPPix",
                  "Issue: CreatePPix returned -7 for format kKVXCustomPixelFormat at 96x16\n"},
          Failure{kKVXCustomPixelFormat, "GetPixels", "Issue: GetPixels returned -7\n"}}) {
        buffers.faults.FailAt(each.call, 1, -7);
        EXPECT_EQ(LogOfRefusal(each.format, -7), each.line) << each.call;
        EXPECT_EQ(buffers.LiveCount(), 0) << each.call;
    }
}

int32_t CreateNothing(PPixHand*, int32_t, PrPixelFormat, const prRect*) {
    return 0;
}

int32_t CreateNothingCustom(PPixHand*, int32_t, PrPixelFormat, int32_t, int32_t, int32_t, int32_t,
                            int32_t) {
    return 0;
}

int32_t GetNoPixels(PPixHand, int32_t, char**) {
    return 0;
}

TEST_F(FrameIssue, TellsOfAHostThatHandsOutNothing) {
    OpenMovie(MovieOfPicture(kPageV210, 1));
    PrSDKPPixSuite* const usualPPixSuite = module->mPPixSuite;
    PrSDKPPixSuite noPixels = *usualPPixSuite;
    noPixels.GetPixels = &GetNoPixels;
    module->mPPixSuite = &noPixels;
    for (const PrPixelFormat format : {PrPixelFormat_V210_422_10u_601, kKVXCustomPixelFormat}) {
        EXPECT_EQ(LogOfRefusal(format, 22), "Issue: GetPixels returned 22\n");
        EXPECT_EQ(buffers.LiveCount(), 0);
    }
    module->mPPixSuite = usualPPixSuite;

    PrSDKPPixCreatorSuite* const usualCreatorSuite = module->mCreatorSuite;
    PrSDKPPixCreatorSuite creatorSuite = {&CreateNothing};
    module->mCreatorSuite = &creatorSuite;
    EXPECT_EQ(LogOfRefusal(PrPixelFormat_BGRA_4444_8u, 22),
              "Issue: CreatePPix returned 22 for format PrPixelFormat_BGRA_4444_8u at 96x16\n");
    module->mCreatorSuite = usualCreatorSuite;

    PrSDKPPixCreator2Suite* const usualCreator2Suite = module->mCreator2Suite;
    PrSDKPPixCreator2Suite creator2Suite = {{}, &CreateNothingCustom};
    module->mCreator2Suite = &creator2Suite;
    EXPECT_EQ(LogOfRefusal(kKVXCustomPixelFormat, 22),
              "Issue: CreatePPix returned 22 for format kKVXCustomPixelFormat at 96x16\n");
    module->mCreator2Suite = usualCreator2Suite;
}

// The host's functions, to see what they are called with.
struct Recorded {
    std::vector<long> create;
    std::vector<long> createCustom;
    std::vector<long> getPixels;
    std::vector<long> add;
};

Recorded sRecorded;
char sMemory[16384];
char* sPixels = sMemory;

int32_t RecordCreate(PPixHand* ppix, int32_t access, PrPixelFormat format, const prRect* bounds) {
    sRecorded.create = {access,         static_cast<long>(format),
                        bounds->top,    bounds->left,
                        bounds->bottom, bounds->right};
    *ppix = &sPixels;
    return 0;
}

int32_t RecordCreateCustom(PPixHand* ppix, int32_t access, PrPixelFormat format, int32_t width,
                           int32_t height, int32_t aspectNumerator, int32_t aspectDenominator,
                           int32_t dataSize) {
    sRecorded.createCustom = {access,          static_cast<long>(format), width,   height,
                              aspectNumerator, aspectDenominator,         dataSize};
    *ppix = &sPixels;
    return 0;
}

int32_t RecordGetPixels(PPixHand ppix, int32_t access, char** pixels) {
    sRecorded.getPixels = {ppix == &sPixels, access};
    *pixels = sPixels;
    return 0;
}

int32_t RecordAdd(uint32_t importerID, int32_t stream, PPixHand ppix, int32_t frameIndex,
                  void* preferences, int32_t preferencesSize) {
    sRecorded.add = {static_cast<long>(importerID), stream,         ppix == &sPixels, frameIndex,
                     preferences == nullptr,        preferencesSize};
    return 0;
}

TEST_F(FrameIssue, CallsTheHostAsItWantsToBeCalled) {
    OpenMovie(MovieOfPicture(kPageV210, 3, 0x10064));
    PrSDKPPixCreatorSuite creator = {&RecordCreate};
    PrSDKPPixCreator2Suite creator2 = {{}, &RecordCreateCustom};
    PrSDKPPixSuite ppixSuite = {[](PPixHand) { return int32_t{0}; },
                                &RecordGetPixels,
                                {},
                                [](PPixHand, int32_t* rowBytes) {
                                    *rowBytes = 256;
                                    return int32_t{0};
                                }};
    PrSDKPPixCacheSuite cacheSuite = {&RecordAdd, nullptr};
    for (const PrPixelFormat format : {PrPixelFormat_V210_422_10u_709, kKVXCustomPixelFormat}) {
        const Frame frame(new KVX::ImportFrame(0x100000007, track, nullptr, format, 2, 0,
                                               &cacheSuite, &creator, &creator2, &ppixSuite));
        ASSERT_EQ(frame->Init(), 0);
        frame->Retain();
        ASSERT_EQ(frame->Issue(), 0);
        ASSERT_TRUE(kvx_test::Eventually([&] { return kvx_test::ReferencesTo(*frame) == 1; }));
        // 32 bits of the importer ID; no preferences.
        EXPECT_EQ(sRecorded.add, (std::vector<long>{7, 0, 1, 2, 1, 0}));
        EXPECT_EQ(sRecorded.getPixels, (std::vector<long>{1, 2}));
    }
    EXPECT_EQ(sRecorded.create,
              (std::vector<long>{2, PrPixelFormat_V210_422_10u_709, 0, 0, 16, 96}));
    // The sample's 4096 bytes lie 100 into a page, and there is a page more.
    EXPECT_EQ(sRecorded.createCustom,
              (std::vector<long>{2, kKVXCustomPixelFormat, 96, 16, 1, 1, 3 * 4096}));
}

}  // namespace
