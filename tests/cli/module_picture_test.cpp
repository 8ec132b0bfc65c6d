// Picture files of a movie's frames, component by component beside the module's own pixels.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cli/picture/frame_reader.h"
#include "cli/picture/picture.h"
#include "cli/picture/png_file.h"
#include "host/host_test.h"
#include "support/png_reader.h"
#include "support/temp_directory.h"

namespace {

using kvx_cli::FrameReader;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::PngContents;

constexpr int kWidth = 16;
constexpr int kHeight = 8;

class CliModulePicture : public kvx_test::HostTest {
  protected:
    CliModulePicture() {
        constexpr uint32_t kFrameSize = 2 * kWidth * kHeight;
        const std::string path = Write(kvx_test::MovieOf(
            {kvx_test::VideoTrackRecipe({"2vuy", kWidth, kHeight, 24}, kFrameSize, 2)}));
        mClip = std::make_unique<kvx_hostkit::Clip>(importer, path);
        EXPECT_EQ(mClip->Open(), 0);
    }

    std::unique_ptr<kvx_hostkit::Clip> mClip;
};

// What the host has at a place that is counted from the top left, scaled to the picture's white.
template <typename Component>
int64_t Expected(const PixelBufferView& view, int x, int y, int channel, int64_t hostWhite,
                 int64_t white) {
    Component pixel[4];
    std::memcpy(
        pixel,
        view.pixels + (view.height - 1 - y) * view.rowBytes + x * static_cast<int>(sizeof pixel),
        sizeof pixel);
    return (2 * pixel[2 - channel] * white + hostWhite) / (2 * hostWhite);
}

TEST_F(CliModulePicture, HasTheModulesPixels) {
    const kvx_test::TempDirectory directory;
    for (const int depth : {8, 16}) {
        FrameReader reader(*mClip, {1}, {kvx_cli::PictureFormat(depth)}, std::chrono::seconds(30));
        ASSERT_FALSE(reader.Start());
        FrameReader::Frame frame;
        ASSERT_TRUE(reader.Next(frame)) << reader.GetProblem().words;
        ASSERT_NE(frame.ppix, nullptr) << frame.failure;
        const PixelBufferView view = PixelBuffers::View(frame.ppix);
        const std::string path = directory.File("frame.png");
        kvx_cli::OutputFile file;
        ASSERT_FALSE(file.Open(path, {}));
        ASSERT_FALSE(kvx_cli::WritePng(file, kvx_cli::PictureOf(view), {}));
        const PngContents png = kvx_test::ReadPng(path);

        EXPECT_EQ(png.depth, depth);
        const auto bytes = static_cast<size_t>(depth / 8);
        ASSERT_EQ(png.samples.size(), bytes * 3 * kWidth * kHeight);
        size_t index = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                for (int channel = 0; channel < 3; ++channel, index += bytes) {
                    if (depth == 8) {
                        ASSERT_EQ(png.samples[index],
                                  Expected<uint8_t>(view, x, y, channel, 255, 255));
                    } else {
                        ASSERT_EQ(256 * png.samples[index] + png.samples[index + 1],
                                  Expected<uint16_t>(view, x, y, channel, 32768, 65535));
                    }
                }
            }
        }
    }
}

}  // namespace
