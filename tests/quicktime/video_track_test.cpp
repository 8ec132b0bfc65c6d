// What does a video track take from its sample description?

#include "quicktime/video_track.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/movie_in_memory.h"

namespace {

using namespace kvx_test;
using KVX::QT::ImageDescription;
using KVX::QT::VideoTrack;

constexpr uint32_t kFrameSize = 64;

std::unique_ptr<VideoTrack> Create(const VideoDescription& video, int64_t timeScale = 24000,
                                   int64_t frameDuration = 1000) {
    const MovieInMemory movie =
        MovieOf(VideoTrackRecipe(video, kFrameSize, 5, timeScale, frameDuration));
    return std::unique_ptr<VideoTrack>(
        VideoTrack::Create(movie.Path(), movie.Moov(), movie.Trak()));
}

VideoDescription Description(const Bytes& format, int width, int height,
                             std::vector<AtomNode> extensions = {}) {
    VideoDescription video;
    video.format = format;
    video.width = width;
    video.height = height;
    video.extensions = std::move(extensions);
    return video;
}

TEST(VideoTrack, TakesFormatAndDimensions) {
    const auto track = Create({"v210", 1920, 1080, 24});
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mFormat, 0x76323130);
    EXPECT_EQ(track->mWidth, 1920);
    EXPECT_EQ(track->mHeight, 1080);
    EXPECT_EQ(track->mDepth, 24);
    EXPECT_EQ(track->mSampleCount, 5);
    EXPECT_EQ(track->mFixedSampleSize, kFrameSize);
    EXPECT_GT(track->mFileDescriptor, 0);
}

TEST(VideoTrack, AnyFormatIsTaken) {
    const LogCapture log;
    const auto track = Create({"zzzz", 16, 8, 24});
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mFormat, 0x7A7A7A7A);
    EXPECT_EQ(log.Raw(), "");
}

TEST(VideoTrack, OnlyTheFirstDescriptionCounts) {
    TrackRecipe recipe = VideoTrackRecipe({"2vuy", 32, 16, 24}, kFrameSize, 5);
    recipe.descriptions.push_back(Describe(VideoDescription{"v210", 48, 24, 30}));
    const MovieInMemory movie = MovieOf(recipe);
    VideoTrack track;
    ASSERT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);
    EXPECT_EQ(track.mFormat, 0x32767579);
    EXPECT_EQ(track.mWidth, 32);
    EXPECT_EQ(track.mImageDescriptionSize, 86);
}

// Every field has bytes of its own, so that a swap too few, too many or of the wrong width shows.
TEST(VideoTrack, DescriptionIsKeptInNativeOrder) {
    AtomNode entry{"2vuy", zeros(78), {{"abcd", "extension"}}};
    for (size_t offset = 8; offset < 86; ++offset) {
        entry.Poke(offset, Bytes(1, static_cast<char>(offset)));
    }
    TrackRecipe recipe = VideoTrackRecipe({}, kFrameSize, 5);
    recipe.descriptions = {entry};
    const MovieInMemory movie = MovieOf(recipe);
    VideoTrack track;
    ASSERT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);

    ASSERT_EQ(track.mImageDescriptionSize, 86 + 17);
    const ImageDescription& kept = *track.mImageDescription;
    EXPECT_EQ(kept.size, 103U);
    EXPECT_EQ(kept.compressorType, 0x32767579U);
    EXPECT_EQ(kept.reserved1, 0x08090A0BU);
    EXPECT_EQ(kept.reserved2, 0x0C0DU);
    EXPECT_EQ(kept.dataReferenceIndex, 0x0E0FU);
    EXPECT_EQ(kept.version, 0x1011U);
    EXPECT_EQ(kept.revisionLevel, 0x1213U);
    EXPECT_EQ(kept.vendor, 0x14151617U);
    EXPECT_EQ(kept.temporalQuality, 0x18191A1BU);
    EXPECT_EQ(kept.spatialQuality, 0x1C1D1E1FU);
    EXPECT_EQ(kept.width, 0x2021U);
    EXPECT_EQ(kept.height, 0x2223U);
    EXPECT_EQ(kept.horizontalResolution, 0x24252627U);
    EXPECT_EQ(kept.verticalResolution, 0x28292A2BU);
    EXPECT_EQ(kept.dataSize, 0x2C2D2E2FU);
    EXPECT_EQ(kept.frameCount, 0x3031U);
    for (size_t i = 0; i < 32; ++i) {
        EXPECT_EQ(kept.compressorName[i], static_cast<char>(50 + i));
    }
    EXPECT_EQ(kept.depth, 0x5253U);
    EXPECT_EQ(kept.colourTableID, 0x5455U);

    const char* const extensions = reinterpret_cast<const char*>(track.mImageDescription) + 86;
    EXPECT_EQ(Bytes(extensions, 17), big32(17) + "abcdextension");
    EXPECT_EQ(track.mWidth, 0x2021);
    EXPECT_EQ(track.mHeight, 0x2223);
    EXPECT_EQ(track.mDepth, 0x5253);
}

TEST(VideoTrack, DVCProHDWidthIsThatOfTheStoredFrame) {
    const struct {
        const char* format;
        int width;
        int height;
        int expected;
    } kCases[] = {
        {"dvh6", 1920, 1080, 1280}, {"dvh5", 1920, 1080, 1440}, {"dvhp", 1280, 720, 960},
        {"dvhq", 1280, 720, 960},   {"dvh6", 1280, 1080, 1280}, {"dvh5", 1440, 1080, 1440},
        {"dvhp", 960, 720, 960},    {"dvh6", 1920, 720, 1920},  {"dvh5", 1280, 720, 1280},
        {"dvhp", 1920, 1080, 1920}, {"dvcp", 1920, 1080, 1920}, {"v210", 1280, 720, 1280},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(testing::Message()
                     << entry.format << " " << entry.width << " by " << entry.height);
        const auto track = Create(Description(entry.format, entry.width, entry.height));
        ASSERT_NE(track, nullptr);
        EXPECT_EQ(track->mWidth, entry.expected);
        EXPECT_EQ(track->mHeight, entry.height);
        EXPECT_EQ(track->mImageDescription->width, entry.expected);
        EXPECT_EQ(track->mImageDescription->height, entry.height);
    }
}

TEST(VideoTrack, PixelAspect) {
    const auto track = Create(Description("v210", 720, 486, {PixelAspect(10, 11)}));
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mPixelAspectH, 10U);
    EXPECT_EQ(track->mPixelAspectV, 11U);

    const auto without = Create(Description("v210", 720, 486));
    ASSERT_NE(without, nullptr);
    EXPECT_EQ(without->mPixelAspectH, 0U);
    EXPECT_EQ(without->mPixelAspectV, 0U);
}

TEST(VideoTrack, FieldHandling) {
    const struct {
        uint8_t count;
        uint8_t detail;
        int dominance;
        int storage;
    } kCases[] = {
        {1, 0, 0, 0}, {1, 6, 0, 0},  {2, 1, 1, 1}, {2, 6, 2, 2}, {2, 9, 2, 1},    {2, 14, 1, 2},
        {2, 0, 3, 3}, {2, 10, 3, 3}, {0, 1, 3, 3}, {3, 1, 3, 3}, {0x80, 1, 3, 3},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(testing::Message() << int{entry.count} << ", " << int{entry.detail});
        const auto track =
            Create(Description("apch", 1920, 1080, {FieldHandling(entry.count, entry.detail)}));
        ASSERT_NE(track, nullptr);
        EXPECT_EQ(track->mFieldDominance, entry.dominance);
        EXPECT_EQ(track->mFieldStorage, entry.storage);
    }
}

TEST(VideoTrack, FieldHandlingOutranksTheDefault) {
    const auto track = Create(Description("v210", 1920, 1080, {FieldHandling(1, 0)}), 25, 1);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mFieldDominance, 0);
    EXPECT_EQ(track->mFieldStorage, 0);
}

TEST(VideoTrack, UnknownFieldDetailFallsBackToTheDefault) {
    const auto track = Create(Description("v210", 720, 576, {FieldHandling(2, 99)}), 25, 1);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mFieldDominance, 1);
    EXPECT_EQ(track->mFieldStorage, 1);
}

TEST(VideoTrack, DefaultFields) {
    const struct {
        const char* format;
        int height;
        int64_t timeScale;
        int64_t frameDuration;
        int expected;
    } kCases[] = {
        {"v210", 1080, 24, 1, 0},       {"v210", 1080, 25, 1, 1},
        {"v210", 1080, 30000, 1001, 1}, {"v210", 1080, 30, 1, 1},
        {"v210", 1080, 49, 1, 1},       {"v210", 1080, 49999, 1000, 1},
        {"v210", 1080, 50, 1, 0},       {"v210", 1080, 24999, 1000, 0},
        {"v210", 1080, 60000, 1001, 0}, {"2vuy", 1080, 25, 1, 1},
        {"2Vuy", 1080, 25, 1, 1},       {"r210", 1080, 25, 1, 1},
        {"v210", 576, 25, 1, 1},        {"v210", 576, 1, 1, 1},
        {"v210", 576, 100, 1, 1},       {"v210", 486, 30000, 1001, 2},
        {"v210", 486, 25, 1, 2},        {"v210", 486, 24, 1, 0},
        {"v210", 486, 60, 1, 2},        {"v210", 720, 25, 1, 0},
        {"v210", 480, 30, 1, 0},        {"v210", 1079, 25, 1, 0},
        {"apch", 1080, 25, 1, 3},       {"yuv2", 576, 25, 1, 3},
        {"avc1", 486, 30, 1, 3},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(testing::Message() << entry.format << ", " << entry.height << " lines, "
                                        << entry.timeScale << " / " << entry.frameDuration);
        const auto track = Create(Description(entry.format, 720, entry.height), entry.timeScale,
                                  entry.frameDuration);
        ASSERT_NE(track, nullptr);
        EXPECT_EQ(track->mFieldDominance, entry.expected);
        EXPECT_EQ(track->mFieldStorage, entry.expected);
    }
}

TEST(VideoTrack, FrameDurationZeroIsNoRate) {
    const auto track = Create(Description("v210", 1920, 1080), 25, 0);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mFieldDominance, 0);
}

TEST(VideoTrack, FlagsOfUncompressedDpx) {
    const AtomNode range{"Rnge", big32(1)};
    const AtomNode noRange{"Rnge", big32(0)};
    const AtomNode dpx{"DpxE", big32(0x80000000)};
    const struct {
        const char* format;
        std::vector<AtomNode> extensions;
        bool range;
        bool dpx;
    } kCases[] = {
        {"r10k", {}, false, false},
        {"r10k", {range}, true, false},
        {"r10k", {dpx}, false, true},
        {"r10k", {range, dpx}, true, true},
        {"r10k", {noRange, dpx}, false, true},
        {"r10k", {range, noRange}, false, false},
        {"r210", {range, dpx}, false, false},
    };
    for (const auto& entry : kCases) {
        const auto track = Create(Description(entry.format, 64, 32, entry.extensions));
        ASSERT_NE(track, nullptr);
        EXPECT_EQ(track->mRangeFlag, entry.range);
        EXPECT_EQ(track->mDpxFlag, entry.dpx);
    }
}

TEST(VideoTrack, AvccOfAvc1IsKept) {
    const auto track = Create(
        Description("avc1", 64, 32, {{"colr", "nclc"}, {"avcC", "\1\2\3"}, PixelAspect(1, 1)}));
    ASSERT_NE(track, nullptr);
    ASSERT_EQ(track->mAvccSize, 3U);
    char* data = nullptr;
    long size = 0;
    ASSERT_TRUE(track->GetAvccData(&data, &size));
    EXPECT_EQ(Bytes(data, static_cast<size_t>(size)), "\1\2\3");
    EXPECT_EQ(static_cast<void*>(data), track->mAvccData);
    EXPECT_FALSE(track->GetAvccData(nullptr, &size));
    EXPECT_FALSE(track->GetAvccData(&data, nullptr));
    EXPECT_EQ(track->mPixelAspectH, 1U);
}

TEST(VideoTrack, AvccElsewhereIsPassedOver) {
    const auto track = Create(Description("avc2", 64, 32, {{"avcC", "\1\2\3"}}));
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->mAvccData, nullptr);
    EXPECT_EQ(track->mAvccSize, 0U);
    char* data = nullptr;
    long size = -1;
    EXPECT_FALSE(track->GetAvccData(&data, &size));
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, -1);
}

TEST(VideoTrack, EmptyAvccIsStillOne) {
    const auto track = Create(Description("avc1", 64, 32, {{"avcC"}}));
    ASSERT_NE(track, nullptr);
    char* data = nullptr;
    long size = -1;
    EXPECT_TRUE(track->GetAvccData(&data, &size));
    EXPECT_EQ(size, 0);
}

TEST(VideoTrack, LastAvccWins) {
    const auto track = Create(Description("avc1", 64, 32, {{"avcC", "first"}, {"avcC", "2nd"}}));
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(Bytes(reinterpret_cast<char*>(track->mAvccData), track->mAvccSize), "2nd");
}

TEST(VideoTrack, AvccWithExtendedSize) {
    AtomNode avcc{"avcC", "payload"};
    avcc.form = AtomNode::SizeForm::Extended;
    const auto track = Create(Description("avc1", 64, 32, {avcc}));
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(Bytes(reinterpret_cast<char*>(track->mAvccData), track->mAvccSize), "payload");
}

TEST(VideoTrack, InitMayRunAgain) {
    const MovieInMemory movie =
        MovieOf(VideoTrackRecipe(Description("avc1", 64, 32, {{"avcC", "abc"}}), kFrameSize, 5));
    VideoTrack track;
    ASSERT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);
    ASSERT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);
    EXPECT_EQ(track.mAvccSize, 3U);
    EXPECT_EQ(track.mImageDescription->width, 64);
}

TEST(VideoTrack, NewTracksKnowNothing) {
    const VideoTrack track;
    EXPECT_EQ(track.mImageDescription, nullptr);
    EXPECT_EQ(track.mAvccData, nullptr);
    EXPECT_EQ(track.mAvccSize, 0U);
    EXPECT_FALSE(track.mDpxFlag);
    EXPECT_FALSE(track.mRangeFlag);
    EXPECT_EQ(track.mPixelAspectH, 0U);
    EXPECT_EQ(track.mPixelAspectV, 0U);
    EXPECT_EQ(track.mFieldDominance, 3);
    EXPECT_EQ(track.mFieldStorage, 3);
}

TEST(VideoTrack, FamiliesOfFormats) {
    const std::vector<std::string> kDVCPro = {"dv1n", "dv1p", "dv5n", "dv5p", "dvc ",
                                              "dvcp", "dvh5", "dvh6", "dvhp", "dvhq",
                                              "dvpp", "dvsd", "pvsd"};
    const std::vector<std::string> kProRes = {"ap4h", "apch", "apcn", "apco", "apcs"};
    const std::vector<std::string> kOthers = {"jpeg", "avc1", "v210", "2vuy", "2Vuy",
                                              "r210", "r10k", "DVC ", "dv2n", "dvhx",
                                              "ap4x", "mjpa", "avc2", "hvc1", "AVC1"};
    VideoTrack track;
    const auto code = [](const std::string& text) {
        long value = 0;
        for (const char character : text) {
            value = value * 256 + character;
        }
        return value;
    };
    const auto check = [&](const std::string& text, bool dvcpro, bool prores) {
        SCOPED_TRACE(text);
        EXPECT_EQ(track.IsDVCProFormat(code(text)), dvcpro);
        EXPECT_EQ(track.IsProResFormat(code(text)), prores);
        EXPECT_EQ(track.IsSpatiallyCompressed(code(text)), dvcpro || prores || text == "jpeg");
        EXPECT_EQ(track.IsTemporallyCompressed(code(text)), text == "avc1");
    };
    for (const std::string& text : kDVCPro) {
        check(text, true, false);
    }
    for (const std::string& text : kProRes) {
        check(text, false, true);
    }
    for (const std::string& text : kOthers) {
        check(text, false, false);
    }
    EXPECT_FALSE(track.IsSpatiallyCompressed(0));
    // Codes have 32 bits; a number whose low half is a code is none.
    EXPECT_FALSE(track.IsTemporallyCompressed(code("avc1") + (1L << 32)));
    EXPECT_FALSE(track.IsDVCProFormat(code("dvc ") + (1L << 32)));
}

}  // namespace
