#include "cli/picture/png_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/failing_new.h"
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

// Whichever allocation fails on this thread while others compress earlier slices: the picture is
// refused or complete, and no thread touches what is gone.
TEST(CliPngFile, TellsThatThereIsNotEnoughMemoryToBegin) {
    constexpr int kWidth = 3000;
    constexpr int kHeight = 1000;  // 35 slices
    const kvx_test::TempDirectory directory;
    const Picture large = {kWidth, kHeight, 8, std::vector<uint8_t>(size_t{3} * kWidth * kHeight)};
    kvx_cli::WorkerPool pool(2);
    bool isComplete = false;
    int refusals = 0;
    for (int number = 0; !isComplete; ++number) {
        std::optional<kvx_cli::PngEncoding> encoding;
        kvx_cli::PictureRows rows = RowsOf(large);
        bool hasThrown = false;
        try {
            const kvx_test::FailingNew failing(number);
            encoding.emplace(pool, std::move(rows), kvx_cli::PngSettings());
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
        isComplete = !kvx_test::FailingNew::HasFailed();
        if (!hasThrown) {
            kvx_cli::OutputFile file;
            ASSERT_FALSE(file.Open(directory.File("large.png"), {}));
            const std::string words = encoding->WriteInto(file).words;
            EXPECT_EQ(words, isComplete ? "" : "there is not enough memory for its pictures");
            refusals += isComplete ? 0 : 1;
        }
    }
    EXPECT_GT(refusals, 0);
}

}  // namespace
