// An open movie whose file is changed between frames: cut, grown, written over, replaced, removed,
// closed to readers. Which frames still come, with which bytes, and which do not.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "host/changed_file.h"

namespace {

using kvx_test::Bytes;
using kvx_test::Eventually;
using kvx_test::FilePiece;
using kvx_test::LogCapture;
using kvx_test::MovieFileLayout;
using kvx_test::MovieOfPicture;
using kvx_test::ReferencesTo;

bool IsIn(const std::vector<int>& numbers, int number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

class FileChanges : public kvx_test::ChangedFileTest {
  protected:
    // Asks for all frames on all roads. Those that are listed as unanswered stay on their way; for
    // those that are listed as after the end too, a line in the log says so.
    void ExpectFrames(const std::vector<int>& unanswered, const std::vector<int>& behindEnd) {
        for (const PrPixelFormat road : kRoads) {
            for (int index = 0; index < kFrames; ++index) {
                if (!IsIn(unanswered, index)) {
                    ExpectWhole(road, index);
                    continue;
                }
                SCOPED_TRACE(index);
                cache.Forget();
                const LogCapture log;
                Frame frame = Issue(road, index);
                EXPECT_EQ(log.Text(), IsIn(behindEnd, index) ? EndOfFileLine(*frame) : "");
                ExpectUnanswered(std::move(frame));
            }
        }
    }

    // From the page that the frame begins in to the end of the one that it ends in, or to where the
    // file ended when it was opened.
    std::string EndOfFileLine(const KVX::ImportFrame& frame) {
        uint64_t begin = kVideoOffset + mSkew + static_cast<uint64_t>(frame.mFrameIndex) * kPage;
        uint64_t end = begin + kPage;
        while (begin % kPage != 0) {
            --begin;
        }
        while (end % kPage != 0 && end < kEnd + mSkew) {
            ++end;
        }
        char line[200];
        std::snprintf(line, sizeof line, "ExecuteReadTicket: pread(%d, %p, %d, %d) hit EOF\n",
                      track->mFileDescriptor, static_cast<void*>(frame.mReadRequest->mBuffer),
                      static_cast<int>(end - begin), static_cast<int>(begin));
        return line;
    }

    // Another file in the place of the open one, as editors and copies over a network do it.
    void Replace(const std::vector<FilePiece>& pieces) {
        const std::string other = directory.File("other");
        kvx_test::WriteSparseFile(other, pieces);
        ASSERT_EQ(std::rename(other.c_str(), Path().c_str()), 0);
    }

    // Quiet and back: the descriptors are new, and so is what is known of the file's length.
    void TakeUpAgain() {
        const LogCapture log;
        ASSERT_EQ(clip->Quiet(), 0);
        ASSERT_EQ(clip->Reopen(), 0);
        EXPECT_EQ(log.Text(), "");
    }

    // Frames with inverted bytes on the two roads that leave bytes as they are.
    void ExpectInvertedFrame(long index) {
        for (const PrPixelFormat road : {kRoads[0], kRoads[1]}) {
            cache.Forget();
            const LogCapture log;
            const Frame frame = Issue(road, index);
            ExpectDelivered(frame, 0);
            EXPECT_EQ(PixelsOf(*frame), Inverted(Media(index, kPage))) << index;
            EXPECT_EQ(log.Text(), "");
        }
    }

    // Refused before anything is read, for the length that the file had when it was taken up.
    void ExpectTooShort(long index, uint64_t length) {
        const uint64_t offset = kVideoOffset + mSkew + static_cast<uint64_t>(index) * kPage;
        char lines[400];
        std::snprintf(lines, sizeof lines,
                      "Init: File length %u(0x%x) too short for read of 4096(0x1000) bytes from "
                      "offset %u(0x%x)\n"
                      "Create: ReadRequest::Init returned 28\n"
                      "Issue: ReadRequest::Create returned 28\n",
                      static_cast<unsigned>(length), static_cast<unsigned>(length),
                      static_cast<unsigned>(offset), static_cast<unsigned>(offset));
        ExpectRefused(index, 28, lines);
    }

    void ExpectRefused(long index, long status, const std::string& lines) {
        for (const PrPixelFormat road : kRoads) {
            cache.Forget();
            const LogCapture log;
            Frame frame(NewFrame(road, index));
            const long result = frame->Issue();
            EXPECT_EQ(result, status) << index;
            if (result == 0) {
                static_cast<void>(frame.release());  // the pipeline has it
                continue;
            }
            EXPECT_EQ(log.Text(), lines);
            EXPECT_EQ(ReferencesTo(*frame), 1);
            EXPECT_EQ(cache.Additions(), 0);
        }
    }

    // A file that does not open leaves every track closed, from the sound on, which comes first.
    void ExpectClosed(int error) {
        const LogCapture log;
        EXPECT_EQ(clip->Quiet(), 0);
        EXPECT_EQ(clip->Reopen(), 0);
        EXPECT_EQ(log.Text(), "OpenFile: open returned " + std::to_string(error) +
                                  "\nOpenFile: Got error 22 opening audio track file\n");
        char line[100];
        std::snprintf(line, sizeof line, "Issue: Track %p has invalid file descriptor -2\n",
                      static_cast<void*>(track));
        ExpectRefused(0, 22, line);
        ExpectRefused(kFrames - 1, 22, line);
        ExpectNoSound(EBADF);
    }
};

struct Cut {
    uint64_t length;
    std::vector<int> unanswered;
    std::vector<int> behindEnd;
    uint64_t soundThere;
};

// Frame n is the page at 0x11000 + n * 0x1000.
TEST_F(FileChanges, CutWithFramesOnPages) {
    for (const Cut& cut : {
             Cut{0, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 3, 4, 5, 6, 7}, 0},
             Cut{0x10000 + 1001, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 3, 4, 5, 6, 7}, 1001},
             Cut{0x14000 + 2000, {3, 4, 5, 6, 7}, {4, 5, 6, 7}, 4000},  // inside frame 3
             Cut{0x17FFF, {6, 7}, {7}, 4000},
             Cut{0x18000, {7}, {7}, 4000},
             Cut{0x18001, {7}, {}, 4000},
             Cut{0x18FFF, {7}, {}, 4000},  // a byte is gone
             Cut{0x19000, {}, {}, 4000},
         }) {
        SCOPED_TRACE(cut.length);
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
        ASSERT_EQ(truncate(Path().c_str(), static_cast<off_t>(cut.length)), 0);
        ExpectFrames(cut.unanswered, cut.behindEnd);
        ExpectSound(cut.soundThere);
        EndUnanswered();
        // A file that is given back its length has zeros where its bytes were, and frames again.
        ASSERT_EQ(truncate(Path().c_str(), kEnd), 0);
        cache.Forget();
        const LogCapture log;
        const Frame frame = Issue(kRoads[0], 7);
        ExpectDelivered(frame, 0);
        Bytes expected = Media(7, kPage);
        for (uint64_t byte = 0; byte < kPage; ++byte) {
            if (0x18000 + byte >= cut.length) {
                expected[byte] = '\0';
            }
        }
        EXPECT_EQ(PixelsOf(*frame), expected);
        ExpectSound(cut.soundThere);
        EXPECT_EQ(log.Text(), "");
    }
}

// Frame n is read as the pages at 0x11000 + n * 0x1000 and after it, the last as one page and 100
// bytes: a frame is lost with the page that it shares, though its own bytes are all there.
TEST_F(FileChanges, CutWithFramesBesidePages) {
    for (const Cut& cut : {
             Cut{0, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 3, 4, 5, 6, 7}, 0},
             Cut{0x14834, {2, 3, 4, 5, 6, 7}, {4, 5, 6, 7}, 4000},
             Cut{0x18000, {6, 7}, {7}, 4000},
             Cut{0x18FFF, {6, 7}, {}, 4000},
             Cut{0x19000, {7}, {}, 4000},
             Cut{0x19063, {7}, {}, 4000},  // a byte is gone
             Cut{0x19064, {}, {}, 4000},
         }) {
        SCOPED_TRACE(cut.length);
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(100));
        ASSERT_EQ(truncate(Path().c_str(), static_cast<off_t>(cut.length)), 0);
        ExpectFrames(cut.unanswered, cut.behindEnd);
        ExpectSound(cut.soundThere);
        EndUnanswered();
    }
}

// Four reads, of 0x100000 bytes from 0x11000 on three times and of the last 0x20000.
TEST_F(FileChanges, CutInsideAFrameOfSeveralReads) {
    struct LargeCut {
        uint64_t length;
        std::vector<int> readsBehindEnd;
    };
    for (const LargeCut& cut : {LargeCut{0, {0, 1, 2, 3}}, LargeCut{0x11001, {1, 2, 3}},
                                LargeCut{0x190000, {2, 3}}, LargeCut{0x330FFF, {}}}) {
        SCOPED_TRACE(cut.length);
        MovieFileLayout layout;
        layout.movieFirst = true;
        ASSERT_NO_FATAL_FAILURE(
            OpenMovie(MovieOfPicture({"2vuy", 1024, 1600, 0x320000}, 1, kVideoOffset), layout));
        ASSERT_EQ(truncate(Path().c_str(), static_cast<off_t>(cut.length)), 0);
        for (const PrPixelFormat road : kRoads) {
            cache.Forget();
            LogCapture log;
            Frame frame = Issue(road, 0);
            const std::string text = log.Text();
            size_t lines = 0;
            for (const int read : cut.readsBehindEnd) {
                char line[200];
                std::snprintf(line, sizeof line,
                              "ExecuteReadTicket: pread(%d, %p, %d, %d) hit EOF\n",
                              track->mFileDescriptor,
                              static_cast<void*>(frame->mReadRequest->mBuffer + read * 0x100000),
                              read == 3 ? 0x20000 : 0x100000, 0x11000 + read * 0x100000);
                EXPECT_NE(text.find(line), std::string::npos) << line << " in " << text;
                lines += std::string(line).size();
            }
            EXPECT_EQ(text.size(), lines) << text;
            ExpectUnanswered(std::move(frame));
        }
        EndUnanswered();
    }
}

// By the host's own calls: a frame that does not come is a frame that is not found, however often
// it is asked for, and the module closes over it.
TEST_F(FileChanges, AHostGoesOnAndClosesOverFramesThatDoNotCome) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    ASSERT_EQ(truncate(Path().c_str(), 0x14800), 0);
    cache.Forget();
    LogCapture log;
    Frame unanswered = Issue(kRoads[0], 5);
    EXPECT_EQ(log.Text(), EndOfFileLine(*unanswered));
    const std::string before = log.Text();
    ExpectUnanswered(std::move(unanswered));
    imFrameFormat formats[] = {{0, 0, kRoads[0]}};
    PPixHand ppix = nullptr;
    imSourceVideoRec record = {};
    record.frameFormats = formats;
    record.frameFormatCount = 1;
    record.ppix = &ppix;
    record.frameTime = 5 * module->mTicksPerFrame;
    EXPECT_EQ(module->GetFrame(&record), aiFrameNotFound);
    record.frameTime = 2 * module->mTicksPerFrame;
    EXPECT_EQ(module->InitiateAsyncRead(&record), 0);
    ASSERT_TRUE(cache.WaitForFrame(clip->ImporterID(), 2, kvx_test::kPatience));
    EXPECT_EQ(module->GetFrame(&record), aiNoError);
    EXPECT_EQ(Bytes(kvx_hostkit::PixelBuffers::View(ppix).pixels, kPage), Media(2, kPage));
    kvx_hostkit::PixelBuffers::Dispose(ppix);
    modules.clear();
    EXPECT_EQ(clip->Close(), 0);
    EXPECT_EQ(log.Text(), before);
}

// What is known of the file is its length when it was opened. Behind the last frame the read goes
// as far as that, and once the file is taken up again, to the end of the page.
TEST_F(FileChanges, Grown) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(100));
    const Bytes grown(5000, 'g');
    const int file = open(Path().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    ASSERT_EQ(write(file, grown.data(), grown.size()), 5000);
    ASSERT_EQ(close(file), 0);
    ExpectFrames({}, {});
    ExpectSound();
    EXPECT_EQ(Issue(kRoads[0], 7)->mReadRequest->mBufferSize, 0x1064);
    TakeUpAgain();
    EXPECT_EQ(track->mFileSize, 0x19064 + 5000);
    ExpectFrames({}, {});
    ExpectSound();
    EXPECT_EQ(Issue(kRoads[0], 7)->mReadRequest->mBufferSize, 0x2000);
}

// Nothing is kept of a file but its tables: bytes are those that it has now.
TEST_F(FileChanges, WrittenOver) {
    for (const uint64_t skew : {0, 100}) {
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(skew));
        const int file = open(Path().c_str(), O_WRONLY | O_CLOEXEC);
        for (const FilePiece& piece : OtherMedia(skew)) {
            ASSERT_EQ(pwrite(file, piece.bytes.data(), piece.bytes.size(),
                             static_cast<off_t>(piece.offset)),
                      static_cast<ssize_t>(piece.bytes.size()));
        }
        ASSERT_EQ(close(file), 0);
        for (long index = 0; index < kFrames; ++index) {
            ExpectInvertedFrame(index);
        }
        ExpectSound(4000, true);
    }
}

// The open descriptors lead to the old file until it is taken up again. The new file's movie atom
// is not read: the tables are those of the first.
TEST_F(FileChanges, ReplacedByAnother) {
    for (const uint64_t skew : {0, 100}) {
        ASSERT_NO_FATAL_FAILURE(OpenWithSkew(skew));
        Replace(OtherMedia(skew));
        ExpectFrames({}, {});
        ExpectSound();
        TakeUpAgain();
        for (long index = 0; index < kFrames; ++index) {
            ExpectInvertedFrame(index);
        }
        ExpectSound(4000, true);
    }
}

TEST_F(FileChanges, ReplacedByAShorterOne) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(100));
    Replace(OtherMedia(100));
    ASSERT_EQ(truncate(Path().c_str(), 0x14075), 0);
    ExpectFrames({}, {});
    TakeUpAgain();
    for (const long index : {0, 1, 2}) {
        ExpectInvertedFrame(index);
    }
    for (const long index : {3, 4, 5, 6, 7}) {
        ExpectTooShort(index, 0x14075);
    }
    ExpectSound(4000, true);
}

TEST_F(FileChanges, ReplacedByAnEmptyOne) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    Replace({});
    ExpectFrames({}, {});
    ExpectSound();
    TakeUpAgain();
    for (const long index : {0, 7}) {
        ExpectTooShort(index, 0);
    }
    ExpectSound(0);
}

TEST_F(FileChanges, ReplacedByADirectory) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    ASSERT_EQ(unlink(Path().c_str()), 0);
    ASSERT_EQ(mkdir(Path().c_str(), 0755), 0);
    ExpectFrames({}, {});
    ExpectSound();
    ExpectClosed(22);
}

TEST_F(FileChanges, ReplacedByANamedPipe) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    ASSERT_EQ(unlink(Path().c_str()), 0);
    ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
    ExpectFrames({}, {});
    ExpectSound();
    ExpectClosed(22);
}

TEST_F(FileChanges, RemovedAndThereAgain) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    const std::string away = directory.File("away.mov");
    ASSERT_EQ(std::rename(Path().c_str(), away.c_str()), 0);
    ExpectFrames({}, {});
    ExpectSound();
    ExpectClosed(ENOENT);
    ExpectClosed(ENOENT);
    ASSERT_EQ(std::rename(away.c_str(), Path().c_str()), 0);
    TakeUpAgain();
    ExpectFrames({}, {});
    ExpectSound();
}

TEST_F(FileChanges, RemovedForGood) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(100));
    ASSERT_EQ(unlink(Path().c_str()), 0);
    ExpectFrames({}, {});
    ExpectSound();
    ExpectClosed(ENOENT);
    EXPECT_EQ(clip->Close(), 0);
}

// Rights are asked for when a file is opened and never again. The super-user has them all, so the
// test gives up being it for as long as it opens.
TEST_F(FileChanges, ClosedToReaders) {
    ASSERT_NO_FATAL_FAILURE(OpenWithSkew(0));
    ASSERT_EQ(chmod(Path().c_str(), 0), 0);
    const bool isSuperUser = geteuid() == 0;
    constexpr uid_t kNobody = 65534;
    if (isSuperUser && seteuid(kNobody) != 0) {
        GTEST_SKIP() << "the super-user of this system cannot become anybody else";
    }
    ExpectFrames({}, {});
    ExpectSound();
    ExpectClosed(EACCES);
    if (isSuperUser) {
        ASSERT_EQ(seteuid(0), 0);
    }
    ASSERT_EQ(chmod(Path().c_str(), 0644), 0);
    TakeUpAgain();
    ExpectFrames({}, {});
    ExpectSound();
}

}  // namespace
