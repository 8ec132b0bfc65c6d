#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/four_char_code.h"
#include "pipeline/import_frame.h"
#include "quicktime/video_track.h"

namespace {

using KVX::ImportFrame;

unsigned int Code(const std::string& text) {
    unsigned int code = 0;
    for (const char character : text) {
        code = code << 8 | static_cast<unsigned char>(character);
    }
    return code;
}

// Every code that some list or table of the importer knows, and a few neighbours.
const std::set<std::string> kCodes = {
    "2Vuy", "2vuy", "r210", "v210", "dv1n", "dv1p", "dv5n", "dv5p", "dvc ", "dvcp", "dvh5", "dvh6",
    "dvhp", "dvhq", "dvpp", "dvsd", "pvsd", "apch", "apcn", "apco", "apcs", "ap4h", "ap4x", "jpeg",
    "mjpa", "mjpb", "avc1", "2VUY", "R210", "V210", "v216", "v308", "v408", "v410", "yuv2", "raw ",
    "b64a", "DV1N", "dvhd", "dvsl", "dvcs", "dvh2", "dvh3", "012r", "012v",
};

void ExpectExactly(bool (*predicate)(unsigned int), const std::set<std::string>& accepted) {
    for (const std::string& code : kCodes) {
        EXPECT_EQ(predicate(Code(code)), accepted.count(code) == 1) << code;
    }
    EXPECT_FALSE(predicate(0));
    EXPECT_FALSE(predicate(0xFFFFFFFF));
}

TEST(SourceFormats, DVCPro) {
    ExpectExactly(&ImportFrame::IsDVCProFormat,
                  {"dv1n", "dv1p", "dv5n", "dv5p", "dvc ", "dvcp", "dvh5", "dvh6", "dvhp", "dvhq",
                   "dvpp", "dvsd", "pvsd"});
}

TEST(SourceFormats, ProResIsFourCodes) {
    ExpectExactly(&ImportFrame::IsProResFormat, {"apch", "apcn", "apco", "apcs"});
}

TEST(SourceFormats, Compressed) {
    ExpectExactly(&ImportFrame::IsSupportedCompressedVideoFormat,
                  {"dv1n", "dv1p", "dv5n", "dv5p", "dvc ", "dvcp", "dvh5", "dvh6", "dvhp", "dvhq",
                   "dvpp", "dvsd", "pvsd", "apch", "apcn", "apco", "apcs", "jpeg"});
}

TEST(SourceFormats, Uncompressed) {
    ExpectExactly(&ImportFrame::IsSupportedUncompressedVideoFormat,
                  {"2Vuy", "2vuy", "r210", "v210"});
}

TEST(SourceFormats, OnlyUncompressedIsImported) {
    ExpectExactly(&ImportFrame::IsSupportedVideoFormat, {"2Vuy", "2vuy", "r210", "v210"});
}

struct RowBytesCase {
    const char* format;
    short width;
    long rowBytes;
};

TEST(SourceFormats, RowBytes) {
    const RowBytesCase cases[] = {
        {"2vuy", 1920, 3840}, {"2Vuy", 1920, 3840}, {"2vuy", 1, 2},          {"2vuy", 721, 1442},
        {"r210", 720, 3072},  {"r210", 64, 256},    {"r210", 65, 512},       {"r210", 1, 256},
        {"r210", 1920, 7680}, {"r210", 1921, 7936}, {"r210", 32767, 131072}, {"v210", 1280, 3456},
        {"v210", 1920, 5120}, {"v210", 1, 128},     {"v210", 48, 128},       {"v210", 49, 256},
        {"v210", 96, 256},    {"v210", 97, 384},    {"v210", 720, 1920},     {"2vuy", 0, 0},
        {"r210", 0, 0},       {"v210", 0, 0},
    };
    for (const RowBytesCase& each : cases) {
        KVX::QT::VideoTrack track;
        track.mFormat = Code(each.format);
        track.mWidth = each.width;
        long rowBytes = -1;
        EXPECT_EQ(ImportFrame::GetUncompressedRowBytes(&track, rowBytes), 0);
        EXPECT_EQ(rowBytes, each.rowBytes) << each.format << " at width " << each.width;
    }
}

TEST(SourceFormats, NoRowBytesForOtherFormats) {
    for (const char* format : {"dvsd", "apcn", "jpeg", "v216"}) {
        KVX::QT::VideoTrack track;
        track.mFormat = Code(format);
        track.mWidth = 720;
        long rowBytes = 12345;
        EXPECT_EQ(ImportFrame::GetUncompressedRowBytes(&track, rowBytes), 22) << format;
        EXPECT_EQ(rowBytes, 12345) << format;
    }
}

}  // namespace
