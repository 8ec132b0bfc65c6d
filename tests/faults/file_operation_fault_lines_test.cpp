// Files are moved and deleted while a call of the system fails. The file stays where it is.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "faults/fault_rows.h"
#include "faults/module_stage.h"
#include "host/entry.h"

namespace {

namespace fs = std::filesystem;

using kvx_hostkit::Importer;
using kvx_test::FaultRow;
using kvx_test::HostCall;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::SystemCall;

class FileOperationFaultLines : public testing::Test {
  protected:
    // Makes the file, and tells after the call that it is still there.
    HostCall Call(const std::function<long()>& make, bool staysThere) {
        return {[this] { fs::copy_file(movies.good, from); }, make,
                [this, staysThere] {
                    EXPECT_EQ(fs::exists(from), staysThere);
                    fs::remove(from);
                    fs::remove(to);
                }};
    }

    HostCall Save(bool staysThere) {
        return Call([this] { return importer.SaveFile(from, to); }, staysThere);
    }

    HostCall Delete(bool staysThere) {
        return Call([this] { return importer.DeleteFile(from); }, staysThere);
    }

    const StageMovies movies;
    ModuleStage stage{movies};
    const Importer importer{stage.host, {&xImportEntry, &AsyncImportEntry}};
    const std::string from = movies.directory.Path() + "/from.mov";
    const std::string to = movies.directory.Path() + "/to.mov";
};

TEST_F(FileOperationFaultLines, OfSaving) {
    const std::string noString = "SaveFile8: CFStringCreateWithCharacters failed\n";
    const std::string noUrl = "SaveFile8: CFURLCreateWithFileSystemPath failed\n";
    const std::string noRef = "SaveFile8: CFURLGetFSRef failed\n";
    std::vector<FaultRow> rows;
    // A string is an object and its text.
    for (const SystemCall call : {SystemCall::kMalloc, SystemCall::kNewNothrow}) {
        const std::vector<FaultRow> strings = {
            {"the source's path", call, 1, ENOMEM, 4, noString},
            {"the destination's path", call, 2, ENOMEM, 4, noString},
            // The text that is looked for.
            {"the slash", call, 3, ENOMEM, 2, "SaveFile8: CFStringFind failed\n"},
            {"the directory's path", call, 4, ENOMEM, 4, noString},
            {"the new name", call, 5, ENOMEM, 4, noString},
        };
        rows.insert(rows.end(), strings.begin(), strings.end());
    }
    const std::vector<FaultRow> files = {
        {"the source's URL", SystemCall::kNew, 1, ENOMEM, 4, noUrl},
        {"the directory's URL", SystemCall::kNew, 2, ENOMEM, 4, noUrl},
        // References are kept in a table under a lock.
        {"the source's reference", SystemCall::kMutexLock, 1, 35, 2, noRef},
        {"the directory's reference", SystemCall::kMutexLock, 2, 35, 2, noRef},
        {"looking up the source", SystemCall::kMutexLock, 3, 35, -36,
         "SaveFile8: FSMoveObjectSync returned -36\n"},
        {"looking up the directory", SystemCall::kMutexLock, 4, 35, -36,
         "SaveFile8: FSMoveObjectSync returned -36\n"},
    };
    rows.insert(rows.end(), files.begin(), files.end());
    ASSERT_EQ(importer.DeleteFile(movies.directory.Path() + "/nothing"), 2);  // makes the table
    ExpectRows(Save(true), rows);
    ExpectARowForEveryCall(Save(false), rows);
}

TEST_F(FileOperationFaultLines, OfDeleting) {
    const std::string noString = "DeleteFile8: CFStringCreateWithCharacters failed\n";
    const std::vector<FaultRow> rows = {
        {"the path's text", SystemCall::kMalloc, 1, ENOMEM, 4, noString},
        {"the path's string", SystemCall::kNewNothrow, 1, ENOMEM, 4, noString},
        {"the URL", SystemCall::kNew, 1, ENOMEM, 4,
         "DeleteFile8: CFURLCreateWithFileSystemPath failed\n"},
        {"the reference", SystemCall::kMutexLock, 1, 35, 2, "DeleteFile8: CFURLGetFSRef failed\n"},
        {"looking it up", SystemCall::kMutexLock, 2, 35, -36,
         "DeleteFile8: FSDeleteObject returned -36\n"},
    };
    ASSERT_EQ(importer.SaveFile(movies.picture, movies.picture), 0);  // makes the table
    ExpectRows(Delete(true), rows);
    ExpectARowForEveryCall(Delete(false), rows);
}

}  // namespace
