// Sounds beside each other in one.
#include "cli/sound/joined_sound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using kvx_cli::JoinedSound;
using kvx_cli::Problem;
using kvx_cli::SoundSource;
using kvx_cli::WavFormat;

// One channel of 16 bits whose samples are all `value`. Says that `told` come, and hands out
// `there`.
class SteadySound : public SoundSource {
  public:
    SteadySound(uint8_t value, uint64_t told, uint64_t there)
        : mValue(value), mTold(told), mLeft(there) {
        mFormat.channels = 1;
        mFormat.sampleRate = 48000;
        mFormat.bits = 16;
        mFormat.isFloat = false;
    }

    const WavFormat& Format() const override { return mFormat; }
    uint64_t Frames() const override { return mTold; }
    size_t ReadBlock(std::vector<uint8_t>& block) override {
        const auto frames = static_cast<size_t>(std::min<uint64_t>(mLeft, kBlockFrames));
        mLeft -= frames;
        block.assign(2 * frames, mValue);
        return frames;
    }
    const Problem& GetProblem() const override { return mProblem; }
    bool HasTimedOut() const override { return false; }

  private:
    WavFormat mFormat;
    uint8_t mValue;
    uint64_t mTold;
    uint64_t mLeft;
    Problem mProblem;
};

std::unique_ptr<JoinedSound> Join(uint64_t shortTold, uint64_t shortThere, uint64_t longFrames) {
    std::vector<std::unique_ptr<SoundSource>> sources;
    sources.push_back(std::make_unique<SteadySound>(1, shortTold, shortThere));
    sources.push_back(std::make_unique<SteadySound>(2, longFrames, longFrames));
    return std::make_unique<JoinedSound>(std::move(sources));
}

constexpr uint64_t kBlock = SoundSource::kBlockFrames;

TEST(CliJoinedSound, EndsTheShorterInSilence) {
    const auto joined = Join(kBlock + 1, kBlock + 1, 2 * kBlock + 2);
    EXPECT_EQ(joined->Frames(), 2 * kBlock + 2);
    std::vector<uint8_t> all;
    std::vector<uint8_t> block;
    while (joined->ReadBlock(block) != 0) {
        all.insert(all.end(), block.begin(), block.end());
    }
    EXPECT_FALSE(joined->GetProblem());
    ASSERT_EQ(all.size(), 4 * (2 * kBlock + 2));
    for (size_t frame = 0; frame < 2 * kBlock + 2; ++frame) {
        const uint8_t first = frame < kBlock + 1 ? 1 : 0;
        const std::vector<uint8_t> expected = {first, first, 2, 2};
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), &all[4 * frame])) << frame;
    }
}

// Silence would hide that the file was cut off while it was read.
TEST(CliJoinedSound, FailsWhereASoundEndsBeforeItsEnd) {
    for (const uint64_t there : {uint64_t{0}, kBlock - 1, kBlock}) {
        const auto joined = Join(kBlock + 1, there, 2 * kBlock);
        std::vector<uint8_t> block;
        while (joined->ReadBlock(block) != 0) {
        }
        EXPECT_EQ(joined->GetProblem().code, kvx_cli::kExitFailed) << there;
        EXPECT_EQ(joined->GetProblem().words, "it has become shorter meanwhile");
    }
}

}  // namespace
