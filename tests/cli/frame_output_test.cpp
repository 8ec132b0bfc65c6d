#include "cli/picture/frame_output.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "core/four_char_code.h"
#include "support/file_tools.h"
#include "support/temp_directory.h"

namespace {

using KVX::Core::FourCharCode;
using kvx_cli::RawOutput;
using kvx_hostkit::PixelBufferView;
using kvx_test::ReadFile;

// Two rows of two pixels, with padding.
char gPixels[] = "ABCD..efgh..";
const PixelBufferView kView = {PrPixelFormat_UYVY_422_8u_601, 2, 2, 6, 12, gPixels};

TEST(CliRawOutput, AsksForTheHostsTwinOfTheFilesFormatOrTheImportersOwn) {
    EXPECT_EQ(RawOutput("-", FourCharCode("v210"), false).Format(), PrPixelFormat_V210_422_10u_601);
    EXPECT_EQ(RawOutput("-", FourCharCode("v210"), true).Format(), kKVXCustomPixelFormat);
    EXPECT_EQ(RawOutput("-", FourCharCode("r210"), false).Format(), kKVXCustomPixelFormat);
}

TEST(CliRawOutput, WritesAFileForEachFrameIntoAFolderThatItMakes) {
    const kvx_test::TempDirectory directory;
    RawOutput output(directory.File("new/frames"), FourCharCode("2vuy"), false);
    ASSERT_EQ(output.Open(), "");
    EXPECT_EQ(output.Write(7, kView), "");
    EXPECT_EQ(output.Write(1234567, kView), "");
    EXPECT_EQ(ReadFile(directory.File("new/frames/000007.2vuy")), "ABCDefgh");
    EXPECT_EQ(ReadFile(directory.File("new/frames/1234567.2vuy")), "ABCDefgh");
}

TEST(CliRawOutput, TellsWhyItCannotWrite) {
    const kvx_test::TempDirectory directory;
    const std::string file = directory.File("file");
    kvx_test::WriteFile(file, "x");
    RawOutput onFile(file, FourCharCode("2vuy"), false);
    EXPECT_EQ(onFile.Open(), "cannot write " + file + ": Not a directory");

    RawOutput gone(directory.File("gone"), FourCharCode("2vuy"), false);
    ASSERT_EQ(gone.Open(), "");
    std::filesystem::remove(directory.File("gone"));
    EXPECT_EQ(gone.Write(0, kView),
              "cannot write " + directory.File("gone/000000.2vuy") + ": No such file or directory");
}

TEST(CliRawOutput, RefusesAHeaderWithoutSense) {
    const kvx_test::TempDirectory directory;
    RawOutput output(directory.File("frames"), FourCharCode("r210"), false);
    ASSERT_EQ(output.Open(), "");
    PixelBufferView view = kView;
    view.format = kKVXCustomPixelFormat;  // and no place for a header
    EXPECT_EQ(output.Write(3, view), "frame 3 has a header without sense");
}

}  // namespace
