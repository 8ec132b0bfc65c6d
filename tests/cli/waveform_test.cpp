#include "cli/sound/waveform.h"

#include <gtest/gtest.h>

namespace {

using kvx_cli::SampleRange;
using kvx_cli::Waveform;

TEST(CliWaveform, KeepsTheExtremesOfEachStretch) {
    Waveform wave(2, 6, 3);
    const float left[] = {0.5F, -0.25F, 0, 0, 1, -1};
    const float right[] = {0.125F, 0.25F, -0.5F, -0.5F, 0, 0.75F};
    const float* const first[] = {left, right};
    const float* const second[] = {left + 1, right + 1};
    wave.Add(first, 1);  // in blocks of any length
    wave.Add(second, 5);
    ASSERT_EQ(wave.Channels(), 2);
    const float expected[2][3][2] = {{{-0.25F, 0.5F}, {0, 0}, {-1, 1}},
                                     {{0.125F, 0.25F}, {-0.5F, -0.5F}, {0, 0.75F}}};
    for (int channel = 0; channel < 2; ++channel) {
        for (size_t column = 0; column < 3; ++column) {
            EXPECT_EQ(wave.Columns(channel)[column].low, expected[channel][column][0]);
            EXPECT_EQ(wave.Columns(channel)[column].high, expected[channel][column][1]);
        }
    }
}

TEST(CliWaveform, HasNothingWhereThereIsNoSound) {
    Waveform wave(1, 2, 4);
    const float samples[] = {0.5F, 0.5F, -0.5F};
    const float* const planes[] = {samples};
    wave.Add(planes, 3);  // one more than it was said to have
    EXPECT_EQ(wave.Columns(0)[0].high, 0.5F);
    EXPECT_GT(wave.Columns(0)[1].low, wave.Columns(0)[1].high);
    EXPECT_EQ(wave.Columns(0)[2].low, -0.5F);
}

}  // namespace
