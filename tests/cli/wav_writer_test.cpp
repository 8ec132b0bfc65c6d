#include "cli/sound/wav_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using kvx_cli::Interleave;
using kvx_cli::WavFormat;
using kvx_cli::WavHeader;
using kvx_cli::WavWriter;

using Bytes = std::vector<uint8_t>;

std::string TagAt(const Bytes& bytes, size_t offset) {
    return std::string(bytes.begin() + static_cast<long>(offset),
                       bytes.begin() + static_cast<long>(offset) + 4);
}

uint64_t NumberAt(const Bytes& bytes, size_t offset, size_t size) {
    uint64_t value = 0;
    for (size_t i = size; i-- > 0;) {
        value = value << 8 | bytes.at(offset + i);
    }
    return value;
}

TEST(CliWavWriter, StereoHeaderIsRiffWithFloatFormat) {
    const Bytes header = WavHeader({2, 48000}, 10);
    ASSERT_EQ(header.size(), 94u);
    EXPECT_EQ(TagAt(header, 0), "RIFF");
    EXPECT_EQ(NumberAt(header, 4, 4), 94u - 8 + 80);
    EXPECT_EQ(TagAt(header, 8), "WAVE");
    EXPECT_EQ(TagAt(header, 12), "JUNK");
    EXPECT_EQ(NumberAt(header, 16, 4), 28u);
    EXPECT_EQ(TagAt(header, 48), "fmt ");
    EXPECT_EQ(NumberAt(header, 52, 4), 18u);
    EXPECT_EQ(NumberAt(header, 56, 2), 3u);           // float
    EXPECT_EQ(NumberAt(header, 58, 2), 2u);           // channels
    EXPECT_EQ(NumberAt(header, 60, 4), 48000u);       // frames a second
    EXPECT_EQ(NumberAt(header, 64, 4), 48000u * 8u);  // bytes a second
    EXPECT_EQ(NumberAt(header, 68, 2), 8u);           // bytes a frame
    EXPECT_EQ(NumberAt(header, 70, 2), 32u);          // bits a sample
    EXPECT_EQ(TagAt(header, 74), "fact");
    EXPECT_EQ(NumberAt(header, 82, 4), 10u);
    EXPECT_EQ(TagAt(header, 86), "data");
    EXPECT_EQ(NumberAt(header, 90, 4), 80u);
}

TEST(CliWavWriter, SixChannelHeaderNamesTheSpeakers) {
    const Bytes header = WavHeader({6, 44100}, 1);
    ASSERT_EQ(header.size(), 116u);
    EXPECT_EQ(NumberAt(header, 4, 4), 116u - 8 + 24);
    EXPECT_EQ(NumberAt(header, 52, 4), 40u);
    EXPECT_EQ(NumberAt(header, 56, 2), 0xFFFEu);  // extensible
    EXPECT_EQ(NumberAt(header, 74, 2), 32u);      // valid bits
    EXPECT_EQ(NumberAt(header, 76, 4), 0x60Fu);
    EXPECT_EQ(NumberAt(header, 80, 4), 3u);  // float again, as the identifier's first part
    EXPECT_EQ(TagAt(header, 108), "data");
}

// 2 channels of 4 bytes: 536,870,901 frames are the last that a 32-bit RIFF size can tell, since
// the header takes 86 bytes of it.
TEST(CliWavWriter, SizesBeyond32BitsMakeRf64) {
    const WavFormat stereo = {2, 48000};
    const uint64_t mostFrames = 536870901;
    const Bytes last = WavHeader(stereo, mostFrames);
    EXPECT_EQ(TagAt(last, 0), "RIFF");
    EXPECT_EQ(NumberAt(last, 4, 4), mostFrames * 8 + 86);

    const Bytes beyond = WavHeader(stereo, mostFrames + 1);
    ASSERT_EQ(beyond.size(), last.size());
    EXPECT_EQ(TagAt(beyond, 0), "RF64");
    EXPECT_EQ(NumberAt(beyond, 4, 4), 0xFFFFFFFFu);
    EXPECT_EQ(TagAt(beyond, 12), "ds64");
    EXPECT_EQ(NumberAt(beyond, 16, 4), 28u);
    EXPECT_EQ(NumberAt(beyond, 20, 8), (mostFrames + 1) * 8 + 86);
    EXPECT_EQ(NumberAt(beyond, 28, 8), (mostFrames + 1) * 8);
    EXPECT_EQ(NumberAt(beyond, 36, 8), mostFrames + 1);
    EXPECT_EQ(NumberAt(beyond, 44, 4), 0u);
    EXPECT_EQ(NumberAt(beyond, 90, 4), 0xFFFFFFFFu);

    const Bytes longer = WavHeader(stereo, uint64_t{1} << 33);
    EXPECT_EQ(NumberAt(longer, 36, 8), uint64_t{1} << 33);
    EXPECT_EQ(NumberAt(longer, 82, 4), 0xFFFFFFFFu);
}

TEST(CliWavWriter, IntegersHaveAHeaderOfTheirOwn) {
    WavFormat format = {2, 48000, 16, false};
    const Bytes plain = WavHeader(format, 10);
    ASSERT_EQ(plain.size(), 92u);
    EXPECT_EQ(NumberAt(plain, 4, 4), 92u - 8 + 40);
    EXPECT_EQ(NumberAt(plain, 52, 4), 16u);
    EXPECT_EQ(NumberAt(plain, 56, 2), 1u);  // integers
    EXPECT_EQ(NumberAt(plain, 64, 4), 48000u * 4u);
    EXPECT_EQ(NumberAt(plain, 68, 2), 4u);
    EXPECT_EQ(NumberAt(plain, 70, 2), 16u);
    format.bits = 24;
    format.isShortAbove16Bits = false;
    const Bytes extensible = WavHeader(format, 10);
    EXPECT_EQ(NumberAt(extensible, 56, 2), 0xFFFEu);
    EXPECT_EQ(NumberAt(extensible, 70, 2), 24u);
    EXPECT_EQ(NumberAt(extensible, 74, 2), 24u);
    EXPECT_EQ(NumberAt(extensible, 76, 4), 3u);  // left and right
    EXPECT_EQ(NumberAt(extensible, 80, 2), 1u);
    format.namesSpeakers = false;
    EXPECT_EQ(NumberAt(WavHeader(format, 10), 76, 4), 0u);
}

// The sizes that 32 bits tell end at the same place, however the samples are.
TEST(CliWavWriter, AByteThatFillsUpCounts) {
    const WavFormat format = {1, 48000, 8, false};
    EXPECT_EQ(NumberAt(WavHeader(format, 3), 4, 4), 92u - 8 + 4);
    EXPECT_EQ(NumberAt(WavHeader(format, 3), 88, 4), 3u);
    const uint64_t mostBytes = 0xFFFFFFFE - (92 - 8);
    EXPECT_EQ(TagAt(WavHeader(format, mostBytes), 0), "RIFF");
    EXPECT_EQ(TagAt(WavHeader(format, mostBytes + 1), 0), "RF64");
}

// 6 channels of 8 bytes at 2^29 frames a second are more bytes than 32 bits tell.
TEST(CliWavWriter, ARateBeyond32BitsIsTheMostThatTheyTell) {
    EXPECT_EQ(NumberAt(WavHeader({6, 1 << 29, 64}, 1), 64, 4), 0xFFFFFFFFu);
    EXPECT_EQ(NumberAt(WavHeader({2, (1 << 29) - 1, 32}, 1), 64, 4), 0xFFFFFFF8u);
}

TEST(CliWavWriter, ABroadcastExtensionStandsBeforeTheFormat) {
    WavFormat format = {2, 48000};
    format.timeReference = 0x123456789AB;
    const Bytes header = WavHeader(format, 10);
    ASSERT_EQ(header.size(), 94u + 610u);
    EXPECT_EQ(TagAt(header, 48), "bext");
    EXPECT_EQ(NumberAt(header, 52, 4), 602u);
    EXPECT_EQ(NumberAt(header, 56 + 338, 8), 0x123456789ABu);
    EXPECT_EQ(TagAt(header, 48 + 610), "fmt ");
    EXPECT_EQ(NumberAt(header, 4, 4), 94u + 610u - 8 + 80);
}

TEST(CliWavWriter, PlanesOfSixChannelsTakeTheFilesOrder) {
    // The host's planes: left, right, left surround, right surround, centre, LFE.
    const float planes[6][2] = {{10, 11}, {20, 21}, {30, 31}, {40, 41}, {50, 51}, {60, 61}};
    const float* pointers[6];
    for (int plane = 0; plane < 6; ++plane) {
        pointers[plane] = planes[plane];
    }
    std::vector<float> interleaved(12);
    Interleave(pointers, 6, 2, interleaved.data());
    EXPECT_EQ(interleaved, (std::vector<float>{10, 20, 50, 60, 30, 40, 11, 21, 51, 61, 31, 41}));
}

TEST(CliWavWriter, PlanesOfStereoAlternate) {
    const float left[] = {1, 2};
    const float right[] = {3, 4};
    const float* pointers[] = {left, right};
    std::vector<float> interleaved(4);
    Interleave(pointers, 2, 2, interleaved.data());
    EXPECT_EQ(interleaved, (std::vector<float>{1, 3, 2, 4}));
}

class CliWavWriterFile : public testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove(mPath); }

    Bytes Content() const {
        std::ifstream file(mPath, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }

    const std::string mPath = testing::TempDir() + "kvx-" + std::to_string(getpid()) + ".wav";
};

TEST_F(CliWavWriterFile, HoldsHeaderAndBlocksInOrder) {
    const float first[] = {1.0f, -0.5f};
    const float second[] = {0.25f};
    WavWriter writer;
    ASSERT_FALSE(writer.Open(mPath, {}, {1, 8000}, 3));
    ASSERT_FALSE(writer.Write(first, 2));
    ASSERT_FALSE(writer.Write(second, 1));
    ASSERT_FALSE(writer.Finish());

    Bytes expected = WavHeader({1, 8000}, 3);
    const size_t start = expected.size();
    expected.resize(start + 12);
    std::memcpy(&expected[start], first, 8);
    std::memcpy(&expected[start + 8], second, 4);
    EXPECT_EQ(Content(), expected);
}

TEST_F(CliWavWriterFile, IsThereWhenItIsWhole) {
    const float samples[4] = {};
    {
        WavWriter writer;
        ASSERT_FALSE(writer.Open(mPath, {}, {1, 8000}, 3));
        ASSERT_FALSE(writer.Write(samples, 2));
        EXPECT_EQ(writer.Finish().words, "it has become shorter meanwhile");
        EXPECT_EQ(writer.Write(samples, 2).words, "it has become longer meanwhile");
        EXPECT_FALSE(std::filesystem::exists(mPath));
    }
    EXPECT_FALSE(std::filesystem::exists(mPath));
}

TEST_F(CliWavWriterFile, TellsWhyItCannotBeMade) {
    WavWriter writer;
    const kvx_cli::Problem problem = writer.Open("/nowhere/at/all.wav", {}, {1, 8000}, 0);
    EXPECT_EQ(problem.words, "cannot write /nowhere/at/all.wav: No such file or directory");
    EXPECT_EQ(problem.code, kvx_cli::kExitFailed);
}

// Its sizes would be those of a short one, in 64 bits too.
TEST_F(CliWavWriterFile, IsNotMadeOfASoundLongerThanAnyFile) {
    const uint64_t frames = (uint64_t{1} << 61) + 10;  // 2^64 + 80 bytes
    WavWriter writer;
    const kvx_cli::Problem problem = writer.Open(mPath, {}, {2, 48000}, frames);
    EXPECT_EQ(problem.code, kvx_cli::kExitRefused);
    EXPECT_EQ(problem.words, "its sound is longer than a file can be");
    EXPECT_FALSE(std::filesystem::exists(mPath));
    EXPECT_TRUE(writer.Open(mPath, {}, {2, 48000}, uint64_t{1} << 60));
}

}  // namespace
