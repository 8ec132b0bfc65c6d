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
const kvx_cli::InputFiles kNoInputs;

kvx_cli::RawLayout LayoutOf(uint32_t format) {
    return {format, 2, 2};
}

const PixelBufferView kView = {PrPixelFormat_UYVY_422_8u_601, 2, 2, 6, 12, gPixels};

TEST(CliRawOutput, AsksForTheHostsTwinOfTheFilesFormatOrTheImportersOwn) {
    EXPECT_EQ(RawOutput("-", kNoInputs, LayoutOf(FourCharCode("v210")), false, kvx_cli::FrameName)
                  .Format(),
              PrPixelFormat_V210_422_10u_601);
    EXPECT_EQ(RawOutput("-", kNoInputs, LayoutOf(FourCharCode("v210")), true, kvx_cli::FrameName)
                  .Format(),
              kKVXCustomPixelFormat);
    EXPECT_EQ(RawOutput("-", kNoInputs, LayoutOf(FourCharCode("r210")), false, kvx_cli::FrameName)
                  .Format(),
              kKVXCustomPixelFormat);
}

TEST(CliRawOutput, WritesAFileForEachFrameIntoAFolderThatItMakes) {
    const kvx_test::TempDirectory directory;
    RawOutput output(directory.File("new/frames"), kNoInputs, LayoutOf(FourCharCode("2vuy")), false,
                     kvx_cli::FrameName);
    ASSERT_FALSE(output.Open());
    EXPECT_FALSE(output.Write(7, kView, nullptr));
    EXPECT_FALSE(output.Write(1234567, kView, nullptr));
    EXPECT_EQ(ReadFile(directory.File("new/frames/000007.2vuy")), "ABCDefgh");
    EXPECT_EQ(ReadFile(directory.File("new/frames/1234567.2vuy")), "ABCDefgh");
}

TEST(CliRawOutput, TellsWhyItCannotWrite) {
    const kvx_test::TempDirectory directory;
    const std::string file = directory.File("file");
    kvx_test::WriteFile(file, "x");
    RawOutput onFile(file, kNoInputs, LayoutOf(FourCharCode("2vuy")), false, kvx_cli::FrameName);
    EXPECT_EQ(onFile.Open().words, "cannot write " + file + ": Not a directory");

    RawOutput gone(directory.File("gone"), kNoInputs, LayoutOf(FourCharCode("2vuy")), false,
                   kvx_cli::FrameName);
    ASSERT_FALSE(gone.Open());
    std::filesystem::remove(directory.File("gone"));
    EXPECT_EQ(gone.Write(0, kView, nullptr).words,
              "cannot write " + directory.File("gone/000000.2vuy") + ": No such file or directory");
}

TEST(CliRawOutput, RefusesAHeaderWithoutSense) {
    const kvx_test::TempDirectory directory;
    RawOutput output(directory.File("frames"), kNoInputs, LayoutOf(FourCharCode("r210")), false,
                     kvx_cli::FrameName);
    ASSERT_FALSE(output.Open());
    PixelBufferView view = kView;
    view.format = kKVXCustomPixelFormat;  // and no place for a header
    EXPECT_EQ(output.Write(3, view, nullptr).words, "frame 3 has a header without sense");
}

// Links of the file system do not hide what a name leads to.
TEST(CliFrameOutput, NeverWritesOverAnInput) {
    const kvx_test::TempDirectory directory;
    kvx_test::WriteFile(directory.File("media"), "media");
    kvx_cli::InputFiles inputs;
    inputs.Add(directory.File("media"));
    std::filesystem::create_hard_link(directory.File("media"), directory.File("000001.2vuy"));
    std::filesystem::create_symlink("media", directory.File("000002.2vuy"));
    RawOutput output(directory.Path(), inputs, LayoutOf(FourCharCode("2vuy")), false,
                     kvx_cli::FrameName);
    ASSERT_FALSE(output.Open());
    EXPECT_FALSE(output.Write(0, kView, nullptr));
    for (const int frame : {1, 2}) {
        const kvx_cli::Problem problem = output.Write(frame, kView, nullptr);
        EXPECT_EQ(problem.code, kvx_cli::kExitUsage);
        EXPECT_EQ(problem.words, "cannot write " + directory.File("00000") + std::to_string(frame) +
                                     ".2vuy: this is a file that the movie is read from");
    }
    EXPECT_EQ(ReadFile(directory.File("media")), "media");
}

}  // namespace
