// An open movie on a file system that fails or reads less than it was asked for: errors go to the
// frame that met them, short reads leave theirs on its way, and all else goes on.
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "host/changed_file.h"
#include "support/fault_injection.h"

namespace {

using kvx_test::Bytes;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::MovieFileLayout;
using kvx_test::MovieOfPicture;
using kvx_test::SystemCall;

class FailingDisk : public kvx_test::ChangedFileTest {
  protected:
    static std::string Format(const char* format, long status, const void* request) {
        char line[200];
        std::snprintf(line, sizeof line, format, status, request);
        return line;
    }

    // Delivered, with nothing read.
    void ExpectFailed(PrPixelFormat road, long index, long status) {
        SCOPED_TRACE(index);
        cache.Forget();
        const LogCapture log;
        const Frame frame = Issue(road, index);
        ExpectDelivered(frame, status);
        const void* const request = frame->mReadRequest;
        EXPECT_EQ(
            log.Text(),
            Format("ExecuteReadTicket: pread returned %ld for request %p\n", status, request) +
                Format("RunThreadPass: ReadRequest::ExecuteReadTicket returned %ld for request "
                       "%p\n",
                       status, request));
        const Bytes pixels = PixelsOf(*frame);
        EXPECT_TRUE(IsFresh(pixels.data(), pixels.size()));
    }

    // One frame of four reads.
    void OpenLarge() {
        MovieFileLayout layout;
        layout.movieFirst = true;
        OpenMovie(MovieOfPicture({"2vuy", 1024, 1600, 0x320000}, 1, kVideoOffset), layout);
    }
};

TEST_F(FailingDisk, AnErrorMeetsOneFrame) {
    for (const uint64_t skew : {0, 100}) {
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(skew));
        for (const int error : {EIO, ESTALE, EINTR, ENXIO}) {
            for (const PrPixelFormat road : kRoads) {
                SCOPED_TRACE(error);
                const Fault fault(SystemCall::kPread, error, 2);
                ExpectWhole(road, 0);
                ExpectFailed(road, 1, error);
                ExpectWhole(road, 2);
                ExpectWhole(road, 1);
                EXPECT_EQ(fault.Hits(), 1);
                // Each was asked for once: nothing is tried again.
                EXPECT_EQ(fault.Calls(), 4);
            }
        }
        ExpectSound();
    }
}

TEST_F(FailingDisk, AFileSystemThatIsGoneAndThereAgain) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(100));
    for (const int error : {EIO, ESTALE}) {
        {
            const Fault fault(SystemCall::kPread, error, 1, Fault::kForever);
            for (long index = 0; index < kFrames; ++index) {
                for (const PrPixelFormat road : kRoads) {
                    ExpectFailed(road, index, error);
                }
            }
            ExpectNoSound(error);
        }
        for (long index = 0; index < kFrames; ++index) {
            for (const PrPixelFormat road : kRoads) {
                ExpectWhole(road, index);
            }
        }
        ExpectSound();
    }
}

TEST_F(FailingDisk, AShortReadLeavesItsFrameOnItsWay) {
    for (const uint64_t skew : {0, 100}) {
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(skew));
        for (const int length : {1, 2048, 4095, -1}) {
            for (const PrPixelFormat road : kRoads) {
                SCOPED_TRACE(length);
                const Fault fault(SystemCall::kReadShort, length, 2);
                ExpectWhole(road, 6);
                cache.Forget();
                const LogCapture log;
                ExpectUnanswered(Issue(road, 7));
                EXPECT_EQ(log.Text(), "");
                ExpectWhole(road, 7);
                EXPECT_EQ(fault.Hits(), 1);
            }
        }
        ExpectSound();
        EndUnanswered();
    }
}

TEST_F(FailingDisk, AReadOfNothingIsTakenForTheEndOfTheFile) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    for (const PrPixelFormat road : kRoads) {
        const Fault fault(SystemCall::kReadShort, 0);
        cache.Forget();
        LogCapture log;
        Frame frame = Issue(road, 2);
        char line[200];
        std::snprintf(line, sizeof line, "ExecuteReadTicket: pread(%d, %p, 4096, %d) hit EOF\n",
                      track->mFileDescriptor, static_cast<void*>(frame->mReadRequest->mBuffer),
                      0x13000);
        EXPECT_EQ(log.Text(), line);
        ExpectUnanswered(std::move(frame));
        ExpectWhole(road, 2);
    }
}

TEST_F(FailingDisk, SoundThatCannotBeReadIsSilence) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    for (const int length : {0, 1, 1001, 3999}) {
        SCOPED_TRACE(length);
        const Fault fault(SystemCall::kReadShort, length);
        ExpectSound(static_cast<uint64_t>(length));
        ExpectSound();
    }
}

// Whichever of its four reads meets the error, the frame is delivered with it, once. The others
// may have ended before, or find the request failed.
TEST_F(FailingDisk, AnErrorInOneReadOfSeveral) {
    ASSERT_NO_FATAL_FAILURE(OpenLarge());
    for (const int nth : {1, 2, 3, 4}) {
        for (const PrPixelFormat road : kRoads) {
            SCOPED_TRACE(nth);
            cache.Forget();
            const Fault fault(SystemCall::kPread, EIO, nth);
            LogCapture log;
            const Frame frame = Issue(road, 0);
            ExpectDelivered(frame, EIO);
            const void* const request = frame->mReadRequest;
            // What may be repeated, then what may not.
            const std::string passed = Format(
                "RunThreadPass: ReadRequest::ExecuteReadTicket returned %ld for request "
                "%p\n",
                EIO, request);
            const std::string read =
                Format("ExecuteReadTicket: pread returned %ld for request %p\n", EIO, request);
            char dropped[200];
            std::snprintf(dropped, sizeof dropped,
                          "WorkToDo: GetReadTicket on request %p returned %d\n", request, EIO);
            std::string text = log.Text();
            int passes = 0;
            for (size_t at = text.find(passed); at != std::string::npos; at = text.find(passed)) {
                text.erase(at, passed.size());
                ++passes;
            }
            EXPECT_GE(passes, 1);
            EXPECT_LE(passes, 4);
            const size_t at = text.find(dropped);
            if (at != std::string::npos) {
                text.erase(at, std::string(dropped).size());
            }
            EXPECT_EQ(text, read);
            EXPECT_LE(fault.Calls(), 4);
        }
    }
}

TEST_F(FailingDisk, AShortReadAmongSeveral) {
    ASSERT_NO_FATAL_FAILURE(OpenLarge());
    for (const int nth : {1, 2, 3, 4}) {
        for (const PrPixelFormat road : kRoads) {
            SCOPED_TRACE(nth);
            cache.Forget();
            const Fault fault(SystemCall::kReadShort, -1, nth);
            const LogCapture log;
            ExpectUnanswered(Issue(road, 0));
            EXPECT_EQ(fault.Calls(), 4);
            EXPECT_EQ(log.Text(), "");
        }
    }
}

// A frame that would stay on its way is delivered for the error that comes after.
TEST_F(FailingDisk, AShortReadThenAnError) {
    ASSERT_NO_FATAL_FAILURE(OpenLarge());
    for (const PrPixelFormat road : kRoads) {
        cache.Forget();
        const Fault shortRead(SystemCall::kReadShort, -1, 1);
        const Fault error(SystemCall::kPread, ESTALE, 4);
        const LogCapture log;
        ExpectDelivered(Issue(road, 0), ESTALE);
        EXPECT_EQ(shortRead.Hits(), 1);
        EXPECT_EQ(error.Hits(), 1);
    }
}

// The file opens and then has no length to tell.
TEST_F(FailingDisk, AFileThatIsStaleWhenItIsTakenUpAgain) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    ASSERT_EQ(clip->Quiet(), 0);
    {
        const Fault fault(SystemCall::kFstat, ESTALE);
        const LogCapture log;
        EXPECT_EQ(clip->Reopen(), 0);
        EXPECT_EQ(log.Text(), "OpenFile: fstat returned " + std::to_string(ESTALE) +
                                  "\nOpenFile: Got error -1 opening audio track file\n");
    }
    ExpectNoSound(EBADF);
    ASSERT_EQ(clip->Quiet(), 0);
    ASSERT_EQ(clip->Reopen(), 0);
    for (const PrPixelFormat road : kRoads) {
        ExpectWhole(road, 3);
    }
    ExpectSound();
}

}  // namespace
