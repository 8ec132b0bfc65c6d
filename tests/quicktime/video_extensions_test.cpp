// How far does the walk over a video sample description's extensions go?

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quicktime/video_track.h"
#include "support/log_capture.h"
#include "support/movie_in_memory.h"

namespace {

using namespace kvx_test;
using KVX::QT::VideoTrack;

struct Outcome {
    long status = -1;
    std::string log;
    unsigned int pixelAspectH = 0;
    unsigned int avccSize = 0;
};

// Runs Init on a description with these extensions.
Outcome Init(const Bytes& format, const std::vector<AtomNode>& extensions) {
    VideoDescription video;
    video.format = format;
    video.extensions = extensions;
    const MovieInMemory movie = MovieOf(VideoTrackRecipe(video, 64, 5));
    VideoTrack track;
    const LogCapture log;
    Outcome outcome;
    outcome.status = track.Init(movie.Path(), movie.Moov(), movie.Trak());
    outcome.log = log.Text();
    outcome.pixelAspectH = track.mPixelAspectH;
    outcome.avccSize = track.mAvccSize;
    return outcome;
}

AtomNode WithSize(AtomNode atom, uint64_t size,
                  AtomNode::SizeForm form = AtomNode::SizeForm::Short) {
    atom.form = form;
    atom.writtenSize = size;
    return atom;
}

TEST(VideoExtensions, UnknownOnesArePassedOver) {
    const Outcome outcome = Init("2vuy", {{"colr", "nclc"}, {"gama", "1234"}, PixelAspect(4, 3)});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.pixelAspectH, 4U);
    EXPECT_EQ(outcome.log, "");
}

TEST(VideoExtensions, LengthTooSmallToStepByEndsTheWalk) {
    for (const uint64_t size : {0U, 2U, 7U}) {
        const Outcome outcome = Init("2vuy", {WithSize({"colr", "nclc"}, size), PixelAspect(4, 3)});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.pixelAspectH, 0U) << size;
        EXPECT_EQ(outcome.log, "");
    }
}

TEST(VideoExtensions, LengthBeyondTheEntryEndsTheWalk) {
    for (const uint64_t size : {29U, 100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        const Outcome outcome = Init("2vuy", {WithSize({"colr", "nclc"}, size), PixelAspect(4, 3)});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.pixelAspectH, 0U) << size;
    }
    for (const uint64_t size : {0xFFFFFFFFFFFFFFFFU, 0x8000000000000000U}) {
        const Outcome outcome = Init(
            "2vuy",
            {WithSize({"colr", "nclc"}, size, AtomNode::SizeForm::Extended), PixelAspect(4, 3)});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.pixelAspectH, 0U) << size;
    }
}

TEST(VideoExtensions, ExtendedSizesAreSteppedOver) {
    AtomNode wide{"colr", "nclc"};
    wide.form = AtomNode::SizeForm::Extended;
    const Outcome outcome = Init("2vuy", {wide, PixelAspect(4, 3)});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.pixelAspectH, 4U);
}

// Some writers end the extensions with four zero bytes.
TEST(VideoExtensions, FewBytesBehindTheLastOneAreIgnored) {
    for (size_t count = 1; count < 8; ++count) {
        TrackRecipe recipe = VideoTrackRecipe({}, 64, 5);
        recipe.descriptions[0].children = {PixelAspect(4, 3)};
        recipe.descriptions[0].children[0].payload += zeros(count);
        recipe.descriptions[0].children[0].writtenSize = 16;
        const MovieInMemory movie = MovieOf(recipe);
        VideoTrack track;
        EXPECT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);
        EXPECT_EQ(track.mPixelAspectH, 4U);
        EXPECT_EQ(track.mImageDescriptionSize, static_cast<int>(86 + 16 + count));
    }
}

TEST(VideoExtensions, FieldsOutsideTheirAtomFail) {
    const struct {
        const char* format;
        AtomNode extension;
        const char* log;
    } kCases[] = {
        {"2vuy", {"pasp", big32(4)}, "'pasp' atom of 12 bytes does not hold 4 bytes at 12"},
        {"2vuy", {"pasp"}, "'pasp' atom of 8 bytes does not hold 4 bytes at 8"},
        {"2vuy", {"fiel", "\2"}, "'fiel' atom of 9 bytes does not hold 1 bytes at 9"},
        {"2vuy", {"fiel"}, "'fiel' atom of 8 bytes does not hold 1 bytes at 8"},
        {"r10k", {"Rnge", "abc"}, "'Rnge' atom of 11 bytes does not hold 4 bytes at 8"},
        {"r10k", {"DpxE"}, "'DpxE' atom of 8 bytes does not hold 4 bytes at 8"},
    };
    for (const auto& entry : kCases) {
        const Outcome outcome = Init(entry.format, {entry.extension});
        EXPECT_EQ(outcome.status, 22);
        EXPECT_EQ(outcome.log, "ReadExtension: " + std::string(entry.log) + "\n");
    }
}

TEST(VideoExtensions, ShortOnesThatNobodyReadsAreFine) {
    EXPECT_EQ(Init("2vuy", {{"Rnge"}, {"DpxE"}, {"avcC"}}).status, 0);
}

TEST(VideoExtensions, AvccShorterThanItsHeaderFails) {
    const AtomNode avcc{"avcC", zeros(32)};
    for (const uint64_t size : {8U, 15U}) {
        const Outcome outcome = Init("avc1", {WithSize(avcc, size, AtomNode::SizeForm::Extended)});
        EXPECT_EQ(outcome.status, 22);
        EXPECT_EQ(outcome.log, "Init: 'avcC' atom of " + std::to_string(size) +
                                   " bytes does not hold 16 bytes at 0\n");
        EXPECT_EQ(outcome.avccSize, 0U);
    }
}

}  // namespace
