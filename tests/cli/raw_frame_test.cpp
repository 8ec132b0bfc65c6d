#include "cli/picture/raw_frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/four_char_code.h"

namespace {

using KVX::Core::FourCharCode;
using kvx_cli::ByteSpan;
using kvx_cli::RawBytes;
using kvx_cli::RawPixelFormat;
using kvx_hostkit::PixelBufferView;

std::string Joined(const std::vector<ByteSpan>& spans) {
    std::string bytes;
    for (const ByteSpan& span : spans) {
        bytes.append(span.begin, span.size);
    }
    return bytes;
}

TEST(CliRawFrame, OnlyFormatsWithoutAHostsTwinNeedTheCustomFormat) {
    EXPECT_EQ(RawPixelFormat(FourCharCode("v210")), PrPixelFormat_V210_422_10u_601);
    EXPECT_EQ(RawPixelFormat(FourCharCode("2vuy")), PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(RawPixelFormat(FourCharCode("2Vuy")), PrPixelFormat_UYVY_422_8u_601);
    EXPECT_EQ(RawPixelFormat(FourCharCode("r210")), kKVXCustomPixelFormat);
}

TEST(CliRawFrame, RowsComeWithoutTheHostsPadding) {
    char pixels[] = "ABCDEF__ghijkl__MNOPQR__";
    const PixelBufferView view = {PrPixelFormat_UYVY_422_8u_601, 3, 3, 8, 24, pixels};
    EXPECT_EQ(Joined(RawBytes(view)), "ABCDEFghijklMNOPQR");
}

// 1 to 48 pixels take 128 bytes, and the filling of the last block is the file's.
TEST(CliRawFrame, RowsOfV210AreWholeBlocks) {
    std::string pixels;
    for (const char byte : {'a', 'b'}) {
        pixels += std::string(256, byte) + std::string(44, '_');
    }
    const PixelBufferView view = {
        PrPixelFormat_V210_422_10u_709, 50, 2, 300, pixels.size(), pixels.data()};
    EXPECT_EQ(Joined(RawBytes(view)), std::string(256, 'a') + std::string(256, 'b'));
}

class CliRawFrameCustom : public testing::Test {
  protected:
    // Two rows of five bytes, three bytes into a data area that begins at 30.
    CliRawFrameCustom() : mMemory(50, '.') {
        const uint32_t header[] = {FourCharCode("r210"), 5, 30, 20, 3};
        std::memcpy(mMemory.data(), header, sizeof(header));
        mMemory.replace(33, 10, "rowONErowT");
    }

    PixelBufferView View() {
        return {kKVXCustomPixelFormat, 1, 2, 0, mMemory.size(), mMemory.data()};
    }

    void Poke(size_t field, uint32_t value) {
        std::memcpy(mMemory.data() + 4 * field, &value, sizeof(value));
    }

    std::string mMemory;
};

TEST_F(CliRawFrameCustom, BytesLieBehindTheHeader) {
    EXPECT_EQ(Joined(RawBytes(View())), "rowONErowT");
}

TEST_F(CliRawFrameCustom, NothingIsReadOutsideTheBuffer) {
    Poke(3, 12);  // data too short for its skew and the rows
    EXPECT_TRUE(RawBytes(View()).empty());
    Poke(3, 21);  // data past the end of the buffer
    EXPECT_TRUE(RawBytes(View()).empty());
    Poke(3, 0xFFFFFFFF);
    Poke(2, 0xFFFFFFFF);
    EXPECT_TRUE(RawBytes(View()).empty());
    mMemory.resize(19);  // no room for the header
    EXPECT_TRUE(RawBytes(View()).empty());
}

TEST(CliRawFrame, TellsHowManyBytesAFrameHas) {
    using KVX::Core::FourCharCode;
    EXPECT_EQ(kvx_cli::RawFrameSize(FourCharCode("2vuy"), 96, 64), 96u * 2 * 64);
    EXPECT_EQ(kvx_cli::RawFrameSize(FourCharCode("v210"), 48, 3), 128u * 3);
    EXPECT_EQ(kvx_cli::RawFrameSize(FourCharCode("v210"), 49, 3), 256u * 3);
    EXPECT_EQ(kvx_cli::RawFrameSize(FourCharCode("r210"), 64, 2), 256u * 2);
    EXPECT_EQ(kvx_cli::RawFrameSize(FourCharCode("r210"), 65, 2), 512u * 2);
}

}  // namespace
