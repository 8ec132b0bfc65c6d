#include "cli/movie/movie_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using testing::HasSubstr;

std::string MovieReport(const std::vector<imFileInfoRec8>& streams,
                        const std::vector<PrPixelFormat>& pixelFormats) {
    kvx_cli::MovieFacts facts;
    facts.importer.imports = true;
    facts.importer.streams = streams;
    facts.importer.pixelFormats = pixelFormats;
    return kvx_cli::MovieReport(facts);
}

imFileInfoRec8 Video() {
    imFileInfoRec8 stream = {};
    stream.hasVideo = 1;
    stream.width = 1920;
    stream.height = 1080;
    stream.depth = 24;
    stream.subType = 0x76323130;  // v210
    stream.fieldType = prFieldsUpperFirst;
    stream.pixelAspectNumerator = 1;
    stream.pixelAspectDenominator = 1;
    stream.videoScale = 2500;
    stream.videoSampleSize = 100;
    stream.videoDuration = 5000;
    return stream;
}

imFileInfoRec8 WithSound(imFileInfoRec8 stream) {
    stream.hasAudio = 1;
    stream.audioChannels = 2;
    stream.audioSampleRate = 48000;
    stream.audioSampleType = kPrAudioSampleType_24BitInt;
    stream.audioDuration = 96000;
    return stream;
}

TEST(CliMovieReport, VideoAndSoundOfOneStream) {
    EXPECT_EQ(
        MovieReport({WithSound(Video())}, {kKVXCustomPixelFormat, PrPixelFormat_V210_422_10u_709}),
        "  video 0\n"
        "    format          v210, 10-bit Y'CbCr 4:2:2\n"
        "    size            1920 x 1080\n"
        "    depth           24\n"
        "    rate            25\n"
        "    fields          upper field first\n"
        "    pixel aspect    1:1\n"
        "    duration        00:00:02.000 (50 frames)\n"
        "    offered as      the file's own bytes, V210_422_10u_709\n"
        "  sound 0\n"
        "    rate            48000 Hz\n"
        "    channels        2 (stereo)\n"
        "    samples         24-bit integer, little-endian\n"
        "    duration        00:00:02.000 (96000 samples)\n");
}

TEST(CliMovieReport, FurtherStreamsAreSound) {
    const imFileInfoRec8 sound = WithSound({});
    const std::string report = MovieReport({Video(), sound}, {});
    EXPECT_THAT(report, HasSubstr("  video 0\n"));
    EXPECT_THAT(report, testing::Not(HasSubstr("  sound 0\n")));
    EXPECT_THAT(report, HasSubstr("  sound 1\n"));
    EXPECT_THAT(report, testing::Not(HasSubstr("  video 1\n")));
}

TEST(CliMovieReport, WhatIsNotToldIsNotInvented) {
    imFileInfoRec8 stream = Video();
    stream.pixelAspectNumerator = 0;
    stream.pixelAspectDenominator = 0;
    stream.fieldType = prFieldsUnknown;
    stream.videoSampleSize = 0;
    const std::string report = MovieReport({stream}, {0x21212121});
    EXPECT_THAT(report, HasSubstr("pixel aspect    not stated\n"));
    EXPECT_THAT(report, HasSubstr("fields          unknown\n"));
    EXPECT_THAT(report, HasSubstr("rate            unknown\n"));
    EXPECT_THAT(report, HasSubstr("(0 frames)\n"));
    EXPECT_THAT(report, HasSubstr("offered as      !!!!\n"));
}

}  // namespace
