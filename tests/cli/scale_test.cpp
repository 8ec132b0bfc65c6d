#include "cli/picture/scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using kvx_cli::Picture;
using kvx_hostkit::PixelBufferView;

struct Frame {
    Frame(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w * h) * 4) {
        std::mt19937 random(static_cast<unsigned>(w * 1000 + h));
        for (char& byte : pixels) {
            byte = static_cast<char>(random());
        }
    }
    PixelBufferView View() {
        return {PrPixelFormat_BGRA_4444_8u, width, height, width * 4, pixels.size(), pixels.data()};
    }
    // Component 0 is red; row 0 the highest.
    int At(int x, int y, int component) const {
        return static_cast<uint8_t>(
            pixels[static_cast<size_t>(((height - 1 - y) * width + x) * 4 + 2 - component)]);
    }
    int width;
    int height;
    std::vector<char> pixels;
};

// What lies under a pixel, by its parts.
double Mean(const Frame& frame, int width, int height, int x, int y, int component) {
    const double across = double{1} * frame.width / width;
    const double down = double{1} * frame.height / height;
    double sum = 0;
    for (int row = 0; row < frame.height; ++row) {
        const double high = std::min((y + 1) * down, row + 1.0) - std::max(y * down, row + 0.0);
        for (int column = 0; column < frame.width && high > 0; ++column) {
            const double wide =
                std::min((x + 1) * across, column + 1.0) - std::max(x * across, column + 0.0);
            sum += wide > 0 ? wide * high * frame.At(column, row, component) : 0;
        }
    }
    return sum / (across * down);
}

TEST(CliScale, EachPixelIsTheMeanOfItsArea) {
    for (const auto& [width, height] : {std::pair(31, 17), {30, 16}, {10, 17}, {7, 3}, {1, 1}}) {
        Frame frame(31, 17);
        const Picture small = kvx_cli::ScaledDown(frame.View(), width, height);
        ASSERT_EQ(small.width, width);
        ASSERT_EQ(small.height, height);
        ASSERT_EQ(small.bytes.size(), static_cast<size_t>(width * height * 3));
        double worst = 0;
        for (int place = 0; place < width * height * 3; ++place) {
            const double mean =
                Mean(frame, width, height, place / 3 % width, place / 3 / width, place % 3);
            worst = std::max(worst, std::abs(mean - small.bytes[static_cast<size_t>(place)]));
        }
        // Ends of areas are taken to 1/256 of a pixel.
        EXPECT_LT(worst, width == 31 ? 0.01 : 2.0) << width;
    }
}

TEST(CliScale, WhiteStaysWhiteAndAHugeFrameOverflowsNothing) {
    Frame frame(4096, 2160);
    std::fill(frame.pixels.begin(), frame.pixels.end(), '\xFF');
    for (const auto& [width, height] : {std::pair(1, 1), {333, 187}}) {
        const Picture small = kvx_cli::ScaledDown(frame.View(), width, height);
        EXPECT_TRUE(std::all_of(small.bytes.begin(), small.bytes.end(),
                                [](uint8_t byte) { return byte == 255; }));
    }
}

}  // namespace
