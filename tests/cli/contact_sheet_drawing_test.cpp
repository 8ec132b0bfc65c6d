// What is written on a sheet, and how high its waves are.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/picture/contact_sheet.h"

namespace {

using kvx_cli::Picture;
using kvx_cli::SheetContents;
using kvx_cli::SheetFrame;
using kvx_cli::SheetLayout;

constexpr SheetLayout kLayout = {496, 2};
constexpr size_t kWidth = 496;

Picture Draw(SheetContents& contents) {
    Picture sheet;
    EXPECT_EQ(kvx_cli::DrawSheet(contents, kLayout, sheet).words, "");
    return sheet;
}

// A sheet of one black frame of 208 x 104, with these words on it.
Picture DrawWords(const std::string& title, const std::string& facts, const std::string& caption) {
    SheetContents contents;
    contents.title = title;
    contents.facts = {facts};
    contents.frameWidth = 2;
    contents.frameHeight = 1;
    contents.frameCount = 1;
    contents.nextFrame = [&](SheetFrame& frame) {
        frame = {{2, 1, 8, std::vector<uint8_t>(6)}, caption};
        return decltype(contents.nextFrame(frame))();
    };
    return Draw(contents);
}

// First and last row of the pixels that differ; {0, 0} when none do.
std::pair<int, int> RowsThatDiffer(const Picture& one, const Picture& other) {
    EXPECT_EQ(one.bytes.size(), other.bytes.size());
    std::pair<int, int> rows(0, 0);
    for (int row = 0; row < one.height; ++row) {
        const auto begin = one.bytes.begin() + static_cast<long>(row * kWidth * 3);
        if (!std::equal(begin, begin + kWidth * 3,
                        other.bytes.begin() + (begin - one.bytes.begin()))) {
            rows = {rows.first == 0 ? row : rows.first, row};
        }
    }
    return rows;
}

TEST(CliContactSheetDrawing, ShowsTitleFactsAndCaptions) {
    const Picture bare = DrawWords(" ", " ", " ");
    const auto title = RowsThatDiffer(bare, DrawWords("HHH", " ", " "));
    const auto facts = RowsThatDiffer(bare, DrawWords(" ", "HHH", " "));
    const auto caption = RowsThatDiffer(bare, DrawWords(" ", " ", "HHH"));
    // From the top down, each of the height of its capitals, the title's the highest.
    EXPECT_GT(title.first, 0);
    EXPECT_GT(title.second - title.first, facts.second - facts.first);
    EXPECT_GT(facts.first, title.second);
    EXPECT_GT(facts.second - facts.first, 6);
    EXPECT_GT(caption.first, facts.second + 104);
    EXPECT_GT(caption.second - caption.first, 6);
    // And as different words.
    EXPECT_NE(DrawWords("HHI", " ", " ").bytes, DrawWords("HHH", " ", " ").bytes);
    EXPECT_NE(DrawWords(" ", "HHI", " ").bytes, DrawWords(" ", "HHH", " ").bytes);
    EXPECT_NE(DrawWords(" ", " ", "HHI").bytes, DrawWords(" ", " ", "HHH").bytes);
}

// Rows of the wave in the middle of the only lane, for a sound between these two levels.
std::pair<int, int> WaveRows(float low, float high) {
    SheetContents contents;
    contents.sounds.emplace_back(1, 2000, kvx_cli::SheetSoundColumns(kLayout));
    std::vector<float> samples(2000);
    for (size_t index = 0; index < samples.size(); ++index) {
        samples[index] = index % 2 == 0 ? low : high;
    }
    const float* const planes[] = {samples.data()};
    contents.sounds[0].Add(planes, samples.size());
    const Picture sheet = Draw(contents);
    std::pair<int, int> rows(-1, -1);
    for (int row = 0; row < sheet.height; ++row) {
        const uint8_t* const pixel =
            sheet.bytes.data() + (static_cast<size_t>(row) * kWidth + kWidth / 2) * 3;
        // Green, as nothing else on the sheet.
        if (pixel[1] > pixel[0] + 40) {
            rows = {rows.first < 0 ? row : rows.first, row};
        }
    }
    return rows;
}

TEST(CliContactSheetDrawing, WavesAreAsHighAsTheirSound) {
    const auto full = WaveRows(-1, 1);
    const int fullHeight = full.second - full.first + 1;
    // A lane of 64 pixels.
    EXPECT_GE(fullHeight, 59);
    EXPECT_LE(fullHeight, 64);
    const auto half = WaveRows(-0.5F, 0.5F);
    EXPECT_NEAR(half.second - half.first + 1, fullHeight / 2.0, 2);
    EXPECT_NEAR(half.first - full.first, full.second - half.second, 1);
    // The upper half is the positive one.
    const auto upper = WaveRows(0, 1);
    EXPECT_NEAR(upper.first, full.first, 1);
    EXPECT_NEAR(upper.second, (full.first + full.second) / 2.0, 2);
    // What is beyond full scale stays in the lane.
    EXPECT_EQ(WaveRows(-4, 4), full);
}

}  // namespace
