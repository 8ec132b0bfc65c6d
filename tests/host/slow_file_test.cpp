// An open movie on a file system that takes its time: reads are held back, and meanwhile the file
// changes, sleeps or closes. Those who do not need the slow file go on.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "host/changed_file.h"
#include "support/gated_reads.h"

namespace {

using kvx_test::Eventually;
using kvx_test::GatedReads;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::ReferencesTo;

constexpr int kReadThreads = 8;
constexpr int64_t kOtherOffset = 0x400000;

class SlowFile : public kvx_test::ChangedFileTest {
  protected:
    // Frames of the slow file, from 0 on, each of which keeps a read thread before the gate.
    void HoldBack(GatedReads& gate, int frames, PrPixelFormat road = kRoads[0]) {
        for (int index = 0; index < frames; ++index) {
            mHeldBack.push_back(Begin(road, index));
        }
        ASSERT_TRUE(gate.WaitForWaiting(frames));
    }

    Frame Begin(PrPixelFormat road, long index) {
        Frame frame(NewFrame(road, index));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0);
        return frame;
    }

    bool HasEnded(const Frame& frame) {
        return Eventually([&] { return ReferencesTo(*frame->mReadRequest) == 1; });
    }

    void ExpectHeldBackDelivered(GatedReads& gate, long status) {
        gate.LetAll();
        for (const Frame& frame : mHeldBack) {
            EXPECT_TRUE(HasEnded(frame));
            EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame) == 1; }));
            EXPECT_EQ(frame->mStatus, status);
            if (status == 0) {
                EXPECT_EQ(PixelsOf(*frame),
                          mWhole[kRoads[0]][static_cast<size_t>(frame->mFrameIndex)]);
            }
        }
        mHeldBack.clear();
    }

    std::vector<Frame> mHeldBack;
};

TEST_F(SlowFile, LeavesOtherFilesTheThreadsThatItDoesNotHold) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    kvx_hostkit::Clip* const slow = clip;
    const LogCapture log;
    GatedReads gate;
    ASSERT_NO_FATAL_FAILURE(HoldBack(gate, kReadThreads - 1));
    ASSERT_NO_FATAL_FAILURE(OpenMovie(MovieOfPicture(kPageUYVY, 20, kOtherOffset)));
    for (int index = 0; index < 20; ++index) {
        gate.Let(kOtherOffset + index * 4096);
        const Frame frame = Begin(kRoads[0], index);
        EXPECT_TRUE(HasEnded(frame));
        ExpectDelivered(frame, 0);
        EXPECT_EQ(PixelsOf(*frame), Media(index, 4096));
    }
    EXPECT_EQ(gate.Waiting(), kReadThreads - 1);
    clip = slow;
    ExpectSound();
    EXPECT_EQ(cache.Additions(), 20 + kFrames * 3);
    ExpectHeldBackDelivered(gate, 0);
    EXPECT_EQ(log.Text(), "");
}

// With no thread left other files wait too; sound, which is read by the host's own thread, does
// not, and a frame that has not come is not found.
TEST_F(SlowFile, HoldsAllThreads) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    kvx_hostkit::Clip* const slow = clip;
    const LogCapture log;
    GatedReads gate;
    ASSERT_NO_FATAL_FAILURE(HoldBack(gate, kReadThreads));
    ASSERT_NO_FATAL_FAILURE(OpenMovie(MovieOfPicture(kPageUYVY, 1, kOtherOffset)));
    gate.Let(kOtherOffset);
    const Frame other = Begin(kRoads[0], 0);
    EXPECT_EQ(ReferencesTo(*other->mReadRequest), 2);  // the frame's and the queue's
    imFrameFormat formats[] = {{0, 0, kRoads[0]}};
    PPixHand ppix = nullptr;
    imSourceVideoRec record = {};
    record.frameFormats = formats;
    record.frameFormatCount = 1;
    record.ppix = &ppix;
    EXPECT_EQ(module->GetFrame(&record), aiFrameNotFound);
    clip = slow;
    ExpectSound();
    // One of the reads comes to its end, and its thread sees to the other file.
    gate.Let(kVideoOffset);
    EXPECT_TRUE(HasEnded(other));
    EXPECT_TRUE(Eventually([&] { return ReferencesTo(*other) == 1; }));
    EXPECT_EQ(PixelsOf(*other), Media(0, 4096));
    EXPECT_EQ(module->GetFrame(&record), aiNoError);
    kvx_hostkit::PixelBuffers::Dispose(ppix);
    ExpectHeldBackDelivered(gate, 0);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(SlowFile, IsCutUnderItsReads) {
    for (const PrPixelFormat road : kRoads) {
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
        LogCapture log;
        GatedReads gate;
        ASSERT_NO_FATAL_FAILURE(HoldBack(gate, kFrames, road));
        cache.Forget();
        ASSERT_EQ(truncate(Path().c_str(), 0x14800), 0);  // inside frame 3
        gate.LetAll();
        for (const Frame& frame : mHeldBack) {
            EXPECT_TRUE(HasEnded(frame));
        }
        const std::string text = log.Text();
        size_t size = 0;
        for (Frame& frame : mHeldBack) {
            const long index = frame->mFrameIndex;
            SCOPED_TRACE(index);
            if (index < 3) {
                ExpectDelivered(frame, 0);
                EXPECT_EQ(PixelsOf(*frame), mWhole[road][static_cast<size_t>(index)]);
                continue;
            }
            if (index > 3) {
                char line[200];
                std::snprintf(
                    line, sizeof line, "ExecuteReadTicket: pread(%d, %p, 4096, %ld) hit EOF\n",
                    track->mFileDescriptor, static_cast<void*>(frame->mReadRequest->mBuffer),
                    0x11000 + index * 0x1000);
                EXPECT_NE(text.find(line), std::string::npos) << text;
                size += std::string(line).size();
            }
            ExpectUnanswered(std::move(frame));
        }
        EXPECT_EQ(text.size(), size) << text;
        mHeldBack.clear();
        EXPECT_EQ(mUnanswered.size(), 5u);
        EndUnanswered();
    }
}

// The number of the descriptor means nothing then.
TEST_F(SlowFile, IsClosedUnderItsReads) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    LogCapture log;
    GatedReads gate;
    ASSERT_NO_FATAL_FAILURE(HoldBack(gate, kFrames));
    modules.clear();
    EXPECT_EQ(clip->Close(), 0);
    EXPECT_EQ(log.Text(), "");
    ExpectHeldBackDelivered(gate, EBADF);
}

// The numbers come back in another order, and lead to the same file.
TEST_F(SlowFile, IsTakenUpAgainUnderItsReads) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    const LogCapture log;
    GatedReads gate;
    ASSERT_NO_FATAL_FAILURE(HoldBack(gate, kFrames));
    EXPECT_EQ(clip->Quiet(), 0);
    EXPECT_EQ(clip->Reopen(), 0);
    ExpectHeldBackDelivered(gate, 0);
    EXPECT_EQ(log.Text(), "");
}

// The reads are for a length that the file in its place does not have.
TEST_F(SlowFile, IsReplacedByAnEmptyOneAndTakenUpAgainUnderItsReads) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    const LogCapture log;
    GatedReads gate;
    ASSERT_NO_FATAL_FAILURE(HoldBack(gate, kFrames));
    cache.Forget();
    kvx_test::WriteFile(directory.File("other"), "");
    ASSERT_EQ(std::rename(directory.File("other").c_str(), Path().c_str()), 0);
    EXPECT_EQ(clip->Quiet(), 0);
    EXPECT_EQ(clip->Reopen(), 0);
    gate.LetAll();
    for (Frame& frame : mHeldBack) {
        EXPECT_TRUE(HasEnded(frame));
        ExpectUnanswered(std::move(frame));
    }
    mHeldBack.clear();
}

}  // namespace
