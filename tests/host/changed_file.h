// A movie whose file changes while the module has it open: what the tests of that share.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "pipeline/frame_test.h"

namespace kvx_test {

// In the file lie the movie atom, the sound from kSoundOffset on and the frames of a page each,
// which end the file. With a skew the frames stand beside the pages.
class ChangedFileTest : public FrameTest {
  protected:
    using Frame = Reference<KVX::ImportFrame>;

    static constexpr int kFrames = 8;
    static constexpr uint64_t kPage = 4096;
    static constexpr uint64_t kSoundOffset = 0x10000;
    static constexpr uint32_t kSoundFrames = 1000;  // of four bytes
    static constexpr uint64_t kVideoOffset = 0x11000;
    static constexpr uint64_t kEnd = kVideoOffset + kFrames * kPage;  // without a skew

    // Into the host's pixels, as the importer's own format, and converted; with a skew the first is
    // a copy.
    static constexpr PrPixelFormat kRoads[] = {PrPixelFormat_UYVY_422_8u_601, kKVXCustomPixelFormat,
                                               PrPixelFormat_BGRA_4444_8u};

    static MovieRecipe Recipe(uint64_t skew) {
        return MovieOf({VideoTrackRecipe({"2vuy", 64, 32, 24}, kPage, kFrames, 24000, 1000,
                                         kVideoOffset + skew),
                        Sound({}, kSoundFrames, kSoundOffset)});
    }

    // The same tables with every byte of media turned round.
    static std::vector<FilePiece> OtherMedia(uint64_t skew) {
        std::vector<FilePiece> media = PatternMedia(Recipe(skew));
        for (FilePiece& piece : media) {
            piece.bytes = Inverted(piece.bytes);
        }
        return media;
    }

    static Bytes Inverted(Bytes bytes) {
        for (char& byte : bytes) {
            byte = static_cast<char>(~byte);
        }
        return bytes;
    }

    void OpenWithSkew(uint64_t skew) {
        MovieFileLayout layout;
        layout.mediaOffset = kSoundOffset;
        layout.movieFirst = true;
        ASSERT_NO_FATAL_FAILURE(OpenMovie(Recipe(skew), layout));
        ASSERT_EQ(track->mFileSize, static_cast<long long>(kEnd + skew));
        mSkew = skew;
        for (const PrPixelFormat road : kRoads) {
            mWhole[road].clear();
            for (long index = 0; index < kFrames; ++index) {
                mWhole[road].push_back(PixelsOf(*RunFrame(road, index)));
                if (road != PrPixelFormat_BGRA_4444_8u) {
                    ASSERT_EQ(mWhole[road].back(), Media(index, kPage));
                }
            }
        }
    }

    const std::string& Path() const { return movies.back(); }

    Bytes PixelsOf(const KVX::ImportFrame& frame) {
        const kvx_hostkit::PixelBufferView view = ViewOf(frame);
        if (view.format != kKVXCustomPixelFormat) {
            return {view.pixels, view.dataSize};
        }
        KVX::CustomFrameHeader header;
        std::memcpy(&header, view.pixels, sizeof(header));
        return {view.pixels + header.dataOffset + header.skew, kPage};
    }

    // A frame whose reads have ended, well or not.
    Frame Issue(PrPixelFormat road, long index) {
        Frame frame(NewFrame(road, index));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0) << "frame " << index;
        if (frame->mReadRequest != nullptr) {
            EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame->mReadRequest) == 1; }));
        }
        return frame;
    }

    int AdditionsOf(long index) {
        return cache.AdditionsOf(clip->ImporterID(), static_cast<int32_t>(index));
    }

    void ExpectDelivered(const Frame& frame, long status) {
        EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame) == 1; }));
        EXPECT_EQ(frame->mStatus, status);
        EXPECT_EQ(AdditionsOf(frame->mFrameIndex), 1);
    }

    void ExpectWhole(PrPixelFormat road, long index) {
        SCOPED_TRACE(index);
        cache.Forget();
        const LogCapture log;
        const Frame frame = Issue(road, index);
        ExpectDelivered(frame, 0);
        EXPECT_EQ(PixelsOf(*frame), mWhole[road][static_cast<size_t>(index)]);
        EXPECT_EQ(log.Text(), "");
    }

    // The pipeline still holds the frame by its two references, and nobody will drop them.
    void ExpectUnanswered(Frame frame) {
        EXPECT_EQ(ReferencesTo(*frame), 3);
        EXPECT_FALSE(frame->mReadDone);
        EXPECT_EQ(frame->mReadRequest->mCompletionStatus, 0);
        EXPECT_EQ(AdditionsOf(frame->mFrameIndex), 0);
        mUnanswered.push_back(std::move(frame));
    }

    // Ends what nothing else will, after a look at what is kept: one buffer for each.
    void EndUnanswered() {
        // A frame that the test has let go of may still be on its way to the cache.
        EXPECT_TRUE(Eventually([this] {
            cache.Forget();
            return buffers.LiveCount() == static_cast<int>(mUnanswered.size());
        })) << buffers.LiveCount()
            << " buffers for " << mUnanswered.size() << " frames";
        for (const Frame& frame : mUnanswered) {
            EXPECT_EQ(frame->mReadRequest->Cancel(nullptr), 0);
            EXPECT_EQ(ReferencesTo(*frame), 1);
            EXPECT_EQ(frame->mStatus, 89);
        }
        mUnanswered.clear();
    }

    void TearDown() override {
        EndUnanswered();
        FrameTest::TearDown();
    }

    // The whole sound track. `there` tells how many bytes of it the file still has: the rest is
    // silence.
    void ExpectSound(uint64_t there = kSoundFrames * 4, bool isInverted = false) {
        std::vector<float> left(kSoundFrames, 9.0F);
        std::vector<float> right(kSoundFrames, 9.0F);
        float* planes[] = {left.data(), right.data()};
        const LogCapture log;
        ASSERT_EQ(clip->ReadAudio(0, 0, kSoundFrames, planes), 0);
        EXPECT_EQ(log.Text(), "");
        Bytes stored;
        for (int64_t frame = 0; frame < kSoundFrames; ++frame) {
            stored += PatternSample(1, frame, 4);
        }
        if (isInverted) {
            stored = Inverted(stored);
        }
        for (size_t byte = there; byte < stored.size(); ++byte) {
            stored[byte] = 0;
        }
        for (size_t frame = 0; frame < kSoundFrames; ++frame) {
            ASSERT_EQ(left[frame], Level(stored, 4 * frame)) << frame;
            ASSERT_EQ(right[frame], Level(stored, 4 * frame + 2)) << frame;
        }
    }

    // What the sound track returns without its file.
    void ExpectNoSound(long status) {
        std::vector<float> left(kSoundFrames, 9.0F);
        std::vector<float> right(kSoundFrames, 9.0F);
        float* planes[] = {left.data(), right.data()};
        const LogCapture log;
        EXPECT_EQ(clip->ReadAudio(0, 0, kSoundFrames, planes), status);
        EXPECT_EQ(log.Text(), "ImportAudio7: pread returned " + std::to_string(status) + "\n");
        EXPECT_EQ(left, std::vector<float>(kSoundFrames, 9.0F));
    }

    uint64_t mSkew = 0;
    std::map<PrPixelFormat, std::vector<Bytes>> mWhole;  // the pixels of each frame, by road
    std::vector<Frame> mUnanswered;

  private:
    // Two bytes, the high one first, as a level from -1 to 1.
    static float Level(const Bytes& stored, size_t at) {
        int level = static_cast<unsigned char>(stored[at]) * 256 +
                    static_cast<unsigned char>(stored[at + 1]);
        if (level > 32767) {
            level -= 65536;
        }
        return static_cast<float>(level) / 32767.0F;
    }
};

}  // namespace kvx_test
