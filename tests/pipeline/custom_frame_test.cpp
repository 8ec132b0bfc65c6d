// Sizes of frames in the importer's own format.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "pipeline/frame_test.h"
#include "pipeline/pool_by_hand.h"
#include "pipeline/read_controller.h"

namespace {

using kvx_test::Bytes;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Reference;

class CustomFrame : public kvx_test::FrameTest {};

TEST_F(CustomFrame, HasThePagesThatTheSampleLiesIn) {
    struct Case {
        uint64_t skew;
        uint32_t sampleSize;
        uint32_t dataLength;
    };
    for (const Case& each :
         {Case{0, 1, 4096}, Case{0, 4095, 4096}, Case{0, 4096, 4096}, Case{0, 4097, 8192},
          Case{100, 3995, 4096}, Case{100, 3996, 4096}, Case{100, 3997, 8192}, Case{4095, 1, 4096},
          Case{4095, 2, 8192}, Case{4095, 4097, 8192}, Case{4095, 4098, 12288}}) {
        OpenMovie(MovieOfPicture({"2vuy", 16, 8, each.sampleSize}, 1,
                                 kvx_test::kMediaOffset + each.skew));
        const Reference<KVX::ImportFrame> frame = RunFrame(kKVXCustomPixelFormat);
        uint32_t header[5];
        std::memcpy(header, frame->mPixels, sizeof(header));
        EXPECT_EQ(header[0], 0x32767579u);  // "2vuy"
        EXPECT_EQ(header[1], 32u);
        // The host's pixels begin on a page, and so does the next one.
        EXPECT_EQ(header[2], 4096u);
        EXPECT_EQ(header[3], each.dataLength) << each.skew << " + " << each.sampleSize;
        EXPECT_EQ(header[4], each.skew);
        EXPECT_EQ(ViewOf(*frame).dataSize, each.dataLength + 4096) << each.sampleSize;
        EXPECT_EQ(Bytes(frame->mPixels + 4096 + each.skew, each.sampleSize),
                  Media(0, each.sampleSize));
    }
}

TEST_F(CustomFrame, HasItsHeaderBeforeAnythingIsRead) {
    OpenMovie(MovieOfPicture(kvx_test::kPageV210, 1, kvx_test::kMediaOffset + 7));
    kvx_test::PoolByHand<KVX::ReadController> reading;
    const Reference<KVX::ImportFrame> frame(NewFrame(kKVXCustomPixelFormat));
    frame->Retain();
    ASSERT_EQ(frame->Issue(), 0);
    uint32_t header[5];
    std::memcpy(header, frame->mPixels, sizeof(header));
    EXPECT_EQ(std::vector<uint32_t>(header, header + 5),
              (std::vector<uint32_t>{0x76323130, 256, 4096, 8192, 7}));  // "v210"
    EXPECT_TRUE(IsFresh(frame->mPixels + sizeof(header), 4096 + 8192 - sizeof(header)));

    EXPECT_TRUE(reading.RunOne());
    EXPECT_EQ(std::memcmp(header, frame->mPixels, sizeof(header)), 0);
    EXPECT_EQ(Bytes(frame->mPixels + 4096 + 7, 4096), Media(0, 4096));
}

std::vector<uint32_t> sDataSizes;
int32_t RefuseSize(PPixHand*, int32_t, PrPixelFormat, int32_t, int32_t, int32_t, int32_t,
                   int32_t dataSize) {
    sDataSizes.push_back(static_cast<uint32_t>(dataSize));
    return -7;
}

// The whole of 32 bits is the host's to refuse.
TEST_F(CustomFrame, OfMoreThanTwoGigabytesIsAskedFor) {
    OpenMovie(MovieOfPicture(kvx_test::kPageUYVY, 1));
    track->mFileSize = 0x200000000;
    PrSDKPPixCreator2Suite creator2Suite = {{}, &RefuseSize};
    module->mCreator2Suite = &creator2Suite;
    sDataSizes.clear();
    const LogCapture log;
    for (const uint32_t size : {0x80000000u, 0xFFFFDFFFu, 0xFFFFE000u}) {
        track->mSizeOffsets[0]->size = size;
        const Reference<KVX::ImportFrame> frame(NewFrame(kKVXCustomPixelFormat));
        EXPECT_EQ(frame->Issue(), -7);
    }
    EXPECT_EQ(sDataSizes, (std::vector<uint32_t>{0x80001000, 0xFFFFF000, 0xFFFFF000}));
}

}  // namespace
