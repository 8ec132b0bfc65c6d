// A quiet file is taken up again, quieted and closed while a call of the system fails: the host is
// answered 0 in all cases, and the log tells, line by line.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "faults/fault_rows.h"
#include "faults/module_stage.h"
#include "host/entry.h"
#include "support/leak_scope.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::Importer;
using kvx_test::FaultRow;
using kvx_test::HostCall;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::SystemCall;

const std::string kLockFailed = "Lock: pthread_mutex_lock returned 35\nLock: Lock returned 35\n";

class ReopenFaultLines : public testing::Test {
  protected:
    void OpenClip() {
        clip = std::make_unique<Clip>(importer, movies.picture);
        ASSERT_EQ(clip->Open(), 0);
    }

    HostCall Reopen() {
        return {[this] {
                    OpenClip();
                    ASSERT_EQ(clip->Quiet(), 0);
                },
                [this] { return clip->Reopen(); }, [this] { clip.reset(); }};
    }

    const StageMovies movies;
    ModuleStage stage{movies};
    const Importer importer{stage.host, {&xImportEntry, &AsyncImportEntry}};
    std::unique_ptr<Clip> clip;
};

// Sound, picture, timecode: the first that fails ends the walk.
TEST_F(ReopenFaultLines, OfTheTracksFiles) {
    std::vector<FaultRow> rows;
    const char* const tracks[] = {"audio", "video", "timecode"};
    for (int nth = 1; nth <= 3; ++nth) {
        const std::string told = std::string(" opening ") + tracks[nth - 1] + " track file\n";
        rows.push_back({"open", SystemCall::kOpen, nth, EACCES, 0,
                        "OpenFile: open returned 13\nOpenFile: Got error 22" + told});
        rows.push_back({"open without a free descriptor", SystemCall::kOpen, nth, EMFILE, 0,
                        "OpenFile: open returned 24\nOpenFile: Got error 22" + told});
        rows.push_back({"open a file that has gone", SystemCall::kOpen, nth, ENOENT, 0,
                        "OpenFile: open returned 2\nOpenFile: Got error 22" + told});
        rows.push_back({"size", SystemCall::kFstat, nth, EIO, 0,
                        "OpenFile: fstat returned 5\nOpenFile: Got error -1" + told});
        rows.push_back({"uncached reads", SystemCall::kFileAdvice, nth, 22, 0,
                        "OpenFile: fcntl returned 22\nOpenFile: Got error 22" + told});
    }
    ExpectRows(Reopen(), rows);
    ExpectARowForEveryCall(Reopen(), rows, {SystemCall::kOnce, SystemCall::kMutexLock});
}

// A registry that cannot be asked knows of no object: the host gets a second one, and cannot give
// the first one back.
TEST_F(ReopenFaultLines, OfTheRegistry) {
    const kvx_test::LeakScope losesAnObject;
    ExpectRows(Reopen(), {{"asking", SystemCall::kOnce, 1, 22, 0,
                           "Call: pthread_once returned 22\n"
                           "GetInstanceForIndex: Skipping because static initialisation failed\n"},
                          {"locking", SystemCall::kMutexLock, 1, 35, 0,
                           kLockFailed + "GetInstanceForIndex: Lock returned 35\n"}});
}

// A file that was only read closes well enough.
TEST_F(ReopenFaultLines, OfQuieting) {
    const HostCall quiet = {[this] { OpenClip(); }, [this] { return clip->Quiet(); },
                            [this] { clip.reset(); }};
    const std::vector<FaultRow> rows = {
        {"audio", SystemCall::kClose, 1, EIO, 0, ""},
        {"video", SystemCall::kClose, 2, EIO, 0, ""},
        {"timecode", SystemCall::kClose, 3, EIO, 0, ""},
    };
    ExpectRows(quiet, rows);
    ExpectARowForEveryCall(quiet, rows);
}

TEST_F(ReopenFaultLines, OfClosing) {
    const HostCall close = {[this] { OpenClip(); }, [this] { return clip->Close(); },
                            [this] { clip.reset(); }};
    const std::vector<FaultRow> rows = {
        {"audio", SystemCall::kClose, 1, EIO, 0, ""},
        {"video", SystemCall::kClose, 2, EIO, 0, ""},
        {"timecode", SystemCall::kClose, 3, EIO, 0, ""},
        {"leaving the registry", SystemCall::kMutexLock, 1, 35, 0, kLockFailed},
    };
    ExpectRows(close, rows);
    ExpectARowForEveryCall(close, rows);
}

}  // namespace
