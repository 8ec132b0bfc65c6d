// The roads of a frame: where the read lands, what is done afterwards, and what reaches the cache.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/read_request.h"

namespace {

using kvx_hostkit::PixelBufferView;
using kvx_test::Bytes;
using kvx_test::kMediaOffset;
using kvx_test::kPageUYVY;
using kvx_test::kPageV210;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Picture;
using kvx_test::Reference;

using Frame = Reference<KVX::ImportFrame>;

class FrameRoads : public kvx_test::FrameTest {
  protected:
    // Rows of the file's length, and whatever the host has between and after them untouched.
    void ExpectRows(const KVX::ImportFrame& frame, const Bytes& expected) {
        const PixelBufferView view = ViewOf(frame);
        const size_t tight = expected.size() / static_cast<size_t>(view.height);
        const auto rowBytes = static_cast<size_t>(view.rowBytes);
        for (size_t row = 0; row < static_cast<size_t>(view.height); ++row) {
            const char* pixels = view.pixels + row * rowBytes;
            ASSERT_EQ(Bytes(pixels, tight), expected.substr(row * tight, tight)) << "row " << row;
            ASSERT_TRUE(IsFresh(pixels + tight, rowBytes - tight)) << "padding of row " << row;
        }
        EXPECT_TRUE(IsFresh(view.pixels + view.dataSize, buffers.settings.slackBytes));
    }

    struct Header {
        uint32_t sourceFormat;
        uint32_t sourceRowBytes;
        uint32_t dataOffset;
        uint32_t dataLength;
        uint32_t skew;
    };

    Header HeaderOf(const KVX::ImportFrame& frame) {
        Header header;
        std::memcpy(&header, frame.mPixels, sizeof(header));
        return header;
    }
};

TEST_F(FrameRoads, AlignedFramesAreReadIntoTheHostsPixels) {
    for (const Picture& picture : {kPageV210, kPageUYVY}) {
        for (const PrPixelFormat format :
             picture.format == "v210" ? std::vector<PrPixelFormat>{PrPixelFormat_V210_422_10u_601,
                                                                   PrPixelFormat_V210_422_10u_709}
                                      : std::vector<PrPixelFormat>{PrPixelFormat_UYVY_422_8u_601,
                                                                   PrPixelFormat_UYVY_422_8u_709}) {
            OpenMovie(MovieOfPicture(picture, 3));
            const LogCapture log;
            const Frame frame = RunFrame(format, 2);
            EXPECT_TRUE(frame->mCopyOnly);
            EXPECT_FALSE(frame->mNeedsConversion);
            EXPECT_TRUE(frame->mReadDone);
            EXPECT_EQ(frame->mStatus, 0);
            EXPECT_FALSE(frame->mReadRequest->mOwnsBuffer);
            EXPECT_EQ(frame->mReadRequest->mBuffer, frame->mPixels);
            EXPECT_EQ(frame->mReadRequest->mBufferSize, 4096);
            ExpectRows(*frame, Media(2, 4096));
            EXPECT_EQ(log.Raw(), "");
        }
    }
}

TEST_F(FrameRoads, TheCapitalFormIsTheSameLayout) {
    OpenMovie(MovieOfPicture({"2Vuy", 64, 32, 4096}, 2));
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_709, 1);
    EXPECT_FALSE(frame->mNeedsConversion);
    ExpectRows(*frame, Media(1, 4096));
}

TEST_F(FrameRoads, AFrameBesideThePagesIsCopiedFromBehindTheSkew) {
    OpenMovie(MovieOfPicture(kPageUYVY, 2, kMediaOffset + 512));
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601, 1);
    EXPECT_TRUE(frame->mCopyOnly);
    EXPECT_TRUE(frame->mNeedsConversion);
    const KVX::ReadRequest& request = *frame->mReadRequest;
    EXPECT_TRUE(request.mOwnsBuffer);
    EXPECT_EQ(request.mAlignedOffset, static_cast<long long>(kMediaOffset) + 4096);
    EXPECT_EQ(request.mBufferSkew, 512);
    EXPECT_EQ(request.mSize, 4096);
    ExpectRows(*frame, Media(1, 4096));
}

TEST_F(FrameRoads, EachOfThreeAlignmentsIsNeededForAReadInPlace) {
    struct Case {
        uint64_t offset;
        uint32_t frameSize;
        size_t misalignment;
        bool inPlace;
    };
    for (const Case& each :
         {Case{kMediaOffset, 4096, 0, true}, Case{kMediaOffset + 1, 4096, 0, false},
          Case{kMediaOffset, 4095, 0, false}, Case{kMediaOffset, 4096, 16, false},
          Case{kMediaOffset, 4096, 2048, false}}) {
        buffers.settings.misalignment = each.misalignment;
        OpenMovie(MovieOfPicture({"2vuy", 64, 32, each.frameSize}, 1, each.offset));
        const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601);
        EXPECT_EQ(frame->mNeedsConversion, !each.inPlace)
            << each.offset << " " << each.frameSize << " " << each.misalignment;
        EXPECT_EQ(Bytes(ViewOf(*frame).pixels, each.frameSize), Media(0, each.frameSize));
    }
}

TEST_F(FrameRoads, WiderRowsOfTheHostsAreFilledOneByOne) {
    buffers.settings.extraRowBytes = 64;
    OpenMovie(MovieOfPicture(kPageV210, 2));
    const Frame frame = RunFrame(PrPixelFormat_V210_422_10u_601, 1);
    EXPECT_TRUE(frame->mCopyOnly);
    EXPECT_TRUE(frame->mNeedsConversion);
    EXPECT_EQ(frame->mSourceRowBytes, 256);
    EXPECT_EQ(frame->mDestRowBytes, 320);
    ExpectRows(*frame, Media(1, 4096));
}

TEST_F(FrameRoads, OddSizesAreCopied) {
    for (const int extraRowBytes : {0, 6, 30}) {
        buffers.settings.extraRowBytes = extraRowBytes;
        for (const Picture& picture :
             {Picture{"2vuy", 1, 1, 2}, Picture{"2Vuy", 33, 7, 462}, Picture{"2vuy", 721, 3, 4326},
              Picture{"v210", 1, 1, 128}, Picture{"v210", 49, 5, 1280},
              Picture{"v210", 721, 2, 4096}}) {
            OpenMovie(MovieOfPicture(picture, 3));
            const Frame frame = RunFrame(picture.format == "v210" ? PrPixelFormat_V210_422_10u_709
                                                                  : PrPixelFormat_UYVY_422_8u_709,
                                         1);
            EXPECT_TRUE(frame->mCopyOnly);
            ExpectRows(*frame, Media(1, picture.frameSize));
        }
    }
}

TEST_F(FrameRoads, TheCustomFormatCarriesEverySourceBehindAHeader) {
    for (const size_t misalignment : {0, 16, 4064}) {
        buffers.settings.misalignment = misalignment;
        for (const Picture& picture :
             {kPageV210, Picture{"2vuy", 33, 7, 462}, Picture{"2Vuy", 64, 32, 4096},
              Picture{"r210", 20, 5, 1280}}) {
            OpenMovie(MovieOfPicture(picture, 3, kMediaOffset + 100));
            const Frame frame = RunFrame(kKVXCustomPixelFormat, 2);
            EXPECT_FALSE(frame->mNeedsConversion);
            EXPECT_FALSE(frame->mCopyOnly);
            EXPECT_EQ(frame->mDestRowBytes, 0);

            const uint64_t offset = kMediaOffset + 100 + 2 * uint64_t{picture.frameSize};
            const Header header = HeaderOf(*frame);
            EXPECT_EQ(header.sourceFormat, static_cast<uint32_t>(picture.format[0]) << 24 |
                                               static_cast<uint32_t>(picture.format[1]) << 16 |
                                               static_cast<uint32_t>(picture.format[2]) << 8 |
                                               static_cast<uint32_t>(picture.format[3]));
            EXPECT_EQ(header.sourceRowBytes,
                      picture.frameSize / static_cast<uint32_t>(picture.height));
            EXPECT_EQ(header.skew, offset % 4096);
            // Whole pages from the skew and the sample on.
            uint32_t pages = 0;
            while (pages * 4096 < header.skew + picture.frameSize) {
                ++pages;
            }
            EXPECT_EQ(header.dataLength, pages * 4096);
            // The first page boundary above the start.
            const auto start = reinterpret_cast<uintptr_t>(frame->mPixels);
            EXPECT_GE(header.dataOffset, 1u);
            EXPECT_LE(header.dataOffset, 4096u);
            EXPECT_EQ((start + header.dataOffset) % 4096, 0u);
            EXPECT_EQ(ViewOf(*frame).dataSize, header.dataLength + 4096);

            EXPECT_EQ(frame->mReadRequest->mBuffer, frame->mPixels + header.dataOffset);
            EXPECT_FALSE(frame->mReadRequest->mOwnsBuffer);
            EXPECT_EQ(Bytes(frame->mPixels + header.dataOffset + header.skew, picture.frameSize),
                      Media(2, picture.frameSize));
        }
    }
}

// The movie atom comes first, so that the file ends with the frame's last byte.
TEST_F(FrameRoads, AtTheEndOfTheFileTheReadIsShortAndTheHeaderIsNot) {
    kvx_test::MovieFileLayout layout;
    layout.movieFirst = true;
    OpenMovie(MovieOfPicture({"2vuy", 33, 7, 462}, 3, kMediaOffset + 100), layout);
    const Frame frame = RunFrame(kKVXCustomPixelFormat, 2);
    EXPECT_EQ(track->mFileSize, static_cast<long long>(kMediaOffset) + 100 + 3 * 462);
    EXPECT_EQ(frame->mReadRequest->mBufferSize, 100 + 3 * 462);
    const Header header = HeaderOf(*frame);
    EXPECT_EQ(header.dataLength, 4096u);
    EXPECT_EQ(header.skew, 100u + 2 * 462);
    EXPECT_EQ(Bytes(frame->mPixels + header.dataOffset + header.skew, 462), Media(2, 462));

    const Frame copied = RunFrame(PrPixelFormat_UYVY_422_8u_601, 2);
    ExpectRows(*copied, Media(2, 462));
}

TEST_F(FrameRoads, ASampleThatIsTooLargeForADirectReadIsNotDelivered) {
    OpenMovie(MovieOfPicture({"2vuy", 64, 32, 8192}, 1));
    const Frame frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
    LogCapture log;
    EXPECT_EQ(frame->Issue(), 27);
    EXPECT_EQ(log.Text(),
              "Init: mBufferSize 4096 < requiredBufferSize 8192\n"
              "Create: ReadRequest::Init returned 27\n"
              "Issue: ReadRequest::Create returned 27\n");
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(frame->mReadRequest, nullptr);
    EXPECT_EQ(cache.Additions(), 0);
}

TEST_F(FrameRoads, ASampleSmallerThanTheFrameLeavesTheRestUntouched) {
    // 64 rows of 128 bytes, of which the sample has half.
    OpenMovie(MovieOfPicture({"2vuy", 64, 64, 4096}, 2));
    const Frame direct = RunFrame(PrPixelFormat_UYVY_422_8u_601, 1);
    EXPECT_FALSE(direct->mNeedsConversion);
    EXPECT_EQ(Bytes(direct->mPixels, 4096), Media(1, 4096));
    EXPECT_TRUE(IsFresh(direct->mPixels + 4096, 4096));

    buffers.settings.misalignment = 16;
    const Frame copied = RunFrame(PrPixelFormat_UYVY_422_8u_601, 1);
    EXPECT_TRUE(copied->mNeedsConversion);
    EXPECT_EQ(Bytes(copied->mPixels, 4096), Media(1, 4096));
    EXPECT_TRUE(IsFresh(copied->mPixels + 4096, 4096));
}

// In a track without chunks and sizes a frame is a read of nothing: the read pool finds no ticket
// in it and lets it go, and nothing completes it.
TEST_F(FrameRoads, AFrameWithoutBytesStaysWithoutAnAnswer) {
    kvx_test::TrackRecipe video = kvx_test::Video("2vuy", 16, 8);
    video.constantSize = 0;
    video.sizeCount = 0;
    video.chunkRuns.clear();
    video.chunkOffsets.clear();
    OpenMovie(kvx_test::MovieOf({video}));
    LogCapture log;
    const Frame frame(NewFrame(PrPixelFormat_UYVY_422_8u_601, 1));
    frame->Retain();
    ASSERT_EQ(frame->Issue(), 0);
    EXPECT_TRUE(
        kvx_test::Eventually([&] { return kvx_test::ReferencesTo(*frame->mReadRequest) == 1; }));
    char expected[100];
    std::snprintf(expected, sizeof expected, "WorkToDo: GetReadTicket on request %p returned 2\n",
                  static_cast<void*>(frame->mReadRequest));
    EXPECT_EQ(log.Text(), expected);
    EXPECT_FALSE(frame->mReadDone);
    EXPECT_EQ(cache.Additions(), 0);
    // In place of the completion.
    frame->Release();
    frame->Release();
}

TEST_F(FrameRoads, OneCopyIsCutAtTheEndOfTheFrame) {
    OpenMovie(MovieOfPicture({"2vuy", 33, 7, 500}, 2));
    LogCapture log;
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601, 1);
    EXPECT_EQ(log.Text(), "Convert: Sample of 500 bytes cut to the frame's 462\n");
    ExpectRows(*frame, Media(1, 500).substr(0, 462));
}

// The last rows lie after the end of what was read.
TEST_F(FrameRoads, RowsAreCopiedAsFarAsTheReadReaches) {
    buffers.settings.extraRowBytes = 10;
    kvx_test::MovieFileLayout layout;
    layout.movieFirst = true;
    // 100 rows of 66 bytes; the sample has 1000 bytes and ends the file.
    OpenMovie(MovieOfPicture({"2vuy", 33, 100, 1000}, 1), layout);
    const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_601);
    const Bytes media = Media(0, 1000);
    const PixelBufferView view = ViewOf(*frame);
    ASSERT_EQ(view.rowBytes, 76);
    for (size_t row = 0; row < 15; ++row) {
        EXPECT_EQ(Bytes(view.pixels + row * 76, 66), media.substr(row * 66, 66)) << row;
    }
    EXPECT_EQ(Bytes(view.pixels + 15 * 76, 10), media.substr(990, 10));
    EXPECT_TRUE(IsFresh(view.pixels + 15 * 76 + 10, view.dataSize - 15 * 76 - 10));
}

TEST_F(FrameRoads, FramesInSeveralChunksWithGaps) {
    kvx_test::MovieRecipe recipe = MovieOfPicture({"v210", 96, 16, 4096}, 11);
    recipe.tracks[0].PlaceSamples(kMediaOffset, 3, 12345);
    OpenMovie(recipe);
    for (const long index : {0, 2, 3, 5, 6, 10}) {
        ExpectRows(*RunFrame(PrPixelFormat_V210_422_10u_601, index), Media(index, 4096));
    }
    // Chunks on page boundaries.
    recipe.tracks[0].PlaceSamples(kMediaOffset, 4, 4096);
    OpenMovie(recipe);
    for (const long index : {0, 3, 4, 10}) {
        const Frame frame = RunFrame(PrPixelFormat_V210_422_10u_601, index);
        EXPECT_FALSE(frame->mNeedsConversion);
        ExpectRows(*frame, Media(index, 4096));
    }
}

TEST_F(FrameRoads, FramesOfAnEditedTrack) {
    kvx_test::MovieRecipe recipe = MovieOfPicture({"v210", 96, 16, 4096}, 20);
    // Two frames from 12 on, then four from 3 on; a frame lasts 1000 of 24000 units, which are
    // 2000 of the movie's 48000.
    recipe.tracks[0].edits = {{4000, 12000}, {8000, 3000}};
    OpenMovie(recipe);
    const std::vector<long> shown = {12, 13, 3, 4, 5, 6};
    for (size_t index = 0; index < shown.size(); ++index) {
        ExpectRows(*RunFrame(PrPixelFormat_V210_422_10u_601, static_cast<long>(index)),
                   Media(shown[index], 4096));
    }
}

TEST_F(FrameRoads, FramesBeyondFourGigabytes) {
    for (const uint64_t offset : {0x200000000ull, 0x200000123ull}) {
        kvx_test::MovieRecipe recipe = MovieOfPicture(kPageUYVY, 3, offset);
        recipe.tracks[0].wideChunkOffsets = true;
        OpenMovie(recipe);
        for (const PrPixelFormat format : {PrPixelFormat_UYVY_422_8u_601, kKVXCustomPixelFormat}) {
            const Frame frame = RunFrame(format, 2);
            EXPECT_EQ(frame->mReadRequest->mOffset, static_cast<long long>(offset) + 8192);
            if (format == kKVXCustomPixelFormat) {
                const Header header = HeaderOf(*frame);
                EXPECT_EQ(Bytes(frame->mPixels + header.dataOffset + header.skew, 4096),
                          Media(2, 4096));
            } else {
                ExpectRows(*frame, Media(2, 4096));
            }
        }
    }
}

// Read in slices.
TEST_F(FrameRoads, LargeFrames) {
    const Picture large = {"2vuy", 1024, 1600, 2 * 1024 * 1600};
    for (const uint64_t offset : {kMediaOffset, kMediaOffset + 7}) {
        OpenMovie(MovieOfPicture(large, 2, offset));
        const Frame frame = RunFrame(PrPixelFormat_UYVY_422_8u_709, 1);
        EXPECT_EQ(frame->mNeedsConversion, offset != kMediaOffset);
        ExpectRows(*frame, Media(1, large.frameSize));
    }
}

// No decoder, and no failure: the bytes that were read are not used.
TEST_F(FrameRoads, ACompressedFrameIsCachedAsTheHostMadeIt) {
    for (const char* format : {"dvcp", "apcn", "jpeg"}) {
        OpenMovie(MovieOfPicture({"2vuy", 16, 8, 256}, 2));
        track->mFormat = 0;
        for (const char* character = format; *character != '\0'; ++character) {
            track->mFormat = track->mFormat << 8 | static_cast<unsigned char>(*character);
        }
        const Frame custom = RunFrame(kKVXCustomPixelFormat, 1);
        const Header header = HeaderOf(*custom);
        EXPECT_EQ(header.sourceFormat, track->mFormat);
        EXPECT_EQ(header.sourceRowBytes, 0u);
        EXPECT_EQ(Bytes(custom->mPixels + header.dataOffset + header.skew, 256), Media(1, 256));
    }
}

TEST_F(FrameRoads, AReadThatFailsEndsInTheCacheWithItsStatus) {
    for (const PrPixelFormat format :
         {PrPixelFormat_V210_422_10u_601, kKVXCustomPixelFormat, PrPixelFormat_BGRA_4444_8u}) {
        OpenMovie(MovieOfPicture(kPageV210, 2));
        const int descriptor = track->mFileDescriptor;
        track->mFileDescriptor = 100000;
        LogCapture log;
        const Frame frame = RunFrame(format, 1);
        track->mFileDescriptor = descriptor;
        EXPECT_EQ(frame->mStatus, 9);
        EXPECT_TRUE(frame->mReadDone);
        EXPECT_EQ(cache.AdditionsOf(clip->ImporterID(), 1), 1);
        char expected[200];
        std::snprintf(expected, sizeof expected,
                      "ExecuteReadTicket: pread returned 9 for request %p\n"
                      "RunThreadPass: ReadRequest::ExecuteReadTicket returned 9 for request %p\n",
                      static_cast<void*>(frame->mReadRequest),
                      static_cast<void*>(frame->mReadRequest));
        EXPECT_EQ(log.Text(), expected);
        if (format != kKVXCustomPixelFormat) {
            EXPECT_TRUE(IsFresh(frame->mPixels, ViewOf(*frame).dataSize));
        }
    }
}

TEST_F(FrameRoads, ARefusingCacheLeavesALineAndNothingElse) {
    for (const size_t misalignment : {0, 16}) {
        buffers.settings.misalignment = misalignment;
        OpenMovie(MovieOfPicture(kPageUYVY, 1));
        cache.faults.FailAt("AddFrameToCache", 1, -5);
        LogCapture log;
        const Frame frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
        frame->Retain();
        EXPECT_EQ(frame->Issue(), 0);
        EXPECT_TRUE(kvx_test::Eventually([&] { return kvx_test::ReferencesTo(*frame) == 1; }));
        EXPECT_EQ(log.Text(),
                  "ConvertCompleted: AddFrameToCache returned -5 (0xfffffffffffffffb)\n");
        EXPECT_EQ(cache.Additions(), 0);
    }
}

}  // namespace
