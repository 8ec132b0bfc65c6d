// What the one table of video formats says of each code.
#include "quicktime/video_formats.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using KVX::QT::FindVideoFormat;
using KVX::QT::VideoFamily;
using KVX::QT::VideoFormat;

long long Code(const std::string& text) {
    long long code = 0;
    for (const char character : text) {
        code = code << 8 | static_cast<unsigned char>(character);
    }
    return code;
}

const std::map<std::string, VideoFamily> kFamilies = {
    {"2vuy", VideoFamily::kUncompressed}, {"2Vuy", VideoFamily::kUncompressed},
    {"v210", VideoFamily::kUncompressed}, {"r210", VideoFamily::kUncompressed},
    {"r10k", VideoFamily::kDpx},          {"dv1n", VideoFamily::kDVCPro},
    {"dv1p", VideoFamily::kDVCPro},       {"dv5n", VideoFamily::kDVCPro},
    {"dv5p", VideoFamily::kDVCPro},       {"dvc ", VideoFamily::kDVCPro},
    {"dvcp", VideoFamily::kDVCPro},       {"dvh5", VideoFamily::kDVCPro},
    {"dvh6", VideoFamily::kDVCPro},       {"dvhp", VideoFamily::kDVCPro},
    {"dvhq", VideoFamily::kDVCPro},       {"dvpp", VideoFamily::kDVCPro},
    {"dvsd", VideoFamily::kDVCPro},       {"pvsd", VideoFamily::kDVCPro},
    {"ap4h", VideoFamily::kProRes},       {"apch", VideoFamily::kProRes},
    {"apcn", VideoFamily::kProRes},       {"apco", VideoFamily::kProRes},
    {"apcs", VideoFamily::kProRes},       {"jpeg", VideoFamily::kJpeg},
    {"avc1", VideoFamily::kH264},
};

bool IsOnlyUnderstood(const std::string& code) {
    return code == "r10k" || code == "ap4h" || code == "avc1";
}

TEST(VideoFormats, EachHasItsFamily) {
    for (const auto& [code, family] : kFamilies) {
        SCOPED_TRACE(code);
        const VideoFormat* const format = FindVideoFormat(Code(code));
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(format->code, Code(code));
        EXPECT_EQ(format->family, family);
        const bool isUncompressed = family == VideoFamily::kUncompressed;
        EXPECT_EQ(format->isOffered, !IsOnlyUnderstood(code));
        EXPECT_EQ(format->IsOfferedUncompressed(), isUncompressed);
        EXPECT_EQ(format->IsOfferedCompressed(), !isUncompressed && !IsOnlyUnderstood(code));
        EXPECT_EQ(format->hasDefaultFields, isUncompressed);
        EXPECT_EQ(format->rowBytes != nullptr, isUncompressed);
        EXPECT_EQ(format->description != nullptr, isUncompressed);
    }
}

TEST(VideoFormats, OthersAreNotKnown) {
    for (const char* const code :
         {"2VUY", "R210", "v216", "raw ", "ap4x", "mjpa", "DVC ", "hvc1"}) {
        EXPECT_EQ(FindVideoFormat(Code(code)), nullptr) << code;
    }
    EXPECT_EQ(FindVideoFormat(0), nullptr);
    EXPECT_EQ(FindVideoFormat(-1), nullptr);
    // A number whose low half is a code.
    EXPECT_EQ(FindVideoFormat(Code("v210") + (1LL << 32)), nullptr);
}

// A row is no longer than it must be for whole blocks of pixels, and a block that is begun counts.
TEST(VideoFormats, RowsAreWholeBlocks) {
    struct Block {
        const char* code;
        long pixels;
        long bytes;
    };
    for (const Block& block : {Block{"2vuy", 1, 2}, Block{"2Vuy", 1, 2}, Block{"v210", 48, 128},
                               Block{"r210", 64, 256}}) {
        SCOPED_TRACE(block.code);
        const VideoFormat* const format = FindVideoFormat(Code(block.code));
        ASSERT_NE(format, nullptr);
        long blocks = 0;
        for (long width = 0; width <= 32767; ++width) {
            blocks += width > blocks * block.pixels ? 1 : 0;
            ASSERT_EQ(format->rowBytes(width), blocks * block.bytes) << width;
        }
    }
}

}  // namespace
