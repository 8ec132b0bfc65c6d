#include "cli/raw_output.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/file_tools.h"
#include "support/temp_directory.h"

namespace {

using kvx_cli::RawOutput;
using kvx_test::ReadFile;

TEST(CliRawOutput, WritesAFileForEachFrameIntoAFolderThatItMakes) {
    const kvx_test::TempDirectory directory;
    RawOutput output(directory.File("new/frames"), "v210");
    ASSERT_TRUE(output.Open()) << output.Problem();
    EXPECT_TRUE(output.Write(7, {{"abcd", 3}, {"xyz", 2}}));
    EXPECT_TRUE(output.Write(1234567, {{"q", 1}}));
    EXPECT_EQ(ReadFile(directory.File("new/frames/000007.v210")), "abcxy");
    EXPECT_EQ(ReadFile(directory.File("new/frames/1234567.v210")), "q");
}

TEST(CliRawOutput, TellsWhyItCannotWrite) {
    const kvx_test::TempDirectory directory;
    const std::string file = directory.File("file");
    kvx_test::WriteFile(file, "x");
    RawOutput onFile(file, "v210");
    EXPECT_FALSE(onFile.Open());
    EXPECT_EQ(onFile.Problem(), "cannot write " + file + ": Not a directory");

    RawOutput gone(directory.File("gone"), "v210");
    ASSERT_TRUE(gone.Open());
    std::filesystem::remove(directory.File("gone"));
    EXPECT_FALSE(gone.Write(0, {{"a", 1}}));
    EXPECT_EQ(gone.Problem(),
              "cannot write " + directory.File("gone/000000.v210") + ": No such file or directory");
}

}  // namespace
