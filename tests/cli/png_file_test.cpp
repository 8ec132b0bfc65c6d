#include "cli/picture/png_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/png_reader.h"
#include "support/temp_directory.h"

namespace {

using kvx_cli::Picture;
using kvx_test::PngContents;
using kvx_test::ReadPng;

// What went wrong, in words.
std::string WritePng(const std::string& path, const Picture& picture, kvx_cli::PixelAspect aspect) {
    kvx_cli::OutputFile file;
    const kvx_cli::Problem problem = file.Open(path, {});
    return problem ? problem.words : kvx_cli::WritePng(file, picture, {aspect}).words;
}

const Picture kSmall = {2, 2, 8, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}};

TEST(CliPngFile, HoldsThePicture) {
    const kvx_test::TempDirectory directory;
    const std::string path = directory.File("small.png");
    ASSERT_EQ(WritePng(path, kSmall, {}), "");
    const PngContents read = ReadPng(path);
    EXPECT_EQ(read.width, 2);
    EXPECT_EQ(read.height, 2);
    EXPECT_EQ(read.depth, 8);
    EXPECT_EQ(read.channels, 3);
    EXPECT_FALSE(read.hasAspect);
    EXPECT_EQ(read.samples, kSmall.bytes);
}

TEST(CliPngFile, Keeps16Bits) {
    const kvx_test::TempDirectory directory;
    const Picture deep = {1, 2, 16, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}};
    ASSERT_EQ(WritePng(directory.File("deep.png"), deep, {}), "");
    const PngContents read = ReadPng(directory.File("deep.png"));
    EXPECT_EQ(read.depth, 16);
    EXPECT_EQ(read.samples, deep.bytes);
}

// The chunk counts pixels for each unit of length: wide ones are fewer across.
TEST(CliPngFile, NotesTheShapeOfPixels) {
    const kvx_test::TempDirectory directory;
    ASSERT_EQ(WritePng(directory.File("wide.png"), kSmall, {16, 15}), "");
    const PngContents read = ReadPng(directory.File("wide.png"));
    EXPECT_TRUE(read.hasAspect);
    EXPECT_EQ(read.pixelsAcross, 15u);
    EXPECT_EQ(read.pixelsDown, 16u);
}

TEST(CliPngFile, TellsWhyItCannotWrite) {
    const kvx_test::TempDirectory directory;
    EXPECT_EQ(WritePng(directory.File("none/small.png"), kSmall, {}),
              "cannot write " + directory.File("none/small.png") + ": No such file or directory");
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_EQ(WritePng("/dev/full", kSmall, {}),
                  "cannot write /dev/full: No space left on device");
    }
}

TEST(CliPngFile, LeavesNothingHalfWritten) {
    const kvx_test::TempDirectory directory;
    const Picture without = {0, 0, 8, {}};  // PNG has no such picture
    EXPECT_NE(WritePng(directory.File("empty.png"), without, {}), "");
    EXPECT_FALSE(std::filesystem::exists(directory.File("empty.png")));
}

}  // namespace
