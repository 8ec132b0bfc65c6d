// Which plane and index does each sample land in, and is anything else touched?

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "convert/audio/pcm.h"

namespace {

using KVX::Converter::Audio::PCM;
using KVX::Converter::Audio::SInt24;

constexpr float kGuard = -777.25F;
constexpr unsigned int kGuardFloats = 16;

// Planes with guard values on both sides.
class GuardedPlanes {
  public:
    GuardedPlanes(unsigned int channels, unsigned int frames)
        : mFrames(frames), mStore(channels, std::vector<float>(frames + 2 * kGuardFloats, kGuard)) {
        for (std::vector<float>& plane : mStore) {
            mPlanes.push_back(plane.data() + kGuardFloats);
        }
    }

    float** Get() { return mPlanes.data(); }
    float At(unsigned int plane, unsigned int frame) const { return mPlanes[plane][frame]; }

    bool GuardsIntact() const {
        for (const std::vector<float>& plane : mStore) {
            for (unsigned int i = 0; i < kGuardFloats; ++i) {
                if (plane[i] != kGuard || plane[kGuardFloats + mFrames + i] != kGuard) {
                    return false;
                }
            }
        }
        return true;
    }

    bool Untouched() const {
        for (const std::vector<float>& plane : mStore) {
            for (const float value : plane) {
                if (value != kGuard) {
                    return false;
                }
            }
        }
        return true;
    }

  private:
    unsigned int mFrames;
    std::vector<std::vector<float>> mStore;
    std::vector<float*> mPlanes;
};

// A byte for each place in a buffer, such that neighbours and frames differ.
unsigned char ByteAt(size_t at) {
    return static_cast<unsigned char>(at * 167 + at / 256 * 59 + 13);
}

// The value of the sample whose bytes begin at `at`, by the naive reading of one byte at a time.
template <typename T>
float NaiveSample(size_t at, bool swap) {
    uint64_t word = 0;
    for (size_t i = 0; i < sizeof(T); ++i) {
        const size_t significance = swap ? sizeof(T) - 1 - i : i;
        word |= static_cast<uint64_t>(ByteAt(at + i)) << (8 * significance);
    }
    const int bits = 8 * static_cast<int>(sizeof(T));
    const int64_t value =
        static_cast<int64_t>(word) - (word >> (bits - 1) != 0 ? int64_t{1} << bits : 0);
    return static_cast<float>(value) / static_cast<float>((int64_t{1} << (bits - 1)) - 1);
}

// Converts `frames` frames from a buffer of exactly their bytes, which begins `misalignment` bytes
// into its allocation, and compares all planes. `planeOf` gives the plane of each source channel.
template <typename T>
void CheckPlanes(unsigned int frames, bool swap, KVX::QT::SampleOrder order,
                 const std::vector<unsigned int>& planeOf, size_t misalignment) {
    SCOPED_TRACE(testing::Message() << planeOf.size() << " channels, " << frames << " frames, "
                                    << sizeof(T) << " bytes, swap " << swap << ", order " << order
                                    << ", misalignment " << misalignment);
    const unsigned int channels = static_cast<unsigned int>(planeOf.size());
    const size_t bytes = size_t{frames} * channels * sizeof(T);
    const std::unique_ptr<char[]> source(new char[misalignment + bytes]);
    for (size_t i = 0; i < bytes; ++i) {
        source[misalignment + i] = static_cast<char>(ByteAt(i));
    }
    GuardedPlanes planes(channels, frames);
    PCM::Write<T>(source.get() + misalignment, swap, planes.Get(), channels, frames, order);
    EXPECT_TRUE(planes.GuardsIntact());
    unsigned int wrong = 0;
    for (unsigned int f = 0; f < frames; ++f) {
        for (unsigned int c = 0; c < channels; ++c) {
            const size_t at = (size_t{f} * channels + c) * sizeof(T);
            wrong += planes.At(planeOf[c], f) != NaiveSample<T>(at, swap);
        }
    }
    EXPECT_EQ(wrong, 0U);
    for (size_t i = 0; i < bytes; ++i) {
        ASSERT_EQ(static_cast<unsigned char>(source[misalignment + i]), ByteAt(i));
    }
}

const std::vector<unsigned int> kMono = {0};
const std::vector<unsigned int> kStereo = {0, 1};

// The host's planes are left, right, left surround, right surround, centre, LFE. Each order is its
// list of speakers; the plane of a channel is where the host has that speaker.
enum Speaker : unsigned int { L = 0, R = 1, Ls = 2, Rs = 3, C = 4, Lfe = 5 };
const struct {
    KVX::QT::SampleOrder order;
    std::vector<unsigned int> planeOf;
} kSurround[] = {
    {KVX::QT::SampleOrder51A, {L, R, C, Lfe, Ls, Rs}},
    {KVX::QT::SampleOrder51B, {L, R, Ls, Rs, C, Lfe}},
    {KVX::QT::SampleOrder51C, {L, C, R, Ls, Rs, Lfe}},
    {KVX::QT::SampleOrder51D, {C, L, R, Ls, Rs, Lfe}},
    {KVX::QT::SampleOrderUnknown, {L, R, C, Lfe, Ls, Rs}},
};

TEST(PcmPlanes, EveryLengthUpToSeveralBlocks) {
    for (unsigned int frames = 0; frames <= 200; ++frames) {
        CheckPlanes<SInt24>(frames, true, KVX::QT::SampleOrderMono, kMono, 0);
        CheckPlanes<SInt24>(frames, true, KVX::QT::SampleOrderStereo, kStereo, 0);
        CheckPlanes<SInt24>(frames, false, KVX::QT::SampleOrder51A, kSurround[0].planeOf, 0);
        CheckPlanes<short>(frames, true, KVX::QT::SampleOrderStereo, kStereo, 0);
        CheckPlanes<signed char>(frames, false, KVX::QT::SampleOrderStereo, kStereo, 0);
    }
}

// Four frames at a time and what is left over.
template <typename T>
void CheckLengthsOfCommonForms() {
    for (unsigned int frames = 0; frames <= 70; ++frames) {
        for (size_t misalignment = 0; misalignment < 3; ++misalignment) {
            for (const bool swap : {false, true}) {
                CheckPlanes<T>(frames, swap, KVX::QT::SampleOrderMono, kMono, misalignment);
                CheckPlanes<T>(frames, swap, KVX::QT::SampleOrderStereo, kStereo, misalignment);
                CheckPlanes<T>(frames, swap, KVX::QT::SampleOrder51C, kSurround[2].planeOf,
                               misalignment);
            }
        }
    }
}

TEST(PcmPlanes, EveryLengthOf16BitIntegers) {
    CheckLengthsOfCommonForms<short>();
}

TEST(PcmPlanes, EveryLengthOf32BitIntegers) {
    CheckLengthsOfCommonForms<int>();
}

// Any bits at all, not a number among them, pass in every channel as they are.
TEST(PcmPlanes, EveryLengthOf32BitFloats) {
    for (const auto* planeOf : {&kMono, &kStereo, &kSurround[3].planeOf}) {
        const unsigned int channels = static_cast<unsigned int>(planeOf->size());
        for (unsigned int frames = 0; frames <= 70; ++frames) {
            std::vector<char> source(size_t{frames} * channels * sizeof(float));
            for (size_t i = 0; i < source.size(); ++i) {
                source[i] = static_cast<char>(ByteAt(i) | (i % 12 == 3 ? 0x7F : 0));
            }
            for (const bool swap : {false, true}) {
                GuardedPlanes planes(channels, frames);
                PCM::Write<float>(source.data(), swap, planes.Get(), channels, frames,
                                  KVX::QT::SampleOrder51D);
                EXPECT_TRUE(planes.GuardsIntact());
                for (size_t i = 0; i < size_t{frames} * channels; ++i) {
                    char sample[sizeof(float)];
                    std::memcpy(sample, &planes.Get()[(*planeOf)[i % channels]][i / channels],
                                sizeof(sample));
                    if (swap) {
                        std::reverse(sample, sample + sizeof(sample));
                    }
                    ASSERT_EQ(std::memcmp(sample, &source[i * sizeof(sample)], sizeof(sample)), 0)
                        << channels << " channels, " << frames << " frames, sample " << i;
                }
            }
        }
    }
}

TEST(PcmPlanes, EveryMisalignment) {
    for (size_t misalignment = 0; misalignment < 16; ++misalignment) {
        for (const bool swap : {false, true}) {
            CheckPlanes<short>(150, swap, KVX::QT::SampleOrderStereo, kStereo, misalignment);
            CheckPlanes<SInt24>(150, swap, KVX::QT::SampleOrderStereo, kStereo, misalignment);
            CheckPlanes<short>(150, swap, KVX::QT::SampleOrder51D, kSurround[3].planeOf,
                               misalignment);
            CheckPlanes<SInt24>(150, swap, KVX::QT::SampleOrder51D, kSurround[3].planeOf,
                                misalignment);
        }
    }
}

TEST(PcmPlanes, EveryOrderOfSixChannels) {
    for (const auto& surround : kSurround) {
        for (const unsigned int frames : {1U, 64U, 65U, 301U}) {
            CheckPlanes<signed char>(frames, false, surround.order, surround.planeOf, 0);
            CheckPlanes<short>(frames, false, surround.order, surround.planeOf, 1);
            CheckPlanes<short>(frames, true, surround.order, surround.planeOf, 1);
            CheckPlanes<SInt24>(frames, false, surround.order, surround.planeOf, 1);
            CheckPlanes<SInt24>(frames, true, surround.order, surround.planeOf, 1);
        }
    }
}

// A frame of six whole-number floats shows the channels of the wider types by themselves.
template <typename T>
void CheckWideTypes() {
    for (const auto& surround : kSurround) {
        std::vector<T> source;
        for (int sample = 0; sample < 6 * 100; ++sample) {
            source.push_back(static_cast<T>(sample));
        }
        GuardedPlanes planes(6, 100);
        PCM::Write<T>(reinterpret_cast<char*>(source.data()), false, planes.Get(), 6, 100,
                      surround.order);
        EXPECT_TRUE(planes.GuardsIntact());
        for (unsigned int f = 0; f < 100; ++f) {
            for (unsigned int c = 0; c < 6; ++c) {
                ASSERT_EQ(planes.At(surround.planeOf[c], f), static_cast<float>(6 * f + c));
            }
        }
    }
}

TEST(PcmPlanes, SixChannelsOfFloat) {
    CheckWideTypes<float>();
}

TEST(PcmPlanes, SixChannelsOfDouble) {
    CheckWideTypes<double>();
}

TEST(PcmPlanes, StereoOf32BitTypes) {
    const std::vector<float> floats = {0.25F, -0.5F, 1.5F, -2.0F};
    GuardedPlanes planes(2, 2);
    PCM::Write<float>(reinterpret_cast<char*>(const_cast<float*>(floats.data())), false,
                      planes.Get(), 2, 2, KVX::QT::SampleOrderStereo);
    EXPECT_EQ(planes.At(0, 0), 0.25F);
    EXPECT_EQ(planes.At(1, 0), -0.5F);
    EXPECT_EQ(planes.At(0, 1), 1.5F);
    EXPECT_EQ(planes.At(1, 1), -2.0F);
    EXPECT_TRUE(planes.GuardsIntact());
}

TEST(PcmPlanes, OtherChannelCountsDoNothing) {
    std::vector<char> source(1024, 1);
    for (const unsigned int channels : {0U, 3U, 4U, 5U, 7U, 8U, 0x80000000U, 0xFFFFFFFFU}) {
        GuardedPlanes planes(8, 10);
        PCM::Write<short>(source.data(), false, planes.Get(), channels, 10,
                          KVX::QT::SampleOrderUnknown);
        EXPECT_TRUE(planes.Untouched()) << channels;
    }
}

TEST(PcmPlanes, NoFramesTouchNothing) {
    for (const unsigned int channels : {1U, 2U, 6U}) {
        GuardedPlanes planes(6, 10);
        PCM::Write<SInt24>(nullptr, true, planes.Get(), channels, 0, KVX::QT::SampleOrder51A);
        EXPECT_TRUE(planes.Untouched());
    }
}

}  // namespace
