#include "cli/picture/contact_sheet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>

#include "support/png_reader.h"
#include "support/temp_directory.h"

namespace {

using kvx_cli::Picture;
using kvx_cli::SheetContents;
using kvx_cli::SheetFrame;
using kvx_cli::SheetLayout;
using kvx_cli::SpreadFrames;
using kvx_test::PngContents;

// What went wrong, in words.
std::string DrawSheet(const std::string& path, const SheetContents& contents,
                      const SheetLayout& layout) {
    Picture picture;
    kvx_cli::OutputFile file;
    kvx_cli::Problem problem = file.Open(path, {});
    if (!problem) {
        problem = kvx_cli::DrawSheet(contents, layout, picture);
    }
    if (!problem) {
        problem = kvx_cli::WritePng(file, picture, {});
    }
    return problem.words;
}

TEST(CliContactSheet, SpreadsFramesOverTheMovie) {
    EXPECT_EQ(SpreadFrames(0, 12), std::vector<int64_t>());
    EXPECT_EQ(SpreadFrames(3, 12), (std::vector<int64_t>{0, 1, 2}));
    EXPECT_EQ(SpreadFrames(100, 1), (std::vector<int64_t>{50}));
    EXPECT_EQ(SpreadFrames(100, 4), (std::vector<int64_t>{12, 37, 62, 87}));
    EXPECT_EQ(SpreadFrames(10, 4), (std::vector<int64_t>{1, 3, 6, 8}));
    for (const int64_t number : SpreadFrames(std::numeric_limits<int64_t>::max(), 12)) {
        EXPECT_GE(number, 0);
    }
}

Picture Filled(int width, int height, uint8_t red, uint8_t green, uint8_t blue) {
    Picture picture = {width, height, 8, {}};
    for (int pixel = 0; pixel < width * height; ++pixel) {
        picture.bytes.insert(picture.bytes.end(), {red, green, blue});
    }
    return picture;
}

int CountOf(const PngContents& png, uint8_t red, uint8_t green, uint8_t blue) {
    int count = 0;
    for (size_t sample = 0; sample + 2 < png.samples.size(); sample += 3) {
        count += png.samples[sample] == red && png.samples[sample + 1] == green &&
                 png.samples[sample + 2] == blue;
    }
    return count;
}

// Three frames on two rows, pixels twice as wide as high, and a sound that fills its lane.
TEST(CliContactSheet, ShowsEveryFrameInItsShapeAndTheSound) {
    const kvx_test::TempDirectory directory;
    const SheetLayout layout = {496, 2};  // two of 208 beside each other
    SheetContents contents;
    contents.title = "title";
    contents.facts = {"facts"};
    contents.aspect = {2, 1};
    contents.frameWidth = 20;
    contents.frameHeight = 10;
    contents.frameCount = 3;
    const std::vector<SheetFrame> frames = {{Filled(20, 10, 255, 0, 0), "a"},
                                            {Filled(20, 10, 0, 255, 0), "b"},
                                            {Filled(20, 10, 0, 0, 255), "c"}};
    size_t next = 0;
    contents.nextFrame = [&](SheetFrame& frame) {
        frame = frames.at(next++ % frames.size());
        return kvx_cli::Problem();
    };
    ASSERT_EQ(DrawSheet(directory.File("silent.png"), contents, layout), "");
    const PngContents silent = kvx_test::ReadPng(directory.File("silent.png"));
    EXPECT_EQ(silent.width, 496);
    for (const auto& colour : {std::array<uint8_t, 3>{255, 0, 0}, {0, 255, 0}, {0, 0, 255}}) {
        EXPECT_EQ(CountOf(silent, colour[0], colour[1], colour[2]), 208 * 52);
    }

    contents.sounds.emplace_back(1, 1000, kvx_cli::SheetSoundColumns(layout));
    std::vector<float> loud(1000);
    for (size_t frame = 0; frame < loud.size(); ++frame) {
        loud[frame] = frame % 2 == 0 ? 1.0F : -1.0F;
    }
    const float* const planes[] = {loud.data()};
    contents.sounds[0].Add(planes, loud.size());
    ASSERT_EQ(DrawSheet(directory.File("loud.png"), contents, layout), "");
    const PngContents withSound = kvx_test::ReadPng(directory.File("loud.png"));
    EXPECT_EQ(withSound.width, 496);
    EXPECT_GT(withSound.height, silent.height);
    // The lane's middle, from the left edge to the right.
    const size_t row = static_cast<size_t>(withSound.height) - 16 - 4 - 32;
    const uint8_t* const middle = withSound.samples.data() + row * 496 * 3;
    for (size_t x = 33; x < 496 - 33; ++x) {
        ASSERT_GT(middle[x * 3 + 1], 150) << x;
    }
    EXPECT_LT(middle[20 * 3 + 1], 50);
}

TEST(CliContactSheet, TellsWhyItCannotWrite) {
    const kvx_test::TempDirectory directory;
    SheetContents contents;
    EXPECT_EQ(DrawSheet(directory.File("none/sheet.png"), contents, {}),
              "cannot write " + directory.File("none/sheet.png") + ": No such file or directory");
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_EQ(DrawSheet("/dev/full", contents, {}),
                  "cannot write /dev/full: No space left on device");
    }
    contents.frameCount = 100000;
    EXPECT_EQ(DrawSheet(directory.File("high.png"), contents, {16000, 1})
                  .rfind("cannot draw a sheet of 16000 x ", 0),
              0u);
}

TEST(CliContactSheet, IsNotMadeWithoutItsFrames) {
    const kvx_test::TempDirectory directory;
    SheetContents contents;
    contents.frameCount = 2;
    int asked = 0;
    contents.nextFrame = [&asked](SheetFrame& frame) {
        frame.picture = Filled(1, 1, 1, 2, 3);
        return ++asked == 2 ? kvx_cli::Problem(kvx_cli::kExitFailed, "the second is missing")
                            : kvx_cli::Problem();
    };
    EXPECT_EQ(DrawSheet(directory.File("sheet.png"), contents, {}), "the second is missing");
    EXPECT_FALSE(std::filesystem::exists(directory.File("sheet.png")));
}

// Crossed out, between the frames that there are.
TEST(CliContactSheet, MarksAFrameThatIsMissing) {
    const kvx_test::TempDirectory directory;
    SheetContents contents;
    contents.frameWidth = 20;
    contents.frameHeight = 10;
    contents.frameCount = 2;
    int asked = 0;
    contents.nextFrame = [&asked](SheetFrame& frame) {
        if (++asked == 2) {
            frame.picture = Filled(20, 10, 0, 255, 0);
        }
        frame.caption = "frame";
        return kvx_cli::Problem();
    };
    ASSERT_EQ(DrawSheet(directory.File("sheet.png"), contents, {496, 2}), "");
    const PngContents sheet = kvx_test::ReadPng(directory.File("sheet.png"));
    EXPECT_EQ(CountOf(sheet, 0, 255, 0), 208 * 104);
    EXPECT_GT(CountOf(sheet, 204, 92, 84), 200);  // the cross
}

// Whatever is written on a sheet stays inside its margins.
TEST(CliContactSheet, TextsStayOnTheSheet) {
    const kvx_test::TempDirectory directory;
    SheetContents contents;
    contents.title = std::string(300, 'W') + ".mov";
    contents.facts = {"one", std::string(300, 'M'), "two", "three"};
    contents.notes = {std::string(300, 'N')};
    ASSERT_EQ(DrawSheet(directory.File("sheet.png"), contents, {496, 2}), "");
    const PngContents sheet = kvx_test::ReadPng(directory.File("sheet.png"));
    const uint8_t* const background = sheet.samples.data();
    for (int y = 0; y < sheet.height; ++y) {
        for (int x = 496 - 31; x < 496; ++x) {
            const size_t place = (static_cast<size_t>(y) * 496 + static_cast<size_t>(x)) * 3;
            ASSERT_TRUE(std::equal(background, background + 3, &sheet.samples[place]))
                << x << ", " << y;
        }
    }
    // Three lines of facts: two of the four share one.
    contents.facts = {"one"};
    ASSERT_EQ(DrawSheet(directory.File("short.png"), contents, {496, 2}), "");
    EXPECT_EQ(sheet.height - kvx_test::ReadPng(directory.File("short.png")).height, 2 * 26);
}

TEST(CliContactSheet, NamesThatAreNotUtf8AreDrawn) {
    const kvx_test::TempDirectory directory;
    // What no character begins with, one that is too long, half of a pair, one beyond the last,
    // and one that is cut off.
    for (const std::string odd :
         {"\xFF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"}) {
        SheetContents contents;
        contents.title = "a" + odd + " b";
        ASSERT_EQ(DrawSheet(directory.File("odd.png"), contents, {496, 2}), "");
        contents.title = "a" + std::string(odd.size(), '?') + " b";
        ASSERT_EQ(DrawSheet(directory.File("plain.png"), contents, {496, 2}), "");
        EXPECT_EQ(kvx_test::ReadPng(directory.File("odd.png")).samples,
                  kvx_test::ReadPng(directory.File("plain.png")).samples)
            << contents.title;
    }
}

TEST(CliContactSheet, RefusesColumnsWithoutRoom) {
    EXPECT_FALSE(kvx_cli::CheckLayout({1600, 20}));
    const kvx_cli::Problem problem = kvx_cli::CheckLayout({400, 20});
    EXPECT_EQ(problem.code, kvx_cli::kExitUsage);
    EXPECT_EQ(problem.words,
              "there is no room for 20 columns in a width of 400 pixels: 6 is the most");
    EXPECT_FALSE(kvx_cli::CheckLayout({400, 6}));
    EXPECT_TRUE(kvx_cli::CheckLayout({400, 7}));
}

}  // namespace
